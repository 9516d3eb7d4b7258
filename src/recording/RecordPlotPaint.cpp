// Painting of the record viewer's picture: grid and axis labels, threshold
// lines, the traces column by column, alarm marks, legend, the range being
// marked and the cursor with its read-out.
#include "recording/RecordPlot.h"
#include "display/TimeAxis.h"

#include <QPainter>
#include <QPainterPath>
#include <array>
#include <cmath>

namespace {
const std::array<QColor, 6> kTraceColours = {QColor(0, 0, 170),   QColor(0, 130, 0),
                                             QColor(150, 0, 150), QColor(0, 120, 130),
                                             QColor(140, 70, 0),  QColor(80, 80, 80)};
const QColor kGrid(225, 225, 225);
const QColor kFrame(150, 150, 150);
const QColor kLimit1(230, 130, 0);
const QColor kLimit2(220, 0, 0);
constexpr int kAlarmStrip = 4; // pixels: the alarm band along the bottom
constexpr double kMarkRadius = 3;
constexpr double kSpanWidth = 1.5; // the trace's thickness, pixels
constexpr int kSpanPixels = 2;
constexpr int kSwatch = 22; // legend line length

QColor traceColour(size_t i)
{
    return kTraceColours[i % kTraceColours.size()];
}

QColor alarmColour(int level)
{
    return level >= 3 ? kLimit2 : kLimit1;
}

QString ppm(int raw, int decimals = 1)
{
    return QString::number(raw / 10.0, 'f', decimals);
}
} // namespace

void RecordPlot::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.fillRect(rect(), Qt::white);
    const View& v = view();
    const QRect a = plotArea();
    paintAxes(p, v);
    p.save();
    p.setClipRect(a.adjusted(0, 0, 1, 1));
    paintLimits(p);
    paintTraces(p, v);
    p.restore();
    paintLegend(p);
    if (drag_ == Drag::Zoom) {
        const int x0 = std::clamp(std::min(dragFrom_.x(), dragTo_.x()), a.left(), a.right());
        const int x1 = std::clamp(std::max(dragFrom_.x(), dragTo_.x()), a.left(), a.right());
        const QRect band(x0, a.top(), x1 - x0, a.height());
        p.fillRect(band, QColor(0, 110, 220, 45));
        p.setPen(QColor(0, 110, 220));
        p.drawRect(band);
    }
    paintCursor(p);
}

void RecordPlot::paintAxes(QPainter& p, const View& v) const
{
    const QRect a = plotArea();
    const QFontMetrics fm = fontMetrics();
    p.setPen(kGrid);
    // Time labels: the clock time under each tick, the date under the first
    // tick and wherever a new day begins.
    const int spacing = fm.horizontalAdvance(QStringLiteral("00.00.0000")) + 16;
    const auto ticks = TimeAxis::ticks(range_.from, range_.to, a.width(), spacing);
    for (const TimeAxis::Tick& t : ticks) {
        const int x = int(std::lround(xOf(t.utcMs)));
        p.setPen(t.date.isEmpty() ? kGrid : kGrid.darker(115));
        p.drawLine(x, a.top(), x, a.bottom());
        p.setPen(Qt::black);
        int row = a.bottom() + 4 + fm.ascent();
        for (const QString& s : {t.time, t.date}) {
            if (s.isEmpty())
                continue;
            const int w = fm.horizontalAdvance(s);
            p.drawText(std::clamp(x - w / 2, 0, width() - w), row, s);
            row += fm.lineSpacing();
        }
    }
    // Values: a line and its ppm at each step.
    const int rawStep = std::max(1, int(std::lround(v.yStep * 10)));
    const int decimals = v.yStep < 1 ? 1 : 0;
    for (int raw = v.yLow; raw <= v.yHigh; raw += rawStep) {
        const int y = int(std::lround(yOf(raw)));
        p.setPen(kGrid);
        p.drawLine(a.left(), y, a.right(), y);
        p.setPen(Qt::black);
        const QString s = ppm(raw, decimals);
        p.drawText(a.left() - 6 - fm.horizontalAdvance(s), y + fm.ascent() / 2 - 1, s);
    }
    p.drawText(4, fm.ascent() + 2, QStringLiteral("ppm"));
    p.setPen(kFrame);
    p.drawRect(a);
}

void RecordPlot::paintLimits(QPainter& p) const
{
    const QRect a = plotArea();
    int n = 1;
    for (const auto& [limit, colour] : {std::pair{limit1_, kLimit1}, std::pair{limit2_, kLimit2}}) {
        const double y = yOf(limit);
        p.setPen(QPen(colour, 1.5, Qt::DashLine));
        p.drawLine(QPointF(a.left(), y), QPointF(a.right(), y));
        p.setPen(colour);
        p.drawText(QPointF(a.left() + 6, y - 3),
                   QStringLiteral("Limit%1 %2 ppm").arg(n++).arg(ppm(limit)));
    }
}

