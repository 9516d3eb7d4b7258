#pragma once

#include <QColor>
#include <QWidget>

class MyPict;

// A horizontal or vertical line over a graph picture (the limit lines lnY1 and
// lnY2, the cursor line). It is a thin child widget of MyPict placed from its
// data coordinates, so moving it repaints only the strip it leaves and never
// redraws the trace underneath.
class PictLine : public QWidget
{
public:
    PictLine(const QString& name, const QColor& colour, MyPict& pict);

    // Sets both ends in data coordinates and places the line on the picture.
    void setLine(double x1, double y1, double x2, double y2);
    double X1() const { return x1_; }
    double Y1() const { return y1_; }
    double X2() const { return x2_; }
    double Y2() const { return y2_; }
    QColor colour() const { return colour_; }

    // Re-places the line after the picture's size or coordinates changed.
    void place();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    MyPict& pict_;
    QColor colour_;
    double x1_ = 0;
    double y1_ = 0;
    double x2_ = 0;
    double y2_ = 0;
};
