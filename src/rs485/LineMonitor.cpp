#include "rs485/LineMonitor.h"

#include "station/ByteText.h"
#include "station/Station.h"

LineMonitor& LineMonitor::of(Station& station)
{
    auto* m = station.findChild<LineMonitor*>(QString(), Qt::FindDirectChildrenOnly);
    if (m == nullptr)
        m = new LineMonitor(&station);
    return *m;
}

void LineMonitor::add(bool sent, const QByteArray& bytes)
{
    if (frames_.size() >= kCapacity) {
        // Drop a tenth at once rather than one frame per frame added.
        const qsizetype n = kCapacity / 10;
        frames_.remove(0, n);
        dropped_ += n;
    }
    frames_.append(Frame{QDateTime::currentDateTime(), sent, bytes});
    Q_EMIT frameAdded();
}

void LineMonitor::clear()
{
    frames_.clear();
    dropped_ = 0;
}

QString LineMonitor::describe(const Frame& f)
{
    return f.time.toString(QStringLiteral("HH:mm:ss.zzz")) +
           (f.sent ? QStringLiteral(" > ") : QStringLiteral(" < ")) + readableBytes(f.bytes);
}
