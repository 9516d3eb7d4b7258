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
        if (shiftBlocked_)
            return Step::Refused;
        // The time array is shifted only with the values, so both keep step.
        if (!shiftArray(values_, notifier)) {
            shiftBlocked_ = true;
            return Step::Refused;
        }
        shiftArrayA(times_);
        count_ = keepAfterShift(n_);
        step = Step::Shifted;
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
