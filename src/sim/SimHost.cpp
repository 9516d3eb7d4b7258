#include "sim/SimHost.h"

#include "sim/AnalyzerSim.h"

SimHost::~SimHost()
{
    stop();
}

QString SimHost::start(const SimConfig& config, QString* error)
{
    stop();
    thread_.setObjectName(QStringLiteral("AnalyzerSim"));
    thread_.start();

    auto* sim = new AnalyzerSim(config);
    sim->moveToThread(&thread_);
    bool ok = false;
    QString why;
    // The line is opened on the simulator's thread, so that its notifier and
    // timers belong there; the caller waits for the result.
    QMetaObject::invokeMethod(
        sim, [&] { ok = sim->start(&why); }, Qt::BlockingQueuedConnection);
    if (!ok) {
        if (error)
            *error = why;
        QObject::connect(&thread_, &QThread::finished, sim, &QObject::deleteLater);
        thread_.quit();
        thread_.wait();
        return {};
    }
    sim_ = sim;
    path_ = sim->ttyPath();
    return path_;
}

void SimHost::stop()
{
    if (!thread_.isRunning())
        return;
    if (sim_) {
        // Deleted on its own thread, where its notifier and timers live, as the
        // thread winds down.
        QObject::connect(&thread_, &QThread::finished, sim_, &QObject::deleteLater);
    }
    thread_.quit();
    thread_.wait();
    sim_ = nullptr;
    path_.clear();
}

void SimHost::invoke(const std::function<void(AnalyzerSim&)>& fn)
{
    if (!sim_)
        return;
    if (QThread::currentThread() == &thread_) {
        fn(*sim_);
        return;
    }
    AnalyzerSim* sim = sim_;
    QMetaObject::invokeMethod(
        sim, [sim, &fn] { fn(*sim); }, Qt::BlockingQueuedConnection);
}
