#pragma once

#include "display/GraphMapping.h"
#include "display/ScreenRefresh.h"

#include <QImage>
#include <QWidget>

class SampleArrays;

// The picture of a trend graph. It paints from a backing image that holds the
// grid and the trace: new points are drawn into the image as segments and only
// their strip is repainted; the whole image is redrawn only when the
// coordinates, the size or the points held change as a whole (shift, rescale,
// resize), and then only at the next paint. A hidden picture keeps no image.
//
// The screen follows at most once every ScreenRefresh::kRefreshMs: the points
// that came meanwhile are drawn together, however fast readings arrive. The
// points themselves are held at once; only the picture waits.
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

    // The whole picture is redrawn at the next refresh.
    void redrawAll();
    // Point i is new: the segment from point i - 1 to it (a dot for i = 0) is
    // drawn at the next refresh.
    void drawPoint(int i);
    // Screen refreshes done since the picture was made (for the tests of
    // the coalescing).
    int refreshCount() const { return refreshes_; }

    // Redraws the whole image now, at the widget's size and pixel ratio.
    void render();
    // The picture with every point held (rendered or drawn first when it is
    // out of date).
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
    void refresh();
    // Draws the points waiting since the last refresh into the image and
    // returns the strip they cover (empty when none).
    QRect drawPending();

    const SampleArrays* arrays_ = nullptr;
    TraceTransform transform_;
    GraphAxes axes_;
    QImage image_;
    bool stale_ = true;
    int pendingFrom_ = -1; // first point not yet drawn into the image, -1 for none
    int pendingTo_ = -1;
    ScreenRefresh refresh_{this, [this] { refresh(); }};
    int refreshes_ = 0;
};
