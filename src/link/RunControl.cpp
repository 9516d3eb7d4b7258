#include "link/RunControl.h"

#include "link/DataWatch.h"
#include "link/PortWatch.h"
#include "link/ProcessReply.h"
#include "rs485/Waits.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCoreApplication>
#include <QTimer>

namespace {
constexpr int kStreamThreshold = 7; // one receive event per record
constexpr int kMeasureTimeoutMs = 3000;
constexpr int kReplyTimeoutMs = 2000;
constexpr int kInBufferSize = 4096;

// Waits for `count` bytes on the port; false after `ms` without them.
bool waitForBytes(Station& st, int count, int ms)
{
    return WaitUntil([&] { return st.myComm.InBufferCount() >= count; }, ms,
                     [&] { return st.exitFlag; });
}

void stopDeviceTimer(Station& st)
{
    if (!st.synchroFromTimer) {
        st.HTmr.stop();
        st.HTmr.setInterval(0);
    }
}

// One record per receive event, however many arrive together.
void receiveRecords(Station& st)
{
    st.myComm.setInputLen(st.format.valueLength() + 2);
    st.myComm.setRThreshold(kStreamThreshold);
}

void setRunning(Station& st, bool on)
{
    st.running = on;
    Q_EMIT st.runningChanged(on);
}
} // namespace

void wireRunControl(Station& st)
{
    QObject::connect(&st.myComm, &CommPort::OnComm, &st, [&st] { OnComm(st); });
    QObject::connect(&st.HTmr, &QTimer::timeout, &st, [&st] { HTmr_Timer(st); });
    PortWatch::of(st);
    DataWatch::of(st);
}

void Run(Station& st)
{
    st.stopRequest = false;
    st.stopScan = false;
    if (st.rs485Mode) {
        if (st.foundDevices == 0) {
            st.notifier().message(QStringLiteral("No Devices Found"));
            st.Stop();
            return;
        }
        setRunning(st, true);
        RunWork485(st);
        return;
    }
    if (!st.ensurePortOpen())
        return;
    st.myComm.setRThreshold(0);
    st.myComm.Output(QByteArrayLiteral("XDAT?\r"));
    setRunning(st, true);
    RunWork(st);
    receiveRecords(st);
}

void StartStream(Station& st)
{
    CommPort& port = st.myComm;
    port.setRThreshold(0);
    port.Output(QByteArrayLiteral("XDAT?\r"));
    receiveRecords(st);
}

bool RunWork485(Station& st)
{
    // Replies on the line are read by the polling cycle, never by the receive handler.
    st.myComm.setRThreshold(0);
    st.ensurePortOpen();
    st.applyTimerPeriod();
    st.HTmr.start();
    return true;
}

namespace {
// Keeps the port's receive settings for the length of a measurement.
class ReceiveSettingsKept
{
public:
    explicit ReceiveSettingsKept(CommPort& port)
        : port_(port), threshold_(port.RThreshold()), inputLen_(port.InputLen())
    {
        port_.setRThreshold(0);
        port_.setInputLen(0);
    }
    ~ReceiveSettingsKept()
    {
        port_.setRThreshold(threshold_);
        port_.setInputLen(inputLen_);
    }
    ReceiveSettingsKept(const ReceiveSettingsKept&) = delete;
    ReceiveSettingsKept& operator=(const ReceiveSettingsKept&) = delete;

private:
    CommPort& port_;
    int threshold_;
    int inputLen_;
};

enum class Sampled
{
    TimedOut,
    Measured
};

// Throws away what is waiting, waits up to 3000 ms for `minBytes` of the live
// stream and takes the marker and the record length from them; the port is
// then reopened so that reception starts clean. A length of 0 is stored only
// when `keepZeroLength`.
Sampled sampleFrame(Station& st, int minBytes, bool keepZeroLength)
{
    CommPort& port = st.myComm;
    port.Input();
    if (!waitForBytes(st, minBytes, kMeasureTimeoutMs)) {
        st.notifier().message(QStringLiteral("Time Out"));
        return Sampled::TimedOut;
    }
    const QByteArray sample = port.Input();
    if (const quint8 mark = DetectMark(sample))
        st.format.marker = mark;
    const int len = DetectLen(sample, st.format.marker);
    if (len != 0 || keepZeroLength)
        st.format.recordLength = len;
    port.setPortOpen(false);
    port.setInBufferSize(kInBufferSize);
    st.ensurePortOpen();
    return Sampled::Measured;
}
} // namespace

