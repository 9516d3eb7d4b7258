// Reading path benchmark: the simulator streams over a pseudo-terminal at 9600
// and at 115200 baud, one record per delivery; the station takes them through
// its receive handler. Prints records accepted / sent, the latency from the
// record's last byte leaving the simulator to the first sink call (median and
// p99), and the station thread's CPU time per record.
#include "link/RunControl.h"
#include "rs485/Waits.h"
#include "sim/AnalyzerSim.h"
#include "sim/SimHost.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCoreApplication>
#include <QMutex>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {
using Clock = std::chrono::steady_clock;

double threadCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

double percentile(std::vector<double> v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * double(v.size())))];
}

void runAt(int baud, double rate, int seconds)
{
    HeadlessNotifier notifier;
    Station st(notifier);
    wireRunControl(st);
    SimHost host;
    SimConfig config;
    config.baud = baud;
    config.readingsPerSecond = rate;
    config.seed = 7;
    QString why;
    const QString tty = host.start(config, &why);
    if (tty.isEmpty()) {
        std::fprintf(stderr, "bench: no simulator: %s\n", qPrintable(why));
        return;
    }
    QMutex lock;
    std::vector<Clock::time_point> sentAt;
    QObject::connect(
        host.sim(), &AnalyzerSim::recordSent, host.sim(),
        [&](int, int) {
            QMutexLocker l(&lock);
            sentAt.push_back(Clock::now());
        },
        Qt::DirectConnection);
    std::vector<Clock::time_point> seenAt;
    seenAt.reserve(size_t(rate * seconds * 2));
    st.sinks[Station::MainGraphSink] = [&](double, const QByteArray&) {
        seenAt.push_back(Clock::now());
    };
    st.portName = tty;
    st.applyPortSettings();
    st.synchroFromTimer = false;
    Run(st);
    const double cpu0 = threadCpuSeconds();
    PauseMs(seconds * 1000, 50);
    const double cpu = threadCpuSeconds() - cpu0;
    st.Stop();
    PauseMs(200, 10);
    host.stop();

    QMutexLocker l(&lock);
    // Streaming starts with the station's "XDAT?", so record i sent is record
    // i seen; a record still on the line at Stop is sent but not seen.
    const size_t n = std::min(sentAt.size(), seenAt.size());
    const size_t offset = 0;
    std::vector<double> latencyMs;
    for (size_t i = 0; i < n; ++i) {
        latencyMs.push_back(
            std::chrono::duration<double, std::milli>(seenAt[i] - sentAt[i + offset]).count());
    }
    std::printf("%6d baud, %5.0f records/s: accepted %zu / sent %zu, dropped %lld; "
                "latency median %.3f ms, p99 %.3f ms; CPU %.1f us/record\n",
                baud, rate, seenAt.size(), sentAt.size(), qint64(st.droppedRecords),
                percentile(latencyMs, 0.5), percentile(latencyMs, 0.99),
                seenAt.empty() ? 0.0 : cpu / double(seenAt.size()) * 1e6);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;
    // 7 bytes take 7.3 ms at 9600 baud: 50 records/s leaves the line a third idle.
    runAt(9600, 50, seconds);
    runAt(115200, 200, seconds);
    return 0;
}
