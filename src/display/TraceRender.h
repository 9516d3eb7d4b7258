#pragma once

#include "display/GraphMapping.h"

#include <QColor>
#include <QPen>

class QImage;
class SampleArrays;

// Drawing of a whole trend-graph picture: background, the blue grid and the
// trace of the points held, as one polyline.
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

// Draws everything into `image` (whose device pixel ratio is already set).
void draw(QImage& image, const GraphMapping& m, const SampleArrays* arrays,
          const TraceTransform& t);

// The trace's pixel polyline, thinned where many points share one device pixel
// column: each column keeps its first, lowest, highest and last point, which
// looks the same as the full polyline. `columnWidth` is one device pixel
// in the mapping's units.
std::vector<QPointF> tracePolyline(const GraphMapping& m, const SampleArrays& arrays,
                                   const TraceTransform& t, double columnWidth);

} // namespace TraceRender
