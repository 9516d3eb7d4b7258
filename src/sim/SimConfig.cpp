#include "sim/SimConfig.h"

#include <QStringList>
#include <algorithm>

std::optional<AnalyzerType> analyzerTypeFromName(const QString& name)
{
    const QString n = name.trimmed().toUpper();
    if (n == QLatin1String("ZEP-C"))
        return AnalyzerType::ZepC;
    if (n == QLatin1String("ZEP-D"))
        return AnalyzerType::ZepD;
    return std::nullopt;
}

QString analyzerTypeName(AnalyzerType type)
{
    return type == AnalyzerType::ZepC ? QStringLiteral("ZEP-C") : QStringLiteral("ZEP-D");
}

std::optional<QList<int>> parseAddressList(const QString& text, QString* error)
{
    auto fail = [&](const QString& why) -> std::optional<QList<int>> {
        if (error)
            *error = QStringLiteral("Bad address list \"%1\": %2").arg(text, why);
        return std::nullopt;
    };
    auto address = [](const QString& s, bool* ok) {
        const int a = s.trimmed().toInt(ok);
        *ok = *ok && a >= 0 && a <= 255;
        return a;
    };

    QList<int> out;
    const QStringList items = text.split(',', Qt::SkipEmptyParts);
    if (items.isEmpty())
        return fail(QStringLiteral("no address given"));
    for (const QString& item : items) {
        const QStringList range = item.split('-');
        bool okA = false;
        bool okB = false;
        if (range.size() == 1) {
            out << address(range[0], &okA);
            if (!okA)
                return fail(QStringLiteral("\"%1\" is not an address 0..255").arg(item.trimmed()));
        } else if (range.size() == 2) {
            const int a = address(range[0], &okA);
            const int b = address(range[1], &okB);
            if (!okA || !okB || a > b)
                return fail(
                    QStringLiteral("\"%1\" is not a range within 0..255").arg(item.trimmed()));
            for (int i = a; i <= b; ++i)
                out << i;
        } else {
            return fail(QStringLiteral("\"%1\" is not an address or a range").arg(item.trimmed()));
        }
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

std::optional<AnswerFault> answerFaultFromName(const QString& name)
{
    const QString n = name.trimmed().toLower();
    if (n == QLatin1String("none"))
        return AnswerFault::None;
    if (n == QLatin1String("silent"))
        return AnswerFault::Silent;
    if (n == QLatin1String("malformed"))
        return AnswerFault::Malformed;
    if (n == QLatin1String("refuse"))
        return AnswerFault::Refuse;
    return std::nullopt;
}

std::optional<SimProfile> simProfileFromName(const QString& name)
{
    const QString n = name.trimmed().toLower();
    if (n == QLatin1String("site"))
        return SimProfile::Site;
    if (n == QLatin1String("flat"))
        return SimProfile::Flat;
    if (n == QLatin1String("steps"))
        return SimProfile::Steps;
    return std::nullopt;
}

std::optional<double> parseSimRate(const QString& text, QString* error)
{
    bool ok = false;
    const double rate = text.trimmed().toDouble(&ok);
    if (ok && rate >= kMinSimRate && rate <= kMaxSimRate)
        return rate;
    if (error)
        *error = QStringLiteral("the rate must be %1 to %2 readings per second, not \"%3\"")
                     .arg(kMinSimRate)
                     .arg(kMaxSimRate)
                     .arg(text);
    return std::nullopt;
}

std::optional<LineFault> lineFaultFromName(const QString& name)
{
    static const struct
    {
        const char* name;
        LineFault fault;
    } kinds[] = {{"silent", LineFault::Silent},          {"short-serial", LineFault::ShortSerial},
                 {"wrong-check", LineFault::WrongCheck}, {"wrong-start", LineFault::WrongStart},
                 {"short-reply", LineFault::ShortReply}, {"late", LineFault::Late}};
    const QString n = name.trimmed().toLower();
    for (const auto& k : kinds) {
        if (n == QLatin1String(k.name))
            return k.fault;
    }
    return std::nullopt;
}

std::optional<QMap<int, LineFault>> parseLineFaults(const QString& text, QString* error)
{
    auto fail = [&](const QString& why) -> std::optional<QMap<int, LineFault>> {
        if (error)
            *error = QStringLiteral("Bad line fault list \"%1\": %2").arg(text, why);
        return std::nullopt;
    };

    QMap<int, LineFault> out;
    const QStringList items = text.split(',', Qt::SkipEmptyParts);
    if (items.isEmpty())
        return fail(QStringLiteral("no fault given"));
    for (const QString& item : items) {
        const QStringList parts = item.split('=');
        if (parts.size() != 2)
            return fail(QStringLiteral("\"%1\" is not address=kind").arg(item.trimmed()));
        bool ok = false;
        const int address = parts[0].trimmed().toInt(&ok);
        if (!ok || address < 0 || address > 255)
            return fail(QStringLiteral("\"%1\" is not an address 0..255").arg(parts[0].trimmed()));
        const auto fault = lineFaultFromName(parts[1]);
        if (!fault)
            return fail(QStringLiteral("\"%1\" is not a fault (silent, short-serial, wrong-check, "
                                       "wrong-start, short-reply or late)")
                            .arg(parts[1].trimmed()));
        if (out.contains(address))
            return fail(QStringLiteral("address %1 is given twice").arg(address));
        out.insert(address, *fault);
    }
    return out;
}