void RecordPlot::paintTraces(QPainter& p, const View& v) const
{
    const QRect a = plotArea();
    QVector<QRect> spans;
    QVector<QLineF> lines;
    struct Mark
    {
        QPointF at;
        int level;
    };
    std::vector<Mark> marks;
    for (size_t k = 0; k < v.columns.size(); ++k) {
        spans.clear();
        lines.clear();
        bool havePrevious = false;
        QPointF previous;
        int previousX = 0;
        // Each column is one span from its minimum to its maximum. Where the
        // records run on from the column beside it the span reaches to where
        // that column ended, which covers the pixels a line between them
        // would; a line joins columns further apart. A span is a filled
        // rectangle: far cheaper than stroking thousands of short lines.
        for (const RecordTrace::Column& c : v.columns[k]) {
            const double x = a.left() + c.x;
            double top = yOf(c.extent.max);
            double bottom = yOf(c.extent.min);
            const bool joined = havePrevious && c.joined;
            if (joined && c.x == previousX + 1) {
                top = std::min(top, previous.y());
                bottom = std::max(bottom, previous.y());
            } else if (joined) {
                lines << QLineF(previous, QPointF(x + 0.5, yOf(c.first)));
            }
            // Whole pixels, two wide and at least two tall: a flat run reads as a line.
            const int y0 = int(std::floor(top - kSpanWidth / 2));
            const int y1 = int(std::ceil(bottom + kSpanWidth / 2));
            spans << QRect(int(x), y0, kSpanPixels, std::max(kSpanPixels, y1 - y0));
            previous = QPointF(x + 0.5, yOf(c.last));
            previousX = c.x;
            havePrevious = true;
            if (c.extent.alarm != 0 && c.x >= 0 && c.x < a.width())
                marks.push_back({QPointF(x + 0.5, yOf(c.extent.max)), c.extent.alarm});
        }
        p.setPen(Qt::NoPen);
        p.setBrush(traceColour(k));
        p.drawRects(spans);
        p.setRenderHint(QPainter::Antialiasing, true);
        p.setPen(QPen(traceColour(k), kSpanWidth));
        p.drawLines(lines);
        p.setRenderHint(QPainter::Antialiasing, false);
    }
    // Alarm marks on top of every trace: a dot on the record (the column's
    // highest) and a band along the bottom edge.
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(Qt::NoPen);
    for (const Mark& m : marks) {
        p.setBrush(alarmColour(m.level));
        p.drawEllipse(m.at, kMarkRadius, kMarkRadius);
    }
    p.setRenderHint(QPainter::Antialiasing, false);
    for (const Mark& m : marks)
        p.fillRect(QRectF(m.at.x() - 0.5, a.bottom() - kAlarmStrip + 1, 1, kAlarmStrip),
                   alarmColour(m.level));
    p.setBrush(Qt::NoBrush);
}

void RecordPlot::paintLegend(QPainter& p) const
{
    const QRect a = plotArea();
    const QFontMetrics fm = fontMetrics();
    struct Entry
    {
        QString text;
        QPen pen;
        int mark; // alarm level of a dot entry, else 0
    };
    std::vector<Entry> entries;
    for (size_t k = 0; k < traces_.size(); ++k)
        entries.push_back({traces_[k]->name(), QPen(traceColour(k), 2), 0});
    entries.push_back(
        {QStringLiteral("Limit1 %1 ppm").arg(ppm(limit1_)), QPen(kLimit1, 1.5, Qt::DashLine), 0});
    entries.push_back(
        {QStringLiteral("Limit2 %1 ppm").arg(ppm(limit2_)), QPen(kLimit2, 1.5, Qt::DashLine), 0});
    entries.push_back({QStringLiteral("alarm 1"), QPen(), 1});
    entries.push_back({QStringLiteral("alarm 3"), QPen(), 3});
    int textWidth = 0;
    for (const Entry& e : entries)
        textWidth = std::max(textWidth, fm.horizontalAdvance(e.text));
    const int rowHeight = fm.lineSpacing();
    const QRect box(a.right() - textWidth - kSwatch - 22, a.top() + 6, textWidth + kSwatch + 16,
                    rowHeight * int(entries.size()) + 8);
    p.setPen(kFrame);
    p.setBrush(QColor(255, 255, 255, 225));
    p.drawRect(box);
    p.setRenderHint(QPainter::Antialiasing, true);
    int y = box.top() + 4;
    for (const Entry& e : entries) {
        const double mid = y + rowHeight / 2.0;
        const double x0 = box.left() + 6;
        if (e.mark != 0) {
            p.setPen(Qt::NoPen);
            p.setBrush(alarmColour(e.mark));
            p.drawEllipse(QPointF(x0 + kSwatch / 2.0, mid), kMarkRadius, kMarkRadius);
        } else {
            p.setPen(e.pen);
            p.drawLine(QPointF(x0, mid), QPointF(x0 + kSwatch, mid));
        }
        p.setPen(Qt::black);
        p.drawText(int(x0) + kSwatch + 6, y + fm.ascent(), e.text);
        y += rowHeight;
    }
    p.setRenderHint(QPainter::Antialiasing, false);
    p.setBrush(Qt::NoBrush);
}

void RecordPlot::paintCursor(QPainter& p) const
{
    const QRect a = plotArea();
    if (!cursorShown_ || !a.contains(cursor_))
        return;
    p.setPen(QPen(Qt::darkGray, 1, Qt::DotLine));
    p.drawLine(cursor_.x(), a.top(), cursor_.x(), a.bottom());
    if (!readout_.valid)
        return;
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(QPen(Qt::black, 1.5));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(QPointF(xOf(readout_.utcMs), yOf(readout_.raw)), 5, 5);
    p.setRenderHint(QPainter::Antialiasing, false);
    const QFontMetrics fm = fontMetrics();
    const QRect box(a.left() + 6, a.top() + 6, fm.horizontalAdvance(readout_.text) + 12,
                    fm.lineSpacing() + 6);
    p.setPen(kFrame);
    p.setBrush(QColor(255, 255, 230, 235));
    p.drawRect(box);
    p.setPen(Qt::black);
    p.drawText(box.adjusted(6, 3, -6, -3), Qt::AlignLeft | Qt::AlignVCenter, readout_.text);
    p.setBrush(Qt::NoBrush);
}
