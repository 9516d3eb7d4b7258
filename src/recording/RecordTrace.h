#pragma once

#include "recording/RecordFile.h"

#include <QString>
#include <QVector>
#include <vector>

// The records of one analyzer as the record viewer holds them: times, values,
// record numbers and alarm digits in time order, with a min/max pyramid over
// the values so that the extremes of any run of records are found by looking
// at a few dozen entries, however many records the run holds. That keeps the
// drawing of a day of records (24 x 72,000) to a few milliseconds at any zoom.
class RecordTrace
{
public:
    explicit RecordTrace(int address) : address_(address) {}

    int address() const { return address_; }
    // "Main" for the single analyzer, "A005" for address 5 on the line.
    QString name() const;

    // Takes records of this analyzer in any order; the trace stays in time
    // order (records of equal time keep the order they came in).
    void append(const QVector<RecordFile::Record>& records);

    qsizetype size() const { return qsizetype(time_.size()); }
    bool isEmpty() const { return time_.empty(); }
    qint64 timeAt(qsizetype i) const { return time_[size_t(i)]; }
    int rawAt(qsizetype i) const { return raw_[size_t(i)]; }
    int numberAt(qsizetype i) const { return number_[size_t(i)]; }
    int alarmAt(qsizetype i) const { return alarm_[size_t(i)]; }
    // The index of the first record at or after `utcMs` (size() when none).
    qsizetype lowerBound(qint64 utcMs) const;
    // Records further apart than this are not joined by a line: recording
    // stopped in between. Five typical intervals, and at least 10 s.
    qint64 gapMs() const { return gapMs_; }

    // The extremes of the records [from, to) and the highest alarm digit among them.
    struct Extent
    {
        int min = 0;
        int max = 0;
        int alarm = 0;
    };
    Extent extent(qsizetype from, qsizetype to) const;

    // What one pixel column shows of the trace: the extremes of its records,
    // the first and last of them (where the line comes in and goes out), the
    // highest alarm digit, and whether the line joins the record before.
    struct Column
    {
        int x = 0;
        Extent extent;
        int first = 0;
        int last = 0;
        qsizetype firstIndex = 0;
        bool joined = false;
    };
    // The columns 0..width-1 over the times [fromMs, toMs) that hold records,
    // plus the nearest record outside each side (at x = -1 and x = width), so
    // the line runs on to the edges.
    std::vector<Column> columns(qint64 fromMs, qint64 toMs, int width) const;

private:
    // A node of the pyramid: the extremes of kFanOut entries of the level below.
    struct Node
    {
        qint32 min;
        qint32 max;
        quint8 alarm;
    };
    static constexpr qsizetype kFanOut = 32;

    void rebuildFrom(qsizetype index);
    void updateGap();
    Column column(int x, qsizetype from, qsizetype to) const;

    int address_;
    std::vector<qint64> time_;
    std::vector<qint32> raw_;
    std::vector<qint32> number_;
    std::vector<quint8> alarm_;
    // levels_[0] sums up kFanOut records, levels_[1] kFanOut nodes of levels_[0]...
    std::vector<std::vector<Node>> levels_;
    qint64 gapMs_ = 10000;
};
