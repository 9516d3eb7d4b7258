#include "display/SampleArrays.h"

#include <algorithm>

SampleArrays::SampleArrays(int pointsPerScreen)
    : n_(std::max(pointsPerScreen, 1)), values_(n_), times_(std::size_t(n_), 0.0)
{
}

SampleArrays::Step SampleArrays::addPoint(qint32 value, double when, Notifier& notifier)
{
    Step step = Step::Appended;
    if (count_ >= n_) {
        // The time array is shifted only with the values, so both keep step.
        // A screen that can't be shifted says so once and is drawn over.
        if (!shiftBlocked_ && shiftArray(values_, notifier)) {
            shiftArrayA(times_);
            step = Step::Shifted;
        } else {
            shiftBlocked_ = true;
            step = Step::Unshifted;
        }
        // On a screen of one or two points the four-fifths mark is the
        // screen's end; the point then goes in its last place.
        count_ = std::min(keepAfterShift(n_), n_ - 1);
    }
    values_.at(0, count_) = value;
    times_[std::size_t(count_)] = when;
    ++count_;
    return step;
}

bool SampleArrays::setPointsPerScreen(int n)
{
    n = std::max(n, 1); // a screen holds at least one point
    values_.resize(n);
    times_.resize(std::size_t(n), 0.0);
    if (n < int(times_.capacity()) / 2)
        times_.shrink_to_fit();
    n_ = n;
    shiftBlocked_ = false;
    if (n > count_)
        return true;
    values_.reset(n);
    count_ = 0;
    return false;
}

void SampleArrays::restart()
{
    values_.reset(n_);
    count_ = 0;
    shiftBlocked_ = false;
}
