#pragma once

#include <QString>
#include <QVector>

// A time axis, for the trend graphs and the record viewer: where its
// labelled ticks go and what they read, in local time. The step is the shortest of 1, 2, 5, 10, 15
// and 30 seconds, 1, 2, 5, 10, 15 and 30 minutes, 1, 2, 3, 6 and 12 hours, 1, 2 and 7 days (then
// whole weeks) that keeps the labels `minSpacingPx` apart. Ticks fall on round local clock times
// (14:05, 14:10...) and on local midnights.
namespace TimeAxis {

struct Tick
{
    qint64 utcMs = 0;
    QString
        time; // "14:05:10" under a minute's step, "14:05" under a day's, "15.11.2026" from a day
    QString date; // "15.11.2026" on the first tick and where the day changes; else empty
};

qint64 step(qint64 spanMs, int widthPx, int minSpacingPx);
QVector<Tick> ticks(qint64 fromMs, qint64 toMs, int widthPx, int minSpacingPx);

// The read-out's time: "15.11.2026 14:05:10".
QString stamp(qint64 utcMs);

} // namespace TimeAxis
