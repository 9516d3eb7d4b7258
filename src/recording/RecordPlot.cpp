// The record viewer's picture: traces, range, mapping, read-out and the
// operator's zoom and pan. The painting is in RecordPlotPaint.cpp.
#include "recording/RecordPlot.h"

#include "display/TimeAxis.h"

#include <QDateTime>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <algorithm>
#include <climits>
#include <cmath>

namespace {
constexpr qint64 kMinSpanMs = 2000;    // the closest zoom: two seconds across
constexpr qint64 kEmptySpanMs = 60000; // a lone record is shown in a minute
constexpr int kMarginDivisor = 50;     // "show all" leaves 2 % each side
constexpr int kDragThreshold = 4;      // pixels before a drag marks a range
constexpr int kReadoutReach = 3;       // pixel columns each side searched for the read-out
constexpr double kWheelZoom = 0.8;     // span factor per wheel notch (in)
constexpr int kWheelNotch = 120;
constexpr int kPanDivisor = 8;  // an arrow key pans an eighth of the span
constexpr int kRawMinSpan = 10; // the Y axis is at least 1 ppm tall
constexpr int kLabelPx = 40;    // between Y labels at least

// 1, 2 or 5 times a power of ten, at least 0.1 ppm: the Y label step.
double niceStep(double ppmSpan, int labels)
{
    const double rough = ppmSpan / std::max(1, labels);
    double step = 0.1;
    for (double decade = 0.1; step < rough; decade *= 10) {
        for (double m : {1.0, 2.0, 5.0}) {
            step = m * decade;
            if (step >= rough)
                break;
        }
    }
    return step;
}
} // namespace

RecordPlot::RecordPlot(QWidget* parent) : QWidget(parent)
{
    setObjectName(QStringLiteral("picRecord"));
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(320, 200);
    setAttribute(Qt::WA_OpaquePaintEvent);
    showAll();
}

RecordPlot::~RecordPlot() = default;

void RecordPlot::clear()
{
    traces_.clear();
    readout_ = {};
    showAll();
}

RecordTrace& RecordPlot::trace(int address)
{
    auto at = std::lower_bound(traces_.begin(), traces_.end(), address,
                               [](const auto& t, int a) { return t->address() < a; });
    if (at == traces_.end() || (*at)->address() != address)
        at = traces_.insert(at, std::make_unique<RecordTrace>(address));
    return **at;
}

void RecordPlot::dataChanged()
{
    if (showingAll_)
        showAll();
    invalidate();
}

void RecordPlot::setLimits(int limit1, int limit2)
{
    if (limit1 == limit1_ && limit2 == limit2_)
        return;
    limit1_ = limit1;
    limit2_ = limit2;
    invalidate();
}

RecordPlot::Range RecordPlot::fullRange() const
{
    qint64 first = LLONG_MAX;
    qint64 last = LLONG_MIN;
    for (const auto& t : traces_) {
        if (t->isEmpty())
            continue;
        first = std::min(first, t->timeAt(0));
        last = std::max(last, t->timeAt(t->size() - 1));
    }
    if (first > last) {
        // Nothing recorded: the current hour, empty.
        const QDateTime now = QDateTime::currentDateTime();
        first = QDateTime(now.date(), QTime(now.time().hour(), 0)).toMSecsSinceEpoch();
        return {first, first + 3600 * 1000};
    }
    if (last - first < kEmptySpanMs) {
        const qint64 mid = first + (last - first) / 2;
        return {mid - kEmptySpanMs / 2, mid + kEmptySpanMs / 2};
    }
    const qint64 margin = (last - first) / kMarginDivisor;
    return {first - margin, last + margin};
}

void RecordPlot::setRange(qint64 fromUtcMs, qint64 toUtcMs)
{
    if (toUtcMs <= fromUtcMs)
        return;
    const Range r{fromUtcMs, toUtcMs};
    showingAll_ = r == fullRange();
    if (r == range_)
        return;
    range_ = r;
    invalidate();
    Q_EMIT rangeChanged(range_.from, range_.to);
    if (cursorShown_)
        showReadout(cursor_);
}

void RecordPlot::showAll()
{
    setRange(fullRange().from, fullRange().to);
    showingAll_ = true;
}

void RecordPlot::moveTo(qint64 from, qint64 to)
{
    const Range all = fullRange();
    qint64 span = to - from;
    if (span < kMinSpanMs) {
        from += span / 2 - kMinSpanMs / 2;
        span = kMinSpanMs;
    }
    if (span >= all.to - all.from)
        return showAll();
    from = std::clamp(from, all.from, all.to - span);
    setRange(from, from + span);
}

