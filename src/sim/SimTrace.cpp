#include "sim/SimTrace.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr int kRiseSteps = 3;
constexpr double kDecay = 0.72;    // share of the plume left after each decaying reading
constexpr double kLeakFadeS = 4.0; // time constant of a leak fading away
} // namespace

SimTrace::Shape SimTrace::methane(SimProfile profile)
{
    const Plumes plumes = profile == SimProfile::Site    ? Plumes::Leaks
                          : profile == SimProfile::Steps ? Plumes::Steps
                                                         : Plumes::None;
    return {20.0, 0.8, 6.0, 1.5, plumes};
}

SimTrace::SimTrace(quint32 seed, Shape shape) : rng_(seed), shape_(shape)
{
    // The first plume comes sooner than the later ones, so a demo shows one early.
    untilPlume_ = gap() / 2;
    nextLeak_ = uniform(20.0, 40.0);
}

double SimTrace::leak(double seconds)
{
    if (seconds >= nextLeak_) {
        leakStart_ = nextLeak_;
        amplitude_ = uniform(1500.0, 5000.0);
        leakRise_ = uniform(6.0, 12.0);
        leakHold_ = uniform(4.0, 10.0);
        nextLeak_ = std::max(seconds, leakStart_ + uniform(60.0, 120.0));
    }
    if (leakStart_ < 0.0)
        return 0.0;
    const double t = seconds - leakStart_;
    // The plume wavers as the air moves it.
    const double gust = 1.0 + uniform(-0.08, 0.08);
    if (t < leakRise_)
        return amplitude_ * t / leakRise_ * gust;
    if (t < leakRise_ + leakHold_)
        return amplitude_ * gust;
    const double left = amplitude_ * std::exp(-(t - leakRise_ - leakHold_) / kLeakFadeS);
    return left < 3.0 ? 0.0 : left * gust;
}

double SimTrace::plume()
{
    if (shape_.plumes != Plumes::Steps)
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

int SimTrace::next(double seconds)
{
    // Mean-reverting random walk: pulled back a little towards zero each step.
    drift_ = std::clamp(drift_ * 0.97 + uniform(-shape_.driftStep, shape_.driftStep),
                        -shape_.driftLimit, shape_.driftLimit);
    const double excursion = shape_.plumes == Plumes::Leaks ? leak(seconds) : plume();
    const double v = shape_.background + drift_ + uniform(-shape_.noise, shape_.noise) + excursion;
    return std::clamp(int(std::lround(v)), 0, 99999);
}
