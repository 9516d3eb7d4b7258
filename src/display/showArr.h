#pragma once

#include <QDateTime>
#include <QtGlobal>
#include <cstddef>
#include <vector>

class Notifier;

// Rows of a graph window's value array: one per component.
inline constexpr int kComponents = 10;

// The value array of one graph window: kComponents values per point, stored
// point-major (the ten components of one point are adjacent), so that the
// columns of a range of points form one contiguous block that can be moved at once.
class ValueArray
{
public:
    ValueArray() = default;
    explicit ValueArray(int points) : v_(std::size_t(points) * kComponents) {}

    int points() const { return int(v_.size() / kComponents); }
    qint32& at(int component, int point) { return v_[index(component, point)]; }
    qint32 at(int component, int point) const { return v_[index(component, point)]; }
    qint32* data() { return v_.data(); }
    const qint32* data() const { return v_.data(); }
    std::size_t bytes() const { return v_.size() * sizeof(qint32); }

    // Changes the number of points; the points that still fit keep their values,
    // new points are 0.
    void resize(int points);
    // Re-creates the array with `points` points, all 0.
    void reset(int points);

private:
    static std::size_t index(int component, int point)
    {
        return std::size_t(point) * kComponents + std::size_t(component);
    }
    std::vector<qint32> v_;
};

// One date-time per point, as days since 30 December 1899 with the time of day
// as the fraction (the classic double-precision date); 0 is "no time".
using TimeArray = std::vector<double>;

double toOleDate(const QDateTime& t);
QDateTime fromOleDate(double days);
double currentOleDate();

// Drops the oldest fifth of the points: points L/5..L-1 move to 0..4L/5-1 in one
// block move and the last fifth becomes 0. When the point count L is not a
// multiple of 5 it says "Bad Bound if Array" through the notifier, leaves the
// array as it is and returns false.
bool shiftArray(ValueArray& values, Notifier& notifier);

// The same for the time array; fails silently (false) when the count is not a
// multiple of 5.
bool shiftArrayA(TimeArray& times);
