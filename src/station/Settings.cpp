#include "station/Settings.h"

#include "station/IniFile.h"
#include "station/SettingsKeys.h"
#include "station/Station.h"

#include <QDir>
#include <cmath>
#include <optional>

namespace {

QString read(const char* section, const QString& key)
{
    return ReadIni(QLatin1String(section), key, QLatin1String(Ini::File));
}

void write(const char* section, const QString& key, long long value)
{
    WriteIni(QLatin1String(section), key, QString::number(value), QLatin1String(Ini::File));
}

// A number as the classic conversions read it; nothing for text that isn't one.
std::optional<double> number(const QString& text)
{
    bool ok = false;
    const double v = text.trimmed().toDouble(&ok);
    if (!ok || !std::isfinite(v))
        return std::nullopt;
    return v;
}

// Reads an integer key: the numeric value of the text, rounded.
void readInt(const char* section, const QString& key, int& into)
{
    if (const auto v = number(read(section, key)); v && std::abs(*v) < 2147483647.0)
        into = int(std::lround(*v));
}

std::optional<bool> boolean(const QString& text)
{
    const QString t = text.trimmed().toLower();
    if (t == QLatin1String("true"))
        return true;
    if (t == QLatin1String("false"))
        return false;
    if (const auto v = number(t))
        return *v != 0;
    return std::nullopt;
}

void readPlace(const char* prefix, WindowPlace& p)
{
    const QString w = QLatin1String(prefix);
    readInt(Ini::SecPositions, w + QLatin1String(Ini::State), p.state);
    readInt(Ini::SecPositions, w + QLatin1String(Ini::X1), p.left);
    readInt(Ini::SecPositions, w + QLatin1String(Ini::X2), p.width);
    readInt(Ini::SecPositions, w + QLatin1String(Ini::Y1), p.top);
    readInt(Ini::SecPositions, w + QLatin1String(Ini::Y2), p.height);
}

void writePlace(const char* prefix, const WindowPlace& p)
{
    const QString w = QLatin1String(prefix);
    write(Ini::SecPositions, w + QLatin1String(Ini::State), p.state);
    write(Ini::SecPositions, w + QLatin1String(Ini::X1), p.left);
    write(Ini::SecPositions, w + QLatin1String(Ini::X2), p.width);
    write(Ini::SecPositions, w + QLatin1String(Ini::Y1), p.top);
    write(Ini::SecPositions, w + QLatin1String(Ini::Y2), p.height);
}

// The four frame keys are the only ones with a default in the reading itself.
void readMdi(const char* key, int& into, int fallback)
{
    into = fallback;
    readInt(Ini::SecPositions, QLatin1String(key), into);
}

QString addKey(const char* key)
{
    return QLatin1String(key) + QLatin1String(Ini::AddWindowNumber);
}

} // namespace

void ReadSettings(Station& st)
{
    if (const QString s = read(Ini::SecComPorts, QLatin1String(Ini::CommSettings)); !s.isEmpty())
        st.commSettings = s;
    readInt(Ini::SecComPorts, QLatin1String(Ini::NCOM), st.ncom);
    if (const QString s = read(Ini::SecComPorts, QLatin1String(Ini::PortName)); !s.isEmpty())
        st.portName = s;

    if (const QString s = read(Ini::SecPath, QLatin1String(Ini::IniPathDat)); !s.isEmpty()) {
        st.dataFolder = s;
        QDir::setCurrent(s); // when it fails the current folder stays
    }
    if (const QString s = read(Ini::SecPath, QLatin1String(Ini::IniPathDB)); !s.isEmpty())
        st.iniPathDB = s;

    if (const auto t = number(read(Ini::SecInterval, QLatin1String(Ini::TIMER)));
        t && *t >= 3 && *t <= 30) {
        st.timerPeriod = int(std::lround(*t));
        st.applyTimerPeriod();
    }

    Layout& l = st.layout;
    readMdi(Ini::MDITop, l.mdiTop, 50);
    readMdi(Ini::MDILeft, l.mdiLeft, 50);
    readMdi(Ini::MDIWidth, l.mdiWidth, 10000);
    readMdi(Ini::MDIHeight, l.mdiHeight, 8000);
    readInt(Ini::SecPositions, QLatin1String(Ini::frmValLeft), l.valLeft);
    readInt(Ini::SecPositions, QLatin1String(Ini::frmValTop), l.valTop);
    // The value window's own default place applies until a place is saved.
    l.valPlaced = l.valPlaced ||
                  !read(Ini::SecPositions, QLatin1String(Ini::frmValLeft)).isEmpty() ||
                  !read(Ini::SecPositions, QLatin1String(Ini::frmValTop)).isEmpty();
    readPlace("W1", l.w1);
    readPlace("W2", l.w2);

    readInt(Ini::SecScales, QLatin1String(Ini::InitScaleYIndex), l.scaleYIndex);
    readInt(Ini::SecScales, addKey(Ini::InitScaleYIndexAdd), l.scaleYIndexAdd);
    readInt(Ini::SecScales, QLatin1String(Ini::InitScaleXIndex), l.scaleXIndex);
    readInt(Ini::SecScales, addKey(Ini::InitScaleXIndexAdd), l.scaleXIndexAdd);

    readInt(Ini::SecLimit, QLatin1String(Ini::Limit1), st.limit1);
    readInt(Ini::SecLimit, QLatin1String(Ini::Limit2), st.limit2);

    for (int n = 0; n <= 9; ++n) {
        const auto v =
            number(read(Ini::SecScales, QLatin1String(Ini::SCALEY) + QString::number(n)));
        if (v && *v != 0)
            st.scaleY[size_t(n)] = *v;
    }

    if (const auto r = boolean(read(Ini::SecRus, QLatin1String(Ini::Rus))))
        st.rus = *r;

    st.applyPortSettings();
}

void SaveSettings(Station& st)
{
    const Layout& l = st.layout;
    write(Ini::SecGeneral, QLatin1String(Ini::NofComponents), st.format.components);
    write(Ini::SecPositions, QLatin1String(Ini::frmValTop), l.valTop);
    write(Ini::SecPositions, QLatin1String(Ini::frmValLeft), l.valLeft);
    write(Ini::SecPositions, QLatin1String(Ini::MDITop), l.mdiTop);
    write(Ini::SecPositions, QLatin1String(Ini::MDILeft), l.mdiLeft);
    write(Ini::SecPositions, QLatin1String(Ini::MDIWidth), l.mdiWidth);
    write(Ini::SecPositions, QLatin1String(Ini::MDIHeight), l.mdiHeight);
    write(Ini::SecScales, QLatin1String(Ini::InitScaleYIndex), l.scaleYIndex);
    write(Ini::SecScales, addKey(Ini::InitScaleYIndexAdd), l.scaleYIndexAdd);
    write(Ini::SecScales, QLatin1String(Ini::InitScaleXIndex), l.scaleXIndex);
    write(Ini::SecScales, addKey(Ini::InitScaleXIndexAdd), l.scaleXIndexAdd);
    write(Ini::SecLimit, QLatin1String(Ini::Limit1), st.limit1);
    write(Ini::SecLimit, QLatin1String(Ini::Limit2), st.limit2);
    writePlace("W1", l.w1);
    writePlace("W2", l.w2);
}
