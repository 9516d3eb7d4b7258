#include "display/PictLine.h"

#include "display/MyPict.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

PictLine::PictLine(const QString& name, const QColor& colour, MyPict& pict)
    : QWidget(&pict), pict_(pict), colour_(colour)
{
    setObjectName(name);
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_OpaquePaintEvent);
    hide();
}

void PictLine::setLine(double x1, double y1, double x2, double y2)
{
    x1_ = x1;
    y1_ = y1;
    x2_ = x2;
    y2_ = y2;
    place();
}

namespace {
// The pixel row or column of a coordinate; the far edge of the picture still
// falls on its last row or column so that a line there stays visible.
int pixelIndex(double p, int extent)
{
    if (!std::isfinite(p))
        return p > 0 ? extent + 1 : -2;
    if (p >= extent && p <= extent + 0.5)
        return extent - 1;
    return int(std::clamp(std::floor(p), -2.0, double(extent) + 1));
}
} // namespace

void PictLine::place()
{
    const GraphMapping m = pict_.mapping();
    const int w = pict_.width();
    const int h = pict_.height();
    const int ax = pixelIndex(std::min(m.px(x1_), m.px(x2_)), w);
    const int bx = pixelIndex(std::max(m.px(x1_), m.px(x2_)), w);
    // py grows downwards: the larger data y is the upper end.
    const int ay = pixelIndex(std::min(m.py(y1_), m.py(y2_)), h);
    const int by = pixelIndex(std::max(m.py(y1_), m.py(y2_)), h);
    setGeometry(ax, ay, std::max(bx - ax + 1, 1), std::max(by - ay + 1, 1));
}

void PictLine::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(rect(), colour_);
}
