#include "fleet/ChannelTile.h"

#include <QDateTime>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

ChannelTile::ChannelTile(const SiteModel& model, const QString& station, const QByteArray& channel,
                         QWidget* parent)
    : QWidget(parent), model_(model), station_(station), channel_(channel)
{
    setObjectName(QStringLiteral("tile_%1_%2").arg(station, QLatin1String(channel)));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFixedSize(sizeHint());
    setToolTip(QStringLiteral("%1 %2: double-click for its trend graph")
                   .arg(station, QLatin1String(channel)));
}

QSize ChannelTile::sizeHint() const
{
    return {180, 92};
}

QColor ChannelTile::colour(qint64 nowMs) const
{
    const SiteModel::Channel* c = model_.channel(station_, channel_);
    if (!c || c->stale(nowMs))
        return QColor(0xb4, 0xb4, 0xb4);
    switch (c->level) {
    case SiteModel::Level::None:
        return QColor(0xc8, 0xf0, 0xc8);
    case SiteModel::Level::First:
        return QColor(0xff, 0xd8, 0x60);
    case SiteModel::Level::Second:
        return QColor(0xff, 0x70, 0x60);
    }
    return {};
}

QString ChannelTile::age(qint64 ms)
{
    const qint64 s = qMax<qint64>(0, ms / 1000);
    if (s < 120)
        return QStringLiteral("%1 s").arg(s);
    if (s < 7200)
        return QStringLiteral("%1 min").arg(s / 60);
    return QStringLiteral("%1 h").arg(s / 3600);
}

void ChannelTile::paintEvent(QPaintEvent*)
{
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    const SiteModel::Channel* c = model_.channel(station_, channel_);
    QPainter p(this);
    const QRect r = rect().adjusted(0, 0, -1, -1);
    p.fillRect(rect(), colour(now));
    p.setPen(hasFocus() ? QPen(palette().highlight().color(), 2) : QPen(Qt::darkGray));
    p.drawRect(r);

    const QFontMetrics fm(font());
    const int line = fm.height();
    p.setPen(Qt::black);
    p.drawText(QRect(6, 3, width() - 12, line), Qt::AlignLeft | Qt::AlignVCenter,
               c && c->address >= 0 ? QStringLiteral("#%1").arg(QLatin1String(channel_))
                                    : QString::fromLatin1(channel_));
    if (!c || c->arrivedMs == 0) {
        p.drawText(rect(), Qt::AlignCenter, QStringLiteral("no reading"));
        return;
    }
    p.drawText(QRect(6, 3, width() - 12, line), Qt::AlignRight | Qt::AlignVCenter,
               age(now - c->arrivedMs));
    QFont big = font();
    big.setPointSizeF(big.pointSizeF() * 1.5);
    big.setBold(true);
    p.setFont(big);
    const int bigLine = QFontMetrics(big).height();
    p.drawText(QRect(6, 3 + line, width() - 12, bigLine), Qt::AlignLeft | Qt::AlignVCenter,
               QStringLiteral("%1 ppm").arg(c->raw / 10.0, 0, 'f', 1));

    // The sparkline: the last ten minutes, scaled to its own extremes.
    const QRectF box(6, 6 + line + bigLine, width() - 12, height() - 10 - line - bigLine);
    if (c->history.size() < 2 || box.height() < 4)
        return;
    int lo = c->history.front().raw, hi = lo;
    for (const SiteModel::Point& pt : c->history) {
        lo = qMin(lo, pt.raw);
        hi = qMax(hi, pt.raw);
    }
    const double span = qMax(1, hi - lo);
    const qint64 end = c->history.back().utcMs, start = end - SiteModel::kHistoryMs;
    QPainterPath path;
    bool first = true;
    for (const SiteModel::Point& pt : c->history) {
        const QPointF at(box.left() +
                             box.width() * double(pt.utcMs - start) / SiteModel::kHistoryMs,
                         box.bottom() - box.height() * (pt.raw - lo) / span);
        if (first)
            path.moveTo(at);
        else
            path.lineTo(at);
        first = false;
    }
    p.setPen(QPen(QColor(0x20, 0x40, 0x90), 1.2));
    p.setRenderHint(QPainter::Antialiasing);
    p.drawPath(path);
}

void ChannelTile::mouseDoubleClickEvent(QMouseEvent*)
{
    Q_EMIT opened();
}

void ChannelTile::keyPressEvent(QKeyEvent* e)
{
    if (e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter)
        Q_EMIT opened();
    else
        QWidget::keyPressEvent(e);
}
