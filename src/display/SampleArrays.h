#pragma once

#include "display/showArr.h"

class Notifier;

// The points one graph window holds: exactly one screen of N points (value and
// time arrays) and the count of points filled so far. When the screen is full
// the oldest fifth is dropped and filling goes on from the four-fifths mark.
class SampleArrays
{
public:
    explicit SampleArrays(int pointsPerScreen = 1000);

    // What adding a point did.
    enum class Step
    {
        Appended,  // stored after the points held
        Shifted,   // the screen was full: the oldest fifth was dropped first
        Unshifted, // the screen was full and can't be shifted (N not a multiple of 5)
    };

    // Stores `value` in component row 0 and `when` in the time array at the
    // point count, shifting first when the screen is full. A failed shift is
    // reported once ("Bad Bound if Array", until the X scale changes); the
    // arrays then keep their contents, the point count goes back to the four
    // fifths mark and the point is stored there, so the trace keeps drawing.
    Step addPoint(qint32 value, double when, Notifier& notifier);

    // Changes N. Both arrays keep what still fits; when N is not greater than
    // the point count the values are cleared and the trace restarts (count 0).
    // Returns true when the held points were kept.
    bool setPointsPerScreen(int n);

    // Clears the values and restarts the trace on the same screen.
    void restart();

    int pointsPerScreen() const { return n_; }
    int pointCount() const { return count_; }
    qint32 value(int point) const { return values_.at(0, point); }
    double time(int point) const { return times_[std::size_t(point)]; }
    const ValueArray& values() const { return values_; }
    const TimeArray& times() const { return times_; }

    // Where the trace goes on after a shift: round(round(N * 4.0) / 5.0).
    static int keepAfterShift(int n) { return qRound(qRound(n * 4.0) / 5.0); }

private:
    int n_;
    int count_ = 0;
    bool shiftBlocked_ = false;
    ValueArray values_;
    TimeArray times_;
};