bool RunWork(Station& st)
{
    if (!st.running) {
        stopDeviceTimer(st);
        return false;
    }
    st.applyTimerPeriod();
    if (st.synchroFromTimer)
        st.HTmr.start();
    else
        st.HTmr.stop();

    CommPort& port = st.myComm;
    const ReceiveSettingsKept kept(port);
    port.setPortOpen(false);
    port.setInBufferSize(kInBufferSize);
    st.format.recordLength = 6;
    if (!st.ensurePortOpen())
        return false;
    if (!st.format.autoLength) {
        st.notifier().status(0, QStringLiteral("Running"));
        return true;
    }
    st.notifier().status(0, QStringLiteral("Please Wait...."));
    if (sampleFrame(st, 2 * st.format.recordLength, false) == Sampled::TimedOut) {
        st.notifier().status(0, QStringLiteral("No frame measured"));
        return false;
    }
    const bool measured = st.format.recordLength != 0;
    st.notifier().status(0, measured ? QStringLiteral("Frame length %1, marker %2")
                                           .arg(st.format.recordLength)
                                           .arg(st.format.marker)
                                     : QStringLiteral("No frame measured"));
    return measured;
}

bool DetectFrame(Station& st, bool on)
{
    setRunning(st, on);
    if (!on) {
        stopDeviceTimer(st);
        return true;
    }
    if (st.synchroFromTimer) {
        st.applyTimerPeriod();
        st.HTmr.start();
        return true;
    }
    st.HTmr.stop();
    const ReceiveSettingsKept kept(st.myComm);
    st.myComm.setInBufferSize(kInBufferSize);
    st.format.recordLength = 6;
    if (!st.ensurePortOpen() || !st.format.autoLength)
        return false;
    QCoreApplication::processEvents();
    return sampleFrame(st, 6, true) == Sampled::Measured;
}

void OnComm(Station& st)
{
    if (st.synchroFromTimer)
        return;
    // While an exchange owns the line, the bytes that come are its answer; on
    // the RS-485 line every reply belongs to an exchange.
    // During a resynchronising pause the bytes that come are dropped after it.
    if ((st.lineBusy() || st.rs485Mode || st.resyncing) &&
        st.myComm.CommEvent() == CommPort::comEvReceive)
        return;
    st.valueText = QStringLiteral("0");
    ++st.eventCounter;
    const int event = st.myComm.CommEvent();
    if (event != CommPort::comEvReceive) {
        st.notifier().status(0, QStringLiteral("CommEvent = %1").arg(event));
        st.notifier().status(1, CommPort::eventText(event));
        Q_EMIT st.lineEvent(event);
        return;
    }
    ProcessRecord(st, st.myComm.Input());
}

void HTmr_Timer(Station& st)
{
    if (!st.running || !st.synchroFromTimer || st.rs485Mode || !st.myComm.PortOpen())
        return;
    // A maintenance command waiting for its answer keeps the line; this
    // period goes without a reading rather than mixing the two.
    const LineExchange line(st, false);
    if (!line.owns())
        return;
    CommPort& port = st.myComm;
    const int savedThreshold = port.RThreshold();
    port.setRThreshold(0);
    port.Input(); // whatever streamed since the last tick is stale
    port.Output(QByteArrayLiteral("DATA?\r"));
    const int recordBytes = st.format.valueLength() + 2;
    if (waitForBytes(st, recordBytes, kReplyTimeoutMs)) {
        // A streaming analyzer may be mid-record when asked: take the newest
        // complete record rather than the first seven bytes.
        WaitMs(2);
        const QByteArray record = LatestRecord(port.Input(), st.format);
        if (!record.isEmpty())
            ProcessRecord(st, record);
    }
    // A Stop pressed while the answer was awaited has set the threshold to
    // 0 for good; only a run still going gets it back.
    if (st.running)
        port.setRThreshold(savedThreshold);
}