void RecordPlot::zoomAbout(double x, double factor)
{
    const qint64 at = timeAt(x);
    const double span = double(range_.to - range_.from) * factor;
    const double left = (x - plotArea().left()) / std::max(1, plotArea().width());
    const qint64 from = at - qint64(std::llround(span * left));
    moveTo(from, from + qint64(std::llround(span)));
}

void RecordPlot::pan(qint64 byMs)
{
    moveTo(range_.from + byMs, range_.to + byMs);
}

QRect RecordPlot::plotArea() const
{
    // Asked for at every point drawn: measured again only when the size changes.
    if (areaFor_ == size())
        return area_;
    const QFontMetrics fm = fontMetrics();
    const int left = fm.horizontalAdvance(QStringLiteral("00000.0")) + 12;
    const int top = fm.lineSpacing() + 6;
    const int bottom = 2 * fm.lineSpacing() + 10;
    areaFor_ = size();
    area_ =
        QRect(left, top, std::max(1, width() - left - 14), std::max(1, height() - top - bottom));
    return area_;
}

double RecordPlot::xOf(qint64 utcMs) const
{
    const QRect a = plotArea();
    return a.left() + double(utcMs - range_.from) * a.width() / double(range_.to - range_.from);
}

qint64 RecordPlot::timeAt(double x) const
{
    const QRect a = plotArea();
    return range_.from +
           qint64(std::llround((x - a.left()) * double(range_.to - range_.from) / a.width()));
}

double RecordPlot::yOf(int raw) const
{
    const View& v = view();
    const QRect a = plotArea();
    return a.top() + double(v.yHigh - raw) * a.height() / double(v.yHigh - v.yLow);
}

void RecordPlot::invalidate()
{
    viewValid_ = false;
    update();
}

const RecordPlot::View& RecordPlot::view() const
{
    if (viewValid_)
        return view_;
    const QRect a = plotArea();
    View& v = view_;
    v.columns.clear();
    int lo = INT_MAX;
    int hi = INT_MIN;
    for (const auto& t : traces_) {
        v.columns.push_back(t->columns(range_.from, range_.to, a.width()));
        for (const RecordTrace::Column& c : v.columns.back()) {
            if (c.x >= 0 && c.x < a.width()) {
                lo = std::min(lo, c.extent.min);
                hi = std::max(hi, c.extent.max);
            }
        }
    }
    if (lo > hi) {
        lo = 0;
        hi = std::max(limit2_, kRawMinSpan);
    }
    // The axis shows what is in view; it takes in zero, and each threshold,
    // when that leaves the records at least a third (a quarter) of the height.
    const int span = std::max(hi - lo, kRawMinSpan);
    if (lo > 0 && lo <= 2 * span)
        lo = 0;
    for (int limit : {std::min(limit1_, limit2_), std::max(limit1_, limit2_)}) {
        const int dataSpan = std::max(hi - lo, kRawMinSpan);
        if (limit > hi && limit - lo <= 4 * dataSpan)
            hi = limit;
        else if (limit < lo && hi - limit <= 4 * dataSpan)
            lo = limit;
    }
    const int pad = std::max(1, (hi - lo) / 20);
    hi += pad;
    if (lo != 0)
        lo -= pad;
    if (hi - lo < kRawMinSpan)
        hi = lo + kRawMinSpan;
    v.yStep = niceStep((hi - lo) / 10.0, a.height() / kLabelPx);
    const int rawStep = std::max(1, int(std::lround(v.yStep * 10)));
    v.yLow = int(std::floor(double(lo) / rawStep)) * rawStep;
    v.yHigh = int(std::ceil(double(hi) / rawStep)) * rawStep;
    viewValid_ = true;
    return v;
}

