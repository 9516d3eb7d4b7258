#include "station/zep_cmnd.h"

#include "station/DataFormat.h"

#include <array>
#include <utility>

namespace zep_cmnd {
namespace {

using CaptionTip = std::pair<const char*, const char*>;
constexpr std::array<CaptionTip, 8> kButtons = {{
    {"Ser. Number", "Get Serial Number from Gas Analyzer."},
    {"ZERO", "Set ZERO results"},
    {"INITIAL", "Initialization of Gas Analyzer"},
    {"CALIBR", "Calibration of Gas analyzer"},
    {"CUST", "Get User ID from memory of Gas Analyzer"},
    {"SET CUST", "Write User ID to memory of Gas Analyzer"},
    {"DATA?", "Read Data from Gas Analyzer Once"},
    {"CDAT?", "Continuous reading data from Gas Analyzer"},
}};

} // namespace

QStringList deviceTypes()
{
    return {QStringLiteral("ZEP-C"), QStringLiteral("ZEP-D")};
}

Commands buildCommands(const QString&)
{
    const QByteArray cr("\r");
    Commands c;
    c.serialNumber = "SRAL?" + cr;
    c.zero = "ZERO" + cr;
    c.init = "INIT" + cr;
    c.readUserId = "CUST?" + cr;
    c.writeUserId = "CUST";
    c.continuous = "CDAT?" + cr;
    c.oneRecord = "DATA?" + cr;
    c.calibration = "CALB";
    return c;
}

QStringList buttonCaptions()
{
    QStringList out;
    for (const auto& [caption, tip] : kButtons)
        out << QLatin1String(caption);
    return out;
}

QString toolTipFor(const QString& caption)
{
    for (const auto& [c, tip] : kButtons) {
        if (caption == QLatin1String(c))
            return QLatin1String(tip);
    }
    return {};
}

int FindCDATIndex(const QStringList& captions, const QString& caption)
{
    for (int i = 0; i < captions.size(); ++i) {
        if (captions[i] == caption)
            return i;
    }
    return -1;
}

bool InitDataFormat(DataFormat& format, const QString& deviceType)
{
    if (deviceType == QLatin1String("ZEP-C"))
        format.marker = 10;
    else if (deviceType == QLatin1String("ZEP-D"))
        format.marker = 13;
    return true;
}

bool InitDataFormatFromDB(DataFormat&, const QString&)
{
    return true;
}

} // namespace zep_cmnd
