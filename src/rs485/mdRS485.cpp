// The port side of the RS-485 exchanges: sending a frame and waiting for its reply.
#include "rs485/mdRS485.h"

#include "rs485/LineMonitor.h"
#include "rs485/Waits.h"
#include "station/ByteText.h"
#include "station/CommPort.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCoreApplication>

bool SendVal(Station& st, const QString& text, CommPort& port)
{
    if (!port.PortOpen())
        return false;
    const QByteArray bytes = toCp1251(text);
    port.discardInput(); // stale bytes are no part of the reply
    if (!port.Output(bytes)) {
        st.notifier().status(0, QStringLiteral("SendVal error ") + QStringLiteral("write failed"));
        return false;
    }
    LineMonitor::of(st).sent(bytes);
    QCoreApplication::processEvents();
    return true;
}

bool ReplyIsOK(Station& st, int expected, CommPort& port, ReplyWait wait)
{
    if (st.exitFlag || !port.PortOpen())
        return false;
    auto scanStopped = [&] { return wait == ReplyWait::Scan && st.stopScan; };
    auto stopped = [&] { return scanStopped() || st.exitFlag; };
    WaitUntil([&] { return port.InBufferCount() >= expected; }, kRS485WaitMs, stopped);
    if (stopped())
        return false;
    PauseMs(kRS485SettleMs, 10);
    if (scanStopped())
        return false;
    QCoreApplication::processEvents();
    if (st.exitFlag)
        return false;
    const bool ok = port.InBufferCount() >= expected;
    st.notifier().status(0, ok ? QStringLiteral("Reply OK") : QStringLiteral("No Reply"));
    return ok;
}

QByteArray ReadReply(Station& st, CommPort& port)
{
    const QByteArray bytes = port.InputAll();
    if (!bytes.isEmpty())
        LineMonitor::of(st).received(bytes);
    return bytes;
}
