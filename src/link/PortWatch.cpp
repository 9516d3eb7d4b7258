#include "link/PortWatch.h"

#include "link/RunControl.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QDateTime>
#include <QEventLoop>

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
    // A device server's connection says why it went; a vanished device doesn't.
    const QString why =
        st_.myComm.isNetwork() ? QStringLiteral(" (%1)").arg(st_.myComm.lastError()) : QString();
    st_.notifier().note(QStringLiteral("%1: port %2 lost%3; trying it again every second")
                            .arg(clockText(now), st_.myComm.deviceName(), why));
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

bool PortWatch::reachAtStart(Station& st, const std::function<bool()>& stop)
{
    CommPort& port = st.myComm;
    if (port.PortOpen() || port.setPortOpen(true))
        return true;
    PortAddress address;
    if (!port.isNetwork() || !PortAddress::parse(port.deviceName(), &address))
        return false;
    st.notifier().note(QStringLiteral("%1: %2; trying it again every second")
                           .arg(clockText(QDateTime::currentDateTime()), port.lastError()));
    QEventLoop loop;
    QTimer retry;
    retry.setInterval(kRetryMs);
    connect(&retry, &QTimer::timeout, &loop, [&] {
        if (stop() || port.setPortOpen(true))
            loop.quit();
    });
    retry.start();
    loop.exec();
    if (port.PortOpen())
        st.notifier().note(QStringLiteral("%1: port %2 reached")
                               .arg(clockText(QDateTime::currentDateTime()), port.deviceName()));
    return port.PortOpen();
}
