#include "display/MyPict.h"

#include "display/PictLine.h"
#include "display/SampleArrays.h"
#include "display/TraceRender.h"

#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>

MyPict::MyPict(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("MyPict"));
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setMinimumSize(40, 40);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void MyPict::setTransform(const TraceTransform& t)
{
    if (t.zeroOffset == transform_.zeroOffset && t.log == transform_.log)
        return;
    transform_ = t;
    redrawAll();
}

void MyPict::setAxes(const GraphAxes& axes)
{
    axes_ = axes;
    placeLines();
    redrawAll();
}

void MyPict::redrawAll()
{
    stale_ = true;
    pendingFrom_ = pendingTo_ = -1;
    refresh_.request();
}

void MyPict::drawPoint(int i)
{
    // A pending full redraw (or a hidden picture) draws the point when it comes.
    if (stale_ || !imageFits() || arrays_ == nullptr || i < 0 || i >= arrays_->pointCount())
        return;
    if (pendingFrom_ < 0 || i < pendingFrom_)
        pendingFrom_ = i;
    pendingTo_ = qMax(pendingTo_, i);
    refresh_.request();
}

void MyPict::refresh()
{
    ++refreshes_;
    if (stale_ || !imageFits()) {
        update();
        return;
    }
    const QRect strip = drawPending();
    if (!strip.isEmpty())
        update(strip);
}

QRect MyPict::drawPending()
{
    const int from = pendingFrom_;
    const int to = arrays_ ? qMin(pendingTo_, arrays_->pointCount() - 1) : -1;
    pendingFrom_ = pendingTo_ = -1;
    if (from < 0 || to < from || stale_ || !imageFits())
        return {};
    const GraphMapping m = mapping();
    auto at = [&](int i) { return m.map(i, transform_.y(arrays_->value(i))); };
    QPainter p(&image_);
    p.setPen(TraceRender::tracePen());
    QPointF a = from > 0 ? at(from - 1) : at(from);
    QRectF strip(a, a);
    for (int i = from; i <= to; ++i) {
        const QPointF b = at(i);
        if (i == 0)
            TraceRender::drawDot(p, b);
        else
            p.drawLine(a, b);
        strip |= QRectF(a, b).normalized();
        a = b;
    }
    p.end();
    const double margin = TraceRender::kTraceWidth + 1;
    return strip.adjusted(-margin, -margin, margin, margin).toAlignedRect();
}

bool MyPict::imageFits() const
{
    const qreal dpr = devicePixelRatioF();
    return !image_.isNull() && image_.devicePixelRatio() == dpr &&
           image_.size() == (QSizeF(size()) * dpr).toSize();
}

void MyPict::render()
{
    const qreal dpr = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * dpr).toSize();
    if (image_.size() != pixels)
        image_ = QImage(pixels, QImage::Format_RGB32);
    image_.setDevicePixelRatio(dpr);
    if (image_.isNull())
        return;
    TraceRender::draw(image_, mapping(), arrays_, transform_);
    stale_ = false;
    pendingFrom_ = pendingTo_ = -1;
}

QImage MyPict::image()
{
    if (stale_ || !imageFits()) {
        render();
    } else {
        const QRect strip = drawPending();
        if (!strip.isEmpty())
            update(strip);
    }
    return image_;
}

void MyPict::paintEvent(QPaintEvent* event)
{
    if (stale_ || !imageFits())
        render();
    QPainter p(this);
    const QRect r = event->rect();
    const qreal dpr = image_.devicePixelRatio();
    p.drawImage(r, image_, QRectF(r.topLeft() * dpr, QSizeF(r.size()) * dpr));
}

void MyPict::resizeEvent(QResizeEvent*)
{
    placeLines();
    stale_ = true;
}

void MyPict::hideEvent(QHideEvent*)
{
    image_ = QImage();
    stale_ = true;
    pendingFrom_ = pendingTo_ = -1;
}

void MyPict::mouseMoveEvent(QMouseEvent* event)
{
    Q_EMIT mouseMovedTo(event->position());
}

void MyPict::leaveEvent(QEvent*)
{
    Q_EMIT mouseLeft();
}

void MyPict::placeLines()
{
    for (auto* line : findChildren<PictLine*>(QString(), Qt::FindDirectChildrenOnly))
        line->place();
}
