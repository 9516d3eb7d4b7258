#pragma once

#include <QRandomGenerator>

// A plausible concentration trace in tenths of ppm, one value per reading:
// a slow mean-reverting drift around a background level with a little noise,
// and for methane now and then a plume that rises, holds and decays. Plumes
// alternate between a moderate one (peak above 5.0 ppm) and a strong one
// (above 8.0 ppm), so both alarm thresholds of the station get crossed.
// The same seed gives the same sequence.
class SimTrace
{
public:
    struct Shape
    {
        double background; // level the drift returns to
        double driftStep;  // size of one random step of the drift
        double driftLimit; // the drift never leaves +-driftLimit
        double noise;      // uniform noise of +-noise on every reading
        bool plumes;       // whether excursions happen at all
    };
    // Methane: about 2 ppm, with plumes.
    static Shape methane() { return {20.0, 0.8, 6.0, 1.5, true}; }
    // Carbon dioxide: about 420 ppm, no plumes.
    static Shape carbonDioxide() { return {4200.0, 6.0, 150.0, 8.0, false}; }

    explicit SimTrace(quint32 seed, Shape shape = methane());

    // The next reading, 0..99999.
    int next();

private:
    double uniform(double lo, double hi) { return lo + (hi - lo) * rng_.generateDouble(); }
    int gap() { return 40 + int(rng_.bounded(81)); }
    double plume();

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
};
