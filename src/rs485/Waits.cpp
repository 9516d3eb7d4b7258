#include "rs485/Waits.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

namespace {
QElapsedTimer& stationClock()
{
    static QElapsedTimer timer = [] {
        QElapsedTimer t;
        t.start();
        return t;
    }();
    return timer;
}

int clockRate = 1;
qint64 rateOrigin = 0; // real ms at the last rate change
qint64 virtualOrigin = 0;

// Real milliseconds for `ms` of the waits' clock, at least one.
int realMs(int ms)
{
    return qMax(1, ms / clockRate);
}
} // namespace

qint64 nowMs()
{
    return virtualOrigin + (stationClock().elapsed() - rateOrigin) * clockRate;
}

void setWaitClockRate(int rate)
{
    virtualOrigin = nowMs();
    rateOrigin = stationClock().elapsed();
    clockRate = qMax(1, rate);
}

void PauseMs(int totalMs, int sliceMs)
{
    const qint64 t0 = nowMs();
    const int slice = qMax(1, sliceMs);
    do {
        QEventLoop loop;
        QTimer::singleShot(realMs(slice), Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    } while (nowMs() - t0 < totalMs);
}

void WaitMs(int ms, bool keepAlive)
{
    if (ms <= 0)
        return;
    if (!keepAlive) {
        QThread::msleep(ulong(realMs(ms)));
        return;
    }
    PauseMs(ms, qMin(ms, 10));
}

bool WaitUntil(const std::function<bool()>& done, int timeoutMs, const std::function<bool()>& abort)
{
    const qint64 t0 = nowMs();
    QEventLoop loop;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    tick.setInterval(2);
    bool result = false;
    auto check = [&] {
        if (done()) {
            result = true;
            loop.quit();
        } else if ((abort && abort()) || nowMs() - t0 > timeoutMs) {
            loop.quit();
        }
    };
    QObject::connect(&tick, &QTimer::timeout, &loop, check);
    check();
    if (!result && !(abort && abort()) && nowMs() - t0 <= timeoutMs) {
        tick.start();
        loop.exec();
    }
    return result;
}
