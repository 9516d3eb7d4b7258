#include "link/PortWatch.h"

#include "link/RunControl.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QDateTime>

namespace {
QString clockText(const QDateTime& t)
{
    return t.toString(QStringLiteral("dd/MM/yy HH:mm:ss"));
}
} // namespace

PortWatch& PortWatch::of(Station& station)
{
    auto* w = station.findChild<PortWatch*>(QString(), Qt::FindDirectChildrenOnly);
    if (w == nullptr)
        w = new PortWatch(station);
    return *w;
}

PortWatch::PortWatch(Station& st) : QObject(&st), st_(st)
{
    retry_.setInterval(kRetryMs);
    connect(&retry_, &QTimer::timeout, this, &PortWatch::tryAgain);
    connect(&st_.myComm, &CommPort::deviceLost, this, &PortWatch::onLost);
}

void PortWatch::onLost()
{
    if (st_.exitFlag || retry_.isActive())
        return;
    const QDateTime now = QDateTime::currentDateTime();
    st_.notifier().note(QStringLiteral("%1: port %2 lost; trying it again every second")
                            .arg(clockText(now), st_.myComm.deviceName()));
    Q_EMIT st_.portLost(now);
    retry_.start();
}

void PortWatch::tryAgain()
{
    if (st_.exitFlag) {
        retry_.stop();
        return;
    }
    // Opened meanwhile by someone else (a Run, a new port chosen): done.
    if (!st_.myComm.PortOpen() && !st_.myComm.setPortOpen(true))
        return;
    retry_.stop();
    const QDateTime now = QDateTime::currentDateTime();
    st_.notifier().note(
        QStringLiteral("%1: port %2 back").arg(clockText(now), st_.myComm.deviceName()));
    Q_EMIT st_.portBack(now);
    // The analyzer may have lost power with the adapter: start its stream again.
    if (st_.running && !st_.rs485Mode)
        StartStream(st_);
}
