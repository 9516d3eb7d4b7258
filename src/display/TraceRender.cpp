#include "display/TraceRender.h"

#include "display/SampleArrays.h"

#include <QImage>
#include <QPainter>
#include <cmath>

namespace TraceRender {

QPen tracePen()
{
    QPen pen(traceColour(), kTraceWidth);
    // Round ends and joins: segments drawn one by one look like the polyline
    // of a full redraw.
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    return pen;
}

std::vector<QPointF> tracePolyline(const GraphMapping& m, const SampleArrays& arrays,
                                   const TraceTransform& t, double columnWidth)
{
    const int n = arrays.pointCount();
    std::vector<QPointF> out;
    if (n <= 0)
        return out;
    auto at = [&](int i) { return m.map(i, t.y(arrays.value(i))); };
    // Fewer than about two points per column: nothing to gain from thinning.
    if (!(columnWidth > 0) || m.px(1) - m.px(0) >= columnWidth / 2) {
        out.reserve(std::size_t(n));
        for (int i = 0; i < n; ++i)
            out.push_back(at(i));
        return out;
    }
    out.reserve(std::size_t(m.size().width() / columnWidth + 2) * 4);
    QPointF first = at(0);
    QPointF low = first;
    QPointF high = first;
    QPointF last = first;
    int lowAt = 0;
    int highAt = 0;
    double column = std::floor(first.x() / columnWidth);
    auto flush = [&] {
        out.push_back(first);
        // The extremes in the order the trace passes them.
        if (lowAt <= highAt) {
            out.push_back(low);
            out.push_back(high);
        } else {
            out.push_back(high);
            out.push_back(low);
        }
        out.push_back(last);
    };
    for (int i = 1; i < n; ++i) {
        const QPointF p = at(i);
        const double c = std::floor(p.x() / columnWidth);
        if (c != column) {
            flush();
            first = low = high = p;
            lowAt = highAt = i;
            column = c;
        } else {
            // Pixel y grows downwards: "low" on screen is the larger y.
            if (p.y() > low.y()) {
                low = p;
                lowAt = i;
            }
            if (p.y() < high.y()) {
                high = p;
                highAt = i;
            }
        }
        last = p;
    }
    flush();
    return out;
}

void draw(QImage& image, const GraphMapping& m, const SampleArrays* arrays, const TraceTransform& t)
{
    image.fill(backColour());
    QPainter p(&image);
    const QSizeF size = m.size();
    // Grid lines on whole pixels, so that each is one crisp row or column.
    p.setPen(QPen(gridColour(), 1));
    for (int i = 1; i <= m.axes().xGrid; ++i) {
        const double x = std::floor(m.gridX(i)) + 0.5;
        p.drawLine(QPointF(x, 0), QPointF(x, size.height()));
    }
    for (int i = 1; i <= m.axes().yGrid; ++i) {
        const double y = std::floor(m.gridY(i)) + 0.5;
        p.drawLine(QPointF(0, y), QPointF(size.width(), y));
    }
    if (arrays == nullptr || arrays->pointCount() == 0)
        return;
    p.setPen(tracePen());
    const std::vector<QPointF> line = tracePolyline(m, *arrays, t, 1.0 / image.devicePixelRatio());
    if (line.size() == 1)
        p.drawLine(line.front(), line.front());
    else
        p.drawPolyline(line.data(), int(line.size()));
}

} // namespace TraceRender
