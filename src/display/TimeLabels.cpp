#include "display/TimeLabels.h"

#include "display/MyPict.h"
#include "display/SampleArrays.h"
#include "display/TimeAxis.h"
#include "display/showArr.h"

#include <QPainter>
#include <algorithm>

namespace {
qint64 msOf(double oleDays)
{
    return fromOleDate(oleDays).toMSecsSinceEpoch();
}
} // namespace

TimeLabels::TimeLabels(const SampleArrays& arrays, const MyPict& pict, QWidget* parent)
    : QWidget(parent), arrays_(arrays), pict_(pict)
{
    setObjectName(QStringLiteral("TimeLabels"));
    follow_.setInterval(500);
    connect(&follow_, &QTimer::timeout, this, [this] {
        if (isVisible())
            update();
    });
    follow_.start();
}

QSize TimeLabels::sizeHint() const
{
    return {100, fontMetrics().height() + 6};
}

QList<TimeLabels::Label> TimeLabels::labels() const
{
    const int n = arrays_.pointCount();
    if (n < 2 || pict_.width() <= 0)
        return {};
    const double first = arrays_.time(0);
    const double last = arrays_.time(n - 1);
    if (!(last > first))
        return {};
    const double perPoint = (last - first) / (n - 1);
    const double screenEnd = first + perPoint * (arrays_.pointsPerScreen() - 1);
    const int spacing = fontMetrics().horizontalAdvance(QStringLiteral("00:00:00")) + 24;
    const auto ticks =
        TimeAxis::ticks(msOf(first), msOf(std::max(screenEnd, last)), pict_.width(), spacing);
    const TimeArray& times = arrays_.times();
    const auto held = times.begin() + n;
    const GraphMapping m = pict_.mapping();
    QList<Label> out;
    for (const TimeAxis::Tick& t : ticks) {
        const double at = toOleDate(QDateTime::fromMSecsSinceEpoch(t.utcMs));
        double index;
        if (at >= last) {
            index = (n - 1) + (at - last) / perPoint;
        } else {
            // The first point at or after the tick, and its neighbour before it.
            const auto it = std::lower_bound(times.begin(), held, at);
            const int i = std::max(1, int(it - times.begin()));
            const double t0 = times[std::size_t(i - 1)];
            const double t1 = times[std::size_t(i)];
            index = (i - 1) + (t1 > t0 ? (at - t0) / (t1 - t0) : 0.0);
        }
        if (index < 0 || index > arrays_.pointsPerScreen() - 1)
            continue;
        out << Label{m.px(index), t.time};
    }
    return out;
}

void TimeLabels::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setPen(palette().color(QPalette::WindowText));
    const int left = pict_.mapTo(parentWidget(), QPoint(0, 0)).x() - x();
    const QFontMetrics fm = fontMetrics();
    for (const Label& l : labels()) {
        const int x = left + int(std::lround(l.x));
        p.drawLine(x, 0, x, 3);
        const int w = fm.horizontalAdvance(l.text);
        const int textX = std::clamp(x - w / 2, 0, std::max(0, width() - w));
        p.drawText(textX, 4 + fm.ascent(), l.text);
    }
}
