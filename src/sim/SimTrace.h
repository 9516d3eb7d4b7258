#pragma once

#include "sim/SimConfig.h"

#include <QRandomGenerator>

// A plausible concentration trace in tenths of ppm, one value per reading:
// a slow mean-reverting drift around a background level with a little noise,
// and for methane now and then a plume that rises, holds and decays.
// - Leaks (the "site" profile): every one to two minutes of the analyzer's
//   own time a plume of 150..500 ppm rises over several seconds, holds and
//   fades, so that it shows on the default scale and crosses both alarm
//   thresholds; the first one comes within the first minute.
// - Steps: every 40..120 readings a short plume that alternates between a
//   moderate one (peak above 5.0 ppm) and a strong one (above 8.0 ppm), just
//   over the two thresholds.
// - None: the background alone ("flat").
// The same seed and the same reading times give the same sequence.
class SimTrace
{
public:
    enum class Plumes
    {
        None,
        Steps,
        Leaks
    };
    struct Shape
    {
        double background; // level the drift returns to
        double driftStep;  // size of one random step of the drift
        double driftLimit; // the drift never leaves +-driftLimit
        double noise;      // uniform noise of +-noise on every reading
        Plumes plumes;     // which excursions happen
    };
    // Methane: about 2 ppm, with the plumes of the profile.
    static Shape methane(SimProfile profile = SimProfile::Steps);
    // Carbon dioxide: about 420 ppm, no plumes.
    static Shape carbonDioxide() { return {4200.0, 6.0, 150.0, 8.0, Plumes::None}; }

    explicit SimTrace(quint32 seed, Shape shape = methane());

    // The next reading, 0..99999, taken `seconds` after the analyzer started
    // (only leaks follow the time; the other plumes count readings).
    int next(double seconds = 0.0);

private:
    double uniform(double lo, double hi) { return lo + (hi - lo) * rng_.generateDouble(); }
    int gap() { return 40 + int(rng_.bounded(81)); }
    double plume();
    double leak(double seconds);

    QRandomGenerator rng_;
    Shape shape_;
    double drift_ = 0.0;

    // Plume state: readings until the next one starts, then rise, hold, decay.
    int untilPlume_ = 0;
    int rise_ = 0;
    int hold_ = 0;
    double amplitude_ = 0.0;
    double level_ = 0.0;
    bool strongNext_ = false;

    // Leak state, in seconds of the analyzer's time.
    double leakStart_ = -1.0;
    double nextLeak_ = 0.0;
    double leakRise_ = 0.0;
    double leakHold_ = 0.0;
};
