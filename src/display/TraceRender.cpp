#include "display/TraceRender.h"

#include "display/SampleArrays.h"

#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <limits>

namespace TraceRender {

QPen tracePen()
{
    // Round ends and joins: segments drawn one by one look like one polyline.
    QPen pen(traceColour(), kTraceWidth);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    return pen;
}

void drawDot(QPainter& p, QPointF at)
{
    const double r = kTraceWidth / 2;
    p.fillRect(QRectF(at.x() - r, at.y() - r, kTraceWidth, kTraceWidth), traceColour());
}

std::vector<ColumnSpan> traceColumns(const GraphMapping& m, const SampleArrays& arrays,
                                     const TraceTransform& t, double columnWidth)
{
    std::vector<ColumnSpan> out;
    const int n = arrays.pointCount();
    if (n <= 0 || !(columnWidth > 0))
        return out;
    out.reserve(std::size_t(m.size().width() / columnWidth) + 2);
    auto columnOf = [&](double px) { return int(std::floor(px / columnWidth)); };
    double y = m.py(t.y(arrays.value(0)));
    ColumnSpan span{columnOf(m.px(0)), y, y};
    for (int i = 1; i < n; ++i) {
        const double x = m.px(i);
        const double next = m.py(t.y(arrays.value(i)));
        const int c = columnOf(x);
        if (c != span.column) {
            out.push_back(span);
            // The segment from the last point of the previous column starts here.
            span = {c, std::min(y, next), std::max(y, next)};
        } else {
            span.top = std::min(span.top, next);
            span.bottom = std::max(span.bottom, next);
        }
        y = next;
    }
    out.push_back(span);
    return out;
}

namespace {
void drawGrid(QPainter& p, const GraphMapping& m)
{
    // Grid lines on whole pixels, so that each is one crisp row or column.
    const QSizeF size = m.size();
    p.setPen(QPen(gridColour(), 1));
    for (int i = 1; i <= m.axes().xGrid; ++i) {
        const double x = std::floor(m.gridX(i)) + 0.5;
        p.drawLine(QPointF(x, 0), QPointF(x, size.height()));
    }
    for (int i = 1; i <= m.axes().yGrid; ++i) {
        const double y = std::floor(m.gridY(i)) + 0.5;
        p.drawLine(QPointF(0, y), QPointF(size.width(), y));
    }
}

void drawSegments(QPainter& p, const GraphMapping& m, const SampleArrays& a,
                  const TraceTransform& t)
{
    p.setPen(tracePen());
    QPointF from = m.map(0, t.y(a.value(0)));
    drawDot(p, from);
    for (int i = 1; i < a.pointCount(); ++i) {
        const QPointF to = m.map(i, t.y(a.value(i)));
        p.drawLine(from, to);
        from = to;
    }
}

// The pen makes each span as wide and as tall as the trace's pen: every device
// column x gets the rows [top[x], bottom[x]) of the union of the widened spans
// that reach it (they overlap, as each span holds the segment coming in from
// the left).
struct ColumnRows
{
    int firstColumn = 0;
    std::vector<int> top;
    std::vector<int> bottom;
};

ColumnRows widenedColumns(const std::vector<ColumnSpan>& spans, int pen, qreal dpr)
{
    ColumnRows out;
    const int first = spans.front().column;
    const int count = int(spans.size());
    out.firstColumn = first - (pen - 1) / 2;
    const int columns = count + pen - 1;
    out.top.resize(std::size_t(columns));
    out.bottom.resize(std::size_t(columns));
    const double half = pen / 2.0;
    for (int k = 0; k < columns; ++k) {
        // A span in column s covers columns s - (pen - 1) / 2 .. s + pen / 2.
        const int x = out.firstColumn + k;
        double top = std::numeric_limits<double>::max();
        double bottom = std::numeric_limits<double>::lowest();
        for (int s = std::max(x - pen / 2, first);
             s <= std::min(x + (pen - 1) / 2, first + count - 1); ++s) {
            top = std::min(top, spans[std::size_t(s - first)].top);
            bottom = std::max(bottom, spans[std::size_t(s - first)].bottom);
        }
        out.top[std::size_t(k)] = int(std::lround(top * dpr - half));
        out.bottom[std::size_t(k)] =
            std::max(int(std::lround(bottom * dpr + half)), out.top[std::size_t(k)] + 1);
    }
    return out;
}

// Writes the columns straight into the image (32 bits a pixel), a block of columns at a
// time and row by row inside a block, so that memory is walked along its rows.
void fillColumns(QImage& image, const ColumnRows& c)
{
    constexpr int kBlock = 16;
    const QRgb ink = traceColour().rgb();
    const int columns = int(c.top.size());
    for (int b = 0; b < columns; b += kBlock) {
        const int e = std::min(b + kBlock, columns);
        const int x0 = std::max(c.firstColumn + b, 0);
        const int x1 = std::min(c.firstColumn + e, image.width());
        if (x0 >= x1)
            continue;
        const int y0 = std::max(*std::min_element(&c.top[std::size_t(b)], &c.top[0] + e), 0);
        const int y1 = std::min(*std::max_element(&c.bottom[std::size_t(b)], &c.bottom[0] + e),
                                image.height());
        for (int y = y0; y < y1; ++y) {
            auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
            for (int x = x0; x < x1; ++x) {
                const std::size_t k = std::size_t(x - c.firstColumn);
                if (y >= c.top[k] && y < c.bottom[k])
                    line[x] = ink;
            }
        }
    }
}

void drawSpans(QImage& image, const GraphMapping& m, const SampleArrays& a, const TraceTransform& t)
{
    const qreal dpr = image.devicePixelRatio();
    const int pen = std::max(1, int(std::lround(kTraceWidth * dpr)));
    fillColumns(image, widenedColumns(traceColumns(m, a, t, 1 / dpr), pen, dpr));
}
} // namespace

void draw(QImage& image, const GraphMapping& m, const SampleArrays* arrays, const TraceTransform& t)
{
    image.fill(backColour());
    {
        QPainter p(&image);
        drawGrid(p, m);
        if (arrays == nullptr || arrays->pointCount() == 0)
            return;
        if (m.px(1) - m.px(0) >= 1 / image.devicePixelRatio()) {
            drawSegments(p, m, *arrays, t);
            return;
        }
    }
    drawSpans(image, m, *arrays, t);
}

} // namespace TraceRender
