#pragma once

#include "sim/SimConfig.h"

#include <QString>
#include <QThread>
#include <functional>

class AnalyzerSim;

// Runs an AnalyzerSim on a thread of its own inside another process (the
// station's --simulate). The simulator's timers and pacing then keep going
// while the caller's thread is busy or blocked in one of its waits.
class SimHost
{
public:
    SimHost() = default;
    ~SimHost();
    SimHost(const SimHost&) = delete;
    SimHost& operator=(const SimHost&) = delete;

    // Starts the simulator and returns the tty to open once it is ready;
    // an empty string, with a reason in *error, when the line can't be made.
    QString start(const SimConfig& config, QString* error = nullptr);
    // Ends the simulator and its thread; its tty disappears.
    void stop();
    bool isRunning() const { return sim_ != nullptr; }
    QString ttyPath() const { return path_; }

    // The simulator lives on the host's thread: call it through invoke(),
    // except for its logs, which may be read from anywhere.
    AnalyzerSim* sim() const { return sim_; }
    // Runs `fn` on the simulator's thread and returns when it is done.
    void invoke(const std::function<void(AnalyzerSim&)>& fn);

private:
    QThread thread_;
    AnalyzerSim* sim_ = nullptr;
    QString path_;
};
