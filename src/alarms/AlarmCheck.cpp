#include "alarms/AlarmCheck.h"

#include "station/Station.h"

AlarmCheck::AlarmCheck(Station& st, QObject* parent) : QObject(parent), st_(st)
{
    tmrSound.setInterval(0);
    connect(&tmrSound, &QTimer::timeout, this, &AlarmCheck::tmrSound_Timer);
    st_.sinks[Station::AlarmSink] = [this](double value, const QByteArray&) { check(value); };
    st_.lineSinks[Station::LineAlarmSink] = [this](const Station::LineReading& r) {
        check(r.value, r.address);
    };
}

AlarmCheck::~AlarmCheck()
{
    st_.sinks[Station::AlarmSink] = nullptr;
    st_.lineSinks[Station::LineAlarmSink] = nullptr;
}

void AlarmCheck::setView(AlarmView* view)
{
    view_ = view;
    if (view_)
        view_->setValueColor(color_);
}

QString AlarmCheck::line(const QDateTime& t, const QString& text)
{
    return t.toString(QStringLiteral("dd/MM/yy HH:mm:ss")) + QLatin1Char('-') + text;
}

void AlarmCheck::showComment()
{
    if (view_)
        view_->showComment();
}

void AlarmCheck::setMessage(const QString& text)
{
    message_ = text;
    if (view_)
        view_->setMessage(text);
}

void AlarmCheck::check(double v, int address)
{
    Channel& c = channels_[address];
    const QString who =
        address < 0 ? QString() : QStringLiteral(" Addr=%1").arg(address, 3, 10, QLatin1Char('0'));
    // The first threshold's line of the single analyzer starts the message
    // afresh; every other line goes under what is there (on the RS-485 line
    // the analyzers' lines are kept one under the other).
    auto write = [&](const QString& line, bool fresh) {
        setMessage(fresh ? line : message_ + QStringLiteral("\r\n") + line);
        Q_EMIT lineWritten(line);
    };
    if (v >= st_.limit1 && !c.windowShown) {
        showComment();
        c.windowShown = true;
        write(line(clock(), QStringLiteral("1-й порог превышен") + who),
              address < 0 || message_.isEmpty());
    }
    if (v >= st_.limit2) {
        if (!c.secondLogged) {
            write(line(clock(), QStringLiteral("2-й порог превышен") + who), false);
            c.secondLogged = true;
        }
        if (!c.windowShown) {
            showComment();
            c.windowShown = true;
        }
    }
    // Below Limit1 is quiet whatever Limit2 says (thresholds set the wrong way round).
    c.level = v < st_.limit1 ? 0 : v >= st_.limit2 ? 2 : 1;
    const bool crossed = v >= st_.limit1 || v >= st_.limit2;
    if (c.level == 0 && acknowledgeWhenQuiet)
        c.windowShown = c.secondLogged = false;

    // The sound follows the highest level of all; it is set once, at the end,
    // so that a reading that leaves the rate as it was doesn't restart the
    // timer (readings coming faster than the tick would otherwise hold it off).
    int level = 0;
    for (const Channel& other : std::as_const(channels_))
        level = qMax(level, other.level);
    if (crossed && !tmrSound.isActive() && view_)
        view_->beep();
    if (level == 0) {
        setValueColor(Green);
        tmrSound.stop();
        tmrSound.setInterval(0);
        return;
    }
    const int intervalMs = level == 2 ? SecondMs : FirstMs;
    if (!tmrSound.isActive() || tmrSound.interval() != intervalMs)
        tmrSound.start(intervalMs);
}

void AlarmCheck::tmrSound_Timer()
{
    if (view_)
        view_->beep();
    setValueColor(valueColor() == Green ? Red : Green);
}

void AlarmCheck::acknowledge()
{
    for (Channel& c : channels_)
        c.windowShown = c.secondLogged = false;
}

void AlarmCheck::commentUnloaded()
{
    for (Channel& c : channels_)
        c.windowShown = false;
}

void AlarmCheck::setValueColor(int colorNumber)
{
    color_ = colorNumber;
    if (view_)
        view_->setValueColor(colorNumber);
}
