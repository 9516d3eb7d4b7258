#pragma once

#include "display/GraphMapping.h"

#include <QImage>
#include <QWidget>

class SampleArrays;

// The picture of a trend graph. It paints from a backing image that holds the
// grid and the trace: a new point draws one segment into the image and repaints
// only that strip; the whole image is redrawn only when the coordinates, the
// size or the points held change as a whole (shift, rescale, resize), and then
// only at the next paint. A hidden picture keeps no image at all.
class MyPict : public QWidget
{
    Q_OBJECT
public:
    explicit MyPict(QWidget* parent = nullptr);

    // The points to draw (component row 0 of `arrays`, 0..pointCount-1).
    void setTrace(const SampleArrays* arrays) { arrays_ = arrays; }
    // How stored values become y; a change redraws the trace.
    void setTransform(const TraceTransform& t);
    const TraceTransform& transform() const { return transform_; }

    // New data coordinates: the whole picture is redrawn.
    void setAxes(const GraphAxes& axes);
    const GraphAxes& axes() const { return axes_; }
    GraphMapping mapping() const { return GraphMapping(axes_, QSizeF(size())); }

    // The whole picture is redrawn at the next paint.
    void redrawAll();
    // Draws the segment from point i - 1 to point i (a dot for i = 0).
    void drawPoint(int i);

    // Redraws the whole image now, at the widget's size and pixel ratio.
    void render();
    // The picture as it stands (rendered first when it is out of date).
    QImage image();
    bool hasBackingImage() const { return !image_.isNull(); }

Q_SIGNALS:
    // The mouse moved over the picture (position in pixels of the widget).
    void mouseMovedTo(QPointF pos);
    void mouseLeft();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    bool imageFits() const;
    void placeLines();

    const SampleArrays* arrays_ = nullptr;
    TraceTransform transform_;
    GraphAxes axes_;
    QImage image_;
    bool stale_ = true;
};
