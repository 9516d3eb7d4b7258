#include "station/Station.h"

#include "platform/Platform.h"
#include "station/ByteText.h"
#include "station/Notifier.h"

#include <QTimer>

Station::Station(Notifier& notifier, QObject* parent) : QObject(parent), notifier_(notifier)
{
    HTmr.setTimerType(Qt::PreciseTimer);
    myComm.setCommPort(ncom);
    // A device server that runs the line otherwise than asked: said, not asked.
    connect(&myComm, &CommPort::lineNote, this,
            [this](const QString& text) { notifier_.note(text); });
}

void Station::deliver(double value, const QByteArray& reply)
{
    for (int i = 0; i < SinkCount; ++i) {
        if (sinks[size_t(i)] && (i != DataFileSink || recording))
            sinks[size_t(i)](value, reply);
    }
}

void Station::deliverLine(const LineReading& r)
{
    for (int i = 0; i < LineSinkCount; ++i) {
        if (lineSinks[size_t(i)] && (i != LineFileSink || recording))
            lineSinks[size_t(i)](r);
    }
}

void Station::setRs485Mode(bool on)
{
    if (rs485Mode == on)
        return;
    rs485Mode = on;
    Q_EMIT rs485ModeChanged(on);
}

Station::~Station()
{
    myComm.setPortOpen(false);
}

bool Station::applyPortSettings()
{
    const bool wasOpen = myComm.PortOpen();
    if (wasOpen)
        myComm.setPortOpen(false);
    myComm.setCommPort(ncom);
    myComm.setPortName(portName);
    if (!commSettings.isEmpty()) {
        QString why;
        if (!myComm.setSettings(commSettings, &why))
            notifier_.message(why, Notifier::Icon::Exclamation);
    }
    if (wasOpen)
        return ensurePortOpen();
    return true;
}

void Station::applyTimerPeriod()
{
    HTmr.setInterval(timerPeriod * 1000);
}

bool Station::ensurePortOpen(bool quiet)
{
    if (myComm.PortOpen())
        return true;
    if (myComm.setPortOpen(true))
        return true;
    if (quiet)
        notifier_.status(0, myComm.lastError());
    else
        notifier_.message(myComm.lastError(), Notifier::Icon::Exclamation);
    return false;
}

bool Station::sendLine(const QString& text)
{
    if (!ensurePortOpen())
        return false;
    return myComm.Output(toCp1251(text) + '\r');
}

void Station::Stop()
{
    running = false;
    Q_EMIT runningChanged(false);
    notifier_.status(0, QStringLiteral("Stopped"));
    // Stop is also part of exit and of a device-type change, where a missing
    // port is worth a status line, not a dialog in the operator's way.
    if (!ensurePortOpen(true))
        return;
    myComm.setRThreshold(0);
    myComm.Output(QByteArrayLiteral("CDAT?\r"));
}

void Station::setZero(int position)
{
    zeroPosition = position;
    zeroOffset = position;
    Q_EMIT zeroChanged(position);
}

void Station::whenLineFree(QObject* context, std::function<void()> action)
{
    deferred_.push_back({context, std::move(action)});
    if (!lineBusy_)
        QTimer::singleShot(0, this, &Station::runDeferred);
}

void Station::runDeferred()
{
    // Each action is taken in turn; one that claims the line keeps the rest
    // waiting for its own release.
    while (!deferred_.empty() && !lineBusy_) {
        Deferred d = std::move(deferred_.front());
        deferred_.erase(deferred_.begin());
        if (d.context)
            d.action();
    }
}

LineExchange::LineExchange(Station& st, bool announce) : st_(st), announce_(announce)
{
    if (st_.lineBusy_)
        return;
    owns_ = true;
    inputLen_ = st_.myComm.InputLen();
    st_.myComm.setInputLen(0);
    st_.lineBusy_ = true;
    st_.announcedClaim_ = announce_;
    if (announce_)
        Q_EMIT st_.lineBusyChanged(true);
}

LineExchange::~LineExchange()
{
    if (!owns_)
        return;
    st_.myComm.setInputLen(inputLen_);
    st_.lineBusy_ = false;
    st_.announcedClaim_ = false;
    if (announce_)
        Q_EMIT st_.lineBusyChanged(false);
    if (!st_.deferred_.empty())
        QTimer::singleShot(0, &st_, &Station::runDeferred);
}

void LineExchange::refuse(const QString& what) const
{
    st_.notifier().status(
        0, QStringLiteral("%1 refused: the line is busy with another command").arg(what));
}

void iniDef(Station& st)
{
    st.timerPeriod = 4;
    st.limit1 = 50;
    st.limit2 = 80;
    st.fullDataToFile = true;
    st.format = DataFormat{};
    st.layout = Layout{};
    st.dbFileName = QStringLiteral("kordeb.mdb");
    st.tableAlias = QStringLiteral("Alias");
    st.tableCmdUnCompat = QStringLiteral("CmdUnCompat");
    st.tableSoftData = QStringLiteral("SoftData");
}

void raisePriority(Notifier& notifier)
{
    const QString refused = platform::raisePriority();
    if (!refused.isEmpty())
        notifier.note(QStringLiteral("Readings run at normal priority: %1").arg(refused));
}