RecordPlot::Readout RecordPlot::readoutAt(QPoint pos) const
{
    Readout best;
    const QRect a = plotArea();
    if (!a.contains(pos))
        return best;
    double bestDistance = INFINITY;
    const qint64 from = timeAt(pos.x() - kReadoutReach);
    const qint64 to = timeAt(pos.x() + kReadoutReach + 1);
    for (const auto& t : traces_) {
        if (t->isEmpty())
            continue;
        // The records under the pointer's columns, and the nearest one each side.
        const qsizetype i0 = std::max<qsizetype>(0, t->lowerBound(from) - 1);
        const qsizetype i1 = std::min(t->size(), t->lowerBound(to) + 1);
        for (qsizetype i = i0; i < i1; ++i) {
            const double dx = xOf(t->timeAt(i)) - pos.x();
            const double dy = yOf(t->rawAt(i)) - pos.y();
            const double d = dx * dx + dy * dy;
            if (d < bestDistance) {
                bestDistance = d;
                best = {true,           t->name(),     t->timeAt(i), t->rawAt(i),
                        t->numberAt(i), t->alarmAt(i), QString()};
            }
        }
    }
    if (best.valid) {
        best.text = best.trace + QLatin1String("  ") + TimeAxis::stamp(best.utcMs) +
                    QLatin1String("  ") + QString::number(best.raw / 10.0, 'f', 1) +
                    QLatin1String(" ppm  No. ") + QString::number(best.number);
        if (best.alarm != 0)
            best.text += QLatin1String("  alarm ") + QString::number(best.alarm);
    }
    return best;
}

void RecordPlot::showReadout(QPoint pos)
{
    cursor_ = pos;
    cursorShown_ = plotArea().contains(pos);
    readout_ = readoutAt(pos);
    Q_EMIT readoutChanged(readout_.text);
    update();
}

void RecordPlot::resizeEvent(QResizeEvent* e)
{
    invalidate();
    QWidget::resizeEvent(e);
}

void RecordPlot::changeEvent(QEvent* e)
{
    if (e->type() == QEvent::FontChange) {
        areaFor_ = QSize(); // the margins hold the labels
        invalidate();
    }
    QWidget::changeEvent(e);
}

void RecordPlot::mousePressEvent(QMouseEvent* e)
{
    const bool shift = e->modifiers() & Qt::ShiftModifier;
    if (e->button() == Qt::LeftButton && !shift)
        drag_ = Drag::Zoom;
    else if (e->button() == Qt::LeftButton || e->button() == Qt::RightButton ||
             e->button() == Qt::MiddleButton)
        drag_ = Drag::Pan;
    else
        return QWidget::mousePressEvent(e);
    dragFrom_ = dragTo_ = e->position().toPoint();
    dragRange_ = range_;
    setFocus(Qt::MouseFocusReason);
}

void RecordPlot::mouseMoveEvent(QMouseEvent* e)
{
    const QPoint pos = e->position().toPoint();
    if (drag_ == Drag::Zoom) {
        dragTo_ = pos;
    } else if (drag_ == Drag::Pan) {
        const double msPerPx = double(dragRange_.to - dragRange_.from) / plotArea().width();
        const qint64 by = qint64(std::llround((dragFrom_.x() - pos.x()) * msPerPx));
        moveTo(dragRange_.from + by, dragRange_.to + by);
    }
    showReadout(pos);
}

void RecordPlot::mouseReleaseEvent(QMouseEvent* e)
{
    if (drag_ == Drag::Zoom) {
        dragTo_ = e->position().toPoint();
        const int x0 = std::min(dragFrom_.x(), dragTo_.x());
        const int x1 = std::max(dragFrom_.x(), dragTo_.x());
        drag_ = Drag::None;
        if (x1 - x0 >= kDragThreshold)
            moveTo(timeAt(x0), timeAt(x1));
    }
    drag_ = Drag::None;
    update();
}

void RecordPlot::wheelEvent(QWheelEvent* e)
{
    const int notches = e->angleDelta().y();
    if (notches == 0)
        return QWidget::wheelEvent(e);
    zoomAbout(e->position().x(), std::pow(kWheelZoom, double(notches) / kWheelNotch));
    e->accept();
}

void RecordPlot::keyPressEvent(QKeyEvent* e)
{
    const double centre = plotArea().left() + plotArea().width() / 2.0;
    const qint64 step = (range_.to - range_.from) / kPanDivisor;
    switch (e->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoomAbout(centre, 0.5);
        break;
    case Qt::Key_Minus:
        zoomAbout(centre, 2.0);
        break;
    case Qt::Key_Left:
        pan(-step);
        break;
    case Qt::Key_Right:
        pan(step);
        break;
    case Qt::Key_Home:
        showAll();
        break;
    default:
        QWidget::keyPressEvent(e);
    }
}

void RecordPlot::leaveEvent(QEvent* e)
{
    cursorShown_ = false;
    readout_ = {};
    Q_EMIT readoutChanged(QString());
    update();
    QWidget::leaveEvent(e);
}
