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
    update();
}

void MyPict::drawPoint(int i)
{
    // A pending full redraw (or a hidden picture) draws the point when it comes.
    if (stale_ || !imageFits() || arrays_ == nullptr || i < 0 || i >= arrays_->pointCount())
        return;
    const GraphMapping m = mapping();
    const QPointF b = m.map(i, transform_.y(arrays_->value(i)));
    const QPointF a = i > 0 ? m.map(i - 1, transform_.y(arrays_->value(i - 1))) : b;
    QPainter p(&image_);
    if (i == 0) {
        TraceRender::drawDot(p, b);
    } else {
        p.setPen(TraceRender::tracePen());
        p.drawLine(a, b);
    }
    p.end();
    const double margin = TraceRender::kTraceWidth + 1;
    update(QRectF(a, b).normalized().adjusted(-margin, -margin, margin, margin).toAlignedRect());
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
}

QImage MyPict::image()
{
    if (stale_ || !imageFits())
        render();
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
