#pragma once

#include "recording/RecordTrace.h"

#include <QPoint>
#include <QWidget>
#include <memory>
#include <vector>

// The record viewer's picture: one trace per analyzer on a local-time axis,
// values in ppm (raw / 10), the two threshold lines, marks on the records
// whose alarm digit is 1 or 3, a legend and a read-out of the record nearest
// the pointer. Each trace is drawn as at most one span (its minimum to its
// maximum) per pixel column, found in the trace's min/max pyramid.
//
// Mouse: the wheel zooms about the pointer; dragging with the left button
// marks a time range to zoom to; dragging with the right or middle button, or
// with Shift and the left button, pans. Keys: + and - zoom, the arrows pan,
// Home shows everything. The Y axis follows what is in view.
class RecordPlot : public QWidget
{
    Q_OBJECT
public:
    explicit RecordPlot(QWidget* parent = nullptr);
    ~RecordPlot() override;

    void clear();
    // The trace of this analyzer (-1 the single one), made when missing.
    RecordTrace& trace(int address);
    const std::vector<std::unique_ptr<RecordTrace>>& traces() const { return traces_; }
    // To be called after records were added to the traces: the picture is
    // redrawn, and while it shows everything it takes in the new records.
    void dataChanged();

    // The thresholds in raw units (ppm x10), as the station holds Limit1 and Limit2.
    void setLimits(int limit1, int limit2);

    struct Range
    {
        qint64 from = 0;
        qint64 to = 0;
        bool operator==(const Range&) const = default;
    };
    void setRange(qint64 fromUtcMs, qint64 toUtcMs);
    Range range() const { return range_; }
    // Everything recorded, with a small margin each side.
    Range fullRange() const;
    void showAll();

    struct Readout
    {
        bool valid = false;
        QString trace;
        qint64 utcMs = 0;
        int raw = 0;
        int number = 0;
        int alarm = 0;
        QString text; // "A005  15.11.2026 14:05:10  1.9 ppm  No. 12"
    };
    // The record nearest `pos` (widget pixels) among the traces.
    Readout readoutAt(QPoint pos) const;

    // The rectangle the traces are drawn in, and the mapping into it.
    QRect plotArea() const;
    double xOf(qint64 utcMs) const;
    double yOf(int raw) const;
    qint64 timeAt(double x) const;

Q_SIGNALS:
    void rangeChanged(qint64 fromUtcMs, qint64 toUtcMs);
    void readoutChanged(const QString& text);

protected:
    void paintEvent(QPaintEvent* e) override;
    void resizeEvent(QResizeEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void leaveEvent(QEvent* e) override;
    void changeEvent(QEvent* e) override;

private:
    // The columns of each trace and the Y range for the current range and size.
    struct View
    {
        std::vector<std::vector<RecordTrace::Column>> columns;
        int yLow = 0;     // raw
        int yHigh = 0;    // raw
        double yStep = 1; // ppm between labelled lines
    };
    const View& view() const;
    void invalidate();
    // Zooms by `factor` (below 1 is in) keeping the time at `x` in place.
    void zoomAbout(double x, double factor);
    void pan(qint64 byMs);
    // Sets the range from an operator's gesture: kept within what is recorded.
    void moveTo(qint64 from, qint64 to);
    void showReadout(QPoint pos);

    void paintAxes(QPainter& p, const View& v) const;
    void paintLimits(QPainter& p) const;
    void paintTraces(QPainter& p, const View& v) const;
    void paintLegend(QPainter& p) const;
    void paintCursor(QPainter& p) const;

    std::vector<std::unique_ptr<RecordTrace>> traces_;
    Range range_;
    bool showingAll_ = true;
    int limit1_ = 50;
    int limit2_ = 80;
    mutable View view_;
    mutable bool viewValid_ = false;
    mutable QSize areaFor_;
    mutable QRect area_;

    enum class Drag
    {
        None,
        Zoom,
        Pan
    };
    Drag drag_ = Drag::None;
    QPoint dragFrom_;
    QPoint dragTo_;
    Range dragRange_;
    QPoint cursor_;
    bool cursorShown_ = false;
    Readout readout_;
};
