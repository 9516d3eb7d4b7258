#pragma once

#include <QPointF>
#include <QSizeF>
#include <QString>
#include <QtGlobal>

// log(x) / log(10); an argument that is not greater than 0 counts as 0.01, so
// zero and negative readings sit at -2 on a logarithmic axis.
float Log10(double x);

// Data coordinates of a graph picture: x from 0 (left) to xExtent points
// (right), y from yBottom (bottom) to yTop (top); grid lines divide it into
// (xGrid + 1) x (yGrid + 1) cells.
struct GraphAxes
{
    double xExtent = 1000;
    double yBottom = 0;
    double yTop = 1000;
    int xGrid = 4;
    int yGrid = 4;

    // Linear axis: y from 0 to the full-scale value.
    static GraphAxes linear(int points, double extent, int xGrid = 4, int yGrid = 4);
    // Logarithmic axis: y from the floor of Log10 (-2, where readings of 0 and
    // below sit) up to `extent`, a decimal logarithm; at least one decade tall.
    static GraphAxes logarithmic(int points, double extent, int xGrid = 4, int yGrid = 4);
    bool operator==(const GraphAxes&) const = default;
};

// Maps data coordinates to the pixels of a picture of a given size and back.
// Pixel (0, 0) is the top-left corner; x = xExtent is the right edge.
class GraphMapping
{
public:
    GraphMapping(const GraphAxes& axes, QSizeF size);

    double px(double x) const { return x * sx_; }
    double py(double y) const { return h_ - (y - bottom_) * sy_; }
    QPointF map(double x, double y) const { return {px(x), py(y)}; }
    // The data x under pixel column `px`.
    double dataX(double px) const { return sx_ > 0 ? px / sx_ : 0.0; }
    // Pixel position of vertical grid line i (0 = left edge, xGrid + 1 = right edge)
    // and of horizontal grid line i (0 = bottom edge, yGrid + 1 = top edge).
    double gridX(int i) const;
    double gridY(int i) const;

    const GraphAxes& axes() const { return axes_; }
    QSizeF size() const { return {w_, h_}; }

private:
    GraphAxes axes_;
    double w_;
    double h_;
    double sx_;
    double sy_;
    double bottom_;
};

// How a stored value becomes a y coordinate: less the zero offset, and through
// Log10 on the logarithmic axis.
struct TraceTransform
{
    qint32 zeroOffset = 0;
    bool log = false;
    double y(qint32 stored) const
    {
        const double v = double(stored) - double(zeroOffset);
        return log ? double(Log10(v)) : v;
    }
};

// Caption of horizontal grid line i: the full-scale value (in ppm x10) shown in
// ppm, divided over yGrid + 1 cells, formatted "0.0".
QString yLabelText(double scaleValue, int yGrid, int i);

// Caption of horizontal grid line i on a logarithmic axis: the concentration
// in ppm at the line's height (10 to the power y, in ppm x10), with two
// significant digits, so that each line reads as the value drawn there.
QString yLogLabelText(const GraphAxes& axes, int i);
