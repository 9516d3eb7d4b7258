#pragma once

#include "display/GraphMapping.h"

#include <QColor>
#include <QPen>
#include <vector>

class QImage;
class QPainter;
class SampleArrays;

// Drawing of a whole trend-graph picture: background, the blue grid and the
// trace of the points held.
namespace TraceRender {

inline constexpr double kTraceWidth = 2; // pixels (device-independent)

inline QColor backColour()
{
    return {255, 255, 255};
}
inline QColor gridColour()
{
    return {0, 0, 255};
}
inline QColor traceColour()
{
    return {0, 0, 0};
}
QPen tracePen();
// The trace's first point: a dot as wide as the pen (a line of no length draws nothing).
void drawDot(QPainter& p, QPointF at);

// Draws everything into `image`, a Format_RGB32 image whose device pixel ratio
// is already set.
// A trace with fewer points than device pixel columns is drawn segment by
// segment, exactly as new points are drawn one at a time; a denser trace is
// drawn as one vertical span per pixel column, which covers the same pixels as
// its segments would and costs one fill per column instead of one stroke per point.
void draw(QImage& image, const GraphMapping& m, const SampleArrays* arrays,
          const TraceTransform& t);

// The pixel rows that the trace passes in one pixel column, including the
// segment that comes in from the previous column (y grows downwards).
struct ColumnSpan
{
    int column;
    double top;
    double bottom;
};

// The spans of a trace in columns `columnWidth` wide (one device pixel in the
// mapping's units), left to right.
std::vector<ColumnSpan> traceColumns(const GraphMapping& m, const SampleArrays& arrays,
                                     const TraceTransform& t, double columnWidth);

} // namespace TraceRender
