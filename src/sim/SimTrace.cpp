#include "sim/SimTrace.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr int kRiseSteps = 3;
constexpr double kDecay = 0.72; // share of the plume left after each decaying reading
} // namespace

SimTrace::SimTrace(quint32 seed, Shape shape) : rng_(seed), shape_(shape)
{
    // The first plume comes sooner than the later ones, so a demo shows one early.
    untilPlume_ = gap() / 2;
}

double SimTrace::plume()
{
    if (!shape_.plumes)
        return 0.0;
    if (rise_ > 0) {
        --rise_;
        level_ = amplitude_ * double(kRiseSteps - rise_) / kRiseSteps;
    } else if (hold_ > 0) {
        --hold_;
        level_ = amplitude_;
    } else if (level_ > 0.5) {
        level_ *= kDecay;
    } else if (--untilPlume_ <= 0) {
        // Moderate plumes peak at 6.0..7.5 ppm over the background, strong ones at
        // 9.0..12.0 ppm; the drift and noise stay well inside the margins.
        amplitude_ = strongNext_ ? uniform(70.0, 100.0) : uniform(40.0, 55.0);
        strongNext_ = !strongNext_;
        rise_ = kRiseSteps - 1;
        hold_ = 2 + int(rng_.bounded(3));
        level_ = amplitude_ / kRiseSteps;
        untilPlume_ = gap();
    } else {
        level_ = 0.0;
    }
    return level_;
}

int SimTrace::next()
{
    // Mean-reverting random walk: pulled back a little towards zero each step.
    drift_ = std::clamp(drift_ * 0.97 + uniform(-shape_.driftStep, shape_.driftStep),
                        -shape_.driftLimit, shape_.driftLimit);
    const double v = shape_.background + drift_ + uniform(-shape_.noise, shape_.noise) + plume();
    return std::clamp(int(std::lround(v)), 0, 99999);
}
