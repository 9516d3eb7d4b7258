#include "alarms/AlarmCheck.h"

#include "station/Station.h"

AlarmCheck::AlarmCheck(Station& st, QObject* parent) : QObject(parent), st_(st)
{
    tmrSound.setInterval(0);
    connect(&tmrSound, &QTimer::timeout, this, &AlarmCheck::tmrSound_Timer);
    st_.sinks[Station::AlarmSink] = [this](double value, const QByteArray&) { check(value); };
}

AlarmCheck::~AlarmCheck()
{
    st_.sinks[Station::AlarmSink] = nullptr;
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

void AlarmCheck::sound(Sound& s, int intervalMs)
{
    if (!s.running && view_)
        view_->beep();
    s.running = true;
    s.intervalMs = intervalMs;
}

void AlarmCheck::showComment()
{
    if (view_)
        view_->showComment();
    windowShown_ = true;
}

void AlarmCheck::setMessage(const QString& text)
{
    message_ = text;
    if (view_)
        view_->setMessage(text);
}

void AlarmCheck::check(double v)
{
    // The tests decide the timer's state; it is applied once at the end, so
    // that a reading that leaves the rate as it was doesn't restart the timer
    // (readings coming faster than the tick would otherwise hold it off).
    Sound s{tmrSound.isActive(), tmrSound.interval()};
    if (v >= st_.limit1) {
        sound(s, FirstMs);
        if (!windowShown_) {
            const QString first = line(clock(), QStringLiteral("1-й порог превышен"));
            showComment();
            setMessage(first);
            Q_EMIT lineWritten(first);
        }
    }
    if (v >= st_.limit2) {
        sound(s, SecondMs);
        if (!secondLogged_) {
            const QString second = line(clock(), QStringLiteral("2-й порог превышен"));
            setMessage(message_ + QStringLiteral("\r\n") + second);
            secondLogged_ = true;
            Q_EMIT lineWritten(second);
        }
        if (!windowShown_)
            showComment();
    }
    if (v < st_.limit1) {
        setValueColor(Green);
        s = Sound{false, 0};
        if (acknowledgeWhenQuiet)
            acknowledge();
    }
    if (!s.running) {
        tmrSound.stop();
        tmrSound.setInterval(0);
    } else if (!tmrSound.isActive() || tmrSound.interval() != s.intervalMs) {
        tmrSound.start(s.intervalMs);
    }
}

void AlarmCheck::tmrSound_Timer()
{
    if (view_)
        view_->beep();
    setValueColor(valueColor() == Green ? Red : Green);
}

void AlarmCheck::acknowledge()
{
    windowShown_ = false;
    secondLogged_ = false;
}

void AlarmCheck::commentUnloaded()
{
    windowShown_ = false;
}

void AlarmCheck::setValueColor(int colorNumber)
{
    color_ = colorNumber;
    if (view_)
        view_->setValueColor(colorNumber);
}
