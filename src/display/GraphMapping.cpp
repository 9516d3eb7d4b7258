#include "display/GraphMapping.h"

#include <algorithm>
#include <cmath>

float Log10(double x)
{
    if (!(x > 0))
        x = 0.01;
    return float(std::log(x) / std::log(10.0));
}

GraphAxes GraphAxes::linear(int points, double extent, int xGrid, int yGrid)
{
    return {double(points), 0.0, extent, xGrid, yGrid};
}

GraphAxes GraphAxes::logarithmic(int points, double extent, int xGrid, int yGrid)
{
    const double floor = double(Log10(0));
    return {double(points), std::min(floor, extent - 1.0), extent, xGrid, yGrid};
}

GraphMapping::GraphMapping(const GraphAxes& axes, QSizeF size)
    : axes_(axes), w_(size.width()), h_(size.height()),
      sx_(axes.xExtent > 0 ? w_ / axes.xExtent : 0.0),
      sy_(axes.yTop != axes.yBottom ? h_ / (axes.yTop - axes.yBottom) : 0.0), bottom_(axes.yBottom)
{
}

double GraphMapping::gridX(int i) const
{
    return w_ * i / (axes_.xGrid + 1);
}

double GraphMapping::gridY(int i) const
{
    return h_ - h_ * i / (axes_.yGrid + 1);
}

QString yLabelText(double scaleValue, int yGrid, int i)
{
    return QString::number(scaleValue / 10.0 / (yGrid + 1) * i, 'f', 1);
}

QString yLogLabelText(const GraphAxes& axes, int i)
{
    const double y = axes.yBottom + (axes.yTop - axes.yBottom) * i / (axes.yGrid + 1);
    const QString text = QString::number(std::pow(10.0, y) / 10.0, 'g', 2);
    if (!text.contains(QLatin1Char('e')))
        return text;
    // Written out in full: "160" rather than "1.6e+02", "0.000025" rather than "2.5e-05".
    const double ppm = text.toDouble();
    return QString::number(ppm, 'f', std::max(0, 1 - int(std::floor(std::log10(ppm)))));
}
