#include "link/DataWatch.h"

#include "link/RunControl.h"
#include "station/Notifier.h"
#include "station/Station.h"

namespace {
constexpr int kDeviceLimitMs = 10000;
constexpr int kPollsWithoutAnswer = 3;
} // namespace

DataWatch& DataWatch::of(Station& station)
{
    auto* w = station.findChild<DataWatch*>(QString(), Qt::FindDirectChildrenOnly);
    if (w == nullptr)
        w = new DataWatch(station);
    return *w;
}

DataWatch::DataWatch(Station& st) : QObject(&st), st_(st)
{
    tick_.setInterval(250);
    connect(&tick_, &QTimer::timeout, this, &DataWatch::check);
    connect(&st_, &Station::runningChanged, this, [this](bool running) {
        stage_ = 0;
        seenRecords_ = st_.acceptedRecords;
        lastData_ = QDateTime::currentDateTime();
        if (running)
            tick_.start();
        else
            tick_.stop();
    });
}

int DataWatch::silentLimitMs() const
{
    if (limitMs > 0)
        return limitMs;
    return st_.synchroFromTimer ? kPollsWithoutAnswer * st_.timerPeriod * 1000 + 1000
                                : kDeviceLimitMs;
}

void DataWatch::check()
{
    const QDateTime now = QDateTime::currentDateTime();
    if (st_.acceptedRecords != seenRecords_) {
        if (stage_ > 0)
            st_.notifier().note(QStringLiteral("%1: data again")
                                    .arg(now.toString(QStringLiteral("dd/MM/yy HH:mm:ss"))));
        seenRecords_ = st_.acceptedRecords;
        lastData_ = now;
        stage_ = 0;
        return;
    }
    // On the RS-485 line the cycles count each analyzer's silence; a port
    // that is away is the port watch's; an exchange in progress waits its own time.
    if (!st_.running || st_.rs485Mode || !st_.myComm.PortOpen() || st_.lineBusy())
        return;
    if (lastData_.msecsTo(now) < silentLimitMs() * (stage_ + 1))
        return;
    if (stage_ == 0) {
        st_.notifier().note(QStringLiteral("no data since %1; asking the analyzer again")
                                .arg(lastData_.toString(QStringLiteral("dd/MM/yy HH:mm:ss"))));
        StartStream(st_);
        stage_ = 1;
    } else if (stage_ == 1) {
        st_.notifier().note(QStringLiteral("no data since %1; opening the port again")
                                .arg(lastData_.toString(QStringLiteral("dd/MM/yy HH:mm:ss"))));
        st_.myComm.setPortOpen(false);
        // A device server that accepted and went quiet gets a new connection.
        st_.myComm.dropConnection();
        if (st_.myComm.setPortOpen(true))
            StartStream(st_);
        stage_ = 2;
    }
}
