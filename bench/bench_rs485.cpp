// RS-485 line benchmark over the simulator's pseudo-terminal:
//   1. a scan of 256 addresses where nothing answers, against the expected
//      256 x (500 + 166 + 200) ms = 221.7 s;
//   2. the time of one polling cycle for 1, 8 and 32 analyzers;
//   3. a run of 8 analyzers polled every 4 s for a while (10 minutes by
//      default), every data reply the simulator sent accounted for: accepted
//      by the station, or counted as refused or timed out.
// Usage: bench_rs485 [soak-seconds] [--no-scan]
#include "link/RunControl.h"
#include "rs485/AddressScan.h"
#include "rs485/LinePoller.h"
#include "sim/AnalyzerSim.h"
#include "sim/SimHost.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>
#include <cstdio>

namespace {
struct Line
{
    HeadlessNotifier n;
    Station st{n};
    SimHost host;

    bool open(const QList<int>& addresses)
    {
        SimConfig c;
        c.addresses = addresses.isEmpty() ? QList<int>{} : addresses;
        c.seed = 5;
        QString why;
        // An empty line still needs a simulator: one analyzer at an address
        // the scan does not visit is not possible, so the silent line is one
        // whose only analyzer is told to keep quiet.
        if (addresses.isEmpty())
            c.addresses = {0};
        const QString tty = host.start(c, &why);
        if (tty.isEmpty()) {
            std::fprintf(stderr, "bench_rs485: %s\n", qPrintable(why));
            return false;
        }
        if (addresses.isEmpty())
            host.invoke([](AnalyzerSim& s) { s.setLineFault(0, LineFault::Silent); });
        wireRunControl(st);
        st.portName = tty;
        st.applyPortSettings();
        return st.ensurePortOpen();
    }
};

void silentScan()
{
    Line l;
    if (!l.open({}))
        return;
    QElapsedTimer t;
    t.start();
    int visited = 0;
    ScanHooks hooks;
    hooks.visiting = [&](int) { ++visited; };
    const bool found = ScanAddressFromTo(l.st, 0, 255, l.st.myComm, hooks);
    const double s = double(t.elapsed()) / 1000.0;
    std::printf("silent scan of 256 addresses: %d visited, found %s, %.1f s "
                "(expected 221.7 s, %+.1f %%)\n",
                visited, found ? "something" : "nothing", s, (s / 221.696 - 1) * 100);
    std::fflush(stdout);
}

QList<int> firstAddresses(int n)
{
    QList<int> out;
    for (int a = 1; a <= n; ++a)
        out << a;
    return out;
}

void prepare(Line& l, const QList<int>& addresses, int periodSeconds)
{
    l.st.setRs485Mode(true);
    l.st.timerPeriod = periodSeconds;
    for (int a : addresses)
        l.st.serialNumbers[size_t(a)] = QStringLiteral("BENCH%1").arg(a, 3, 10, QLatin1Char('0'));
    l.st.foundDevices = int(addresses.size());
}

void cycleTime(int analyzers)
{
    Line l;
    const QList<int> addresses = firstAddresses(analyzers);
    if (!l.open(addresses))
        return;
    prepare(l, addresses, 30);
    LinePoller& poller = LinePoller::of(l.st);
    QList<qint64> times;
    QObject::connect(&poller, &LinePoller::cycleFinished, [&](qint64 ms) { times << ms; });
    Run(l.st);
    QEventLoop loop;
    QTimer check;
    QObject::connect(&check, &QTimer::timeout, [&] {
        if (times.size() >= 3)
            loop.quit();
        else if (!poller.inCycle())
            poller.runCycles();
    });
    check.start(20);
    loop.exec();
    l.st.Stop();
    qint64 sum = 0;
    for (qint64 t : times)
        sum += t;
    const double mean = double(sum) / double(times.size());
    std::printf("cycle of %2d analyzers: %.0f ms (%.0f ms per analyzer)\n", analyzers, mean,
                mean / analyzers);
    std::fflush(stdout);
}

void soak(int seconds)
{
    Line l;
    const QList<int> addresses = firstAddresses(8);
    if (!l.open(addresses))
        return;
    prepare(l, addresses, 4);
    LinePoller& poller = LinePoller::of(l.st);
    qint64 accepted = 0;
    l.st.lineSinks[Station::LineGraphSink] = [&](const Station::LineReading&) { ++accepted; };
    Run(l.st);
    QEventLoop loop;
    QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
    loop.exec();
    l.st.stopRequest = true;
    QElapsedTimer wait;
    wait.start();
    while (poller.inCycle() && wait.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    l.st.Stop();
    QCoreApplication::processEvents(QEventLoop::AllEvents, 300);
    qint64 sent = 0;
    for (const auto& r : l.host.sim()->records())
        sent += r.address >= 0 ? 1 : 0;
    qint64 requests = 0;
    qint64 lost = 0;
    for (int a : addresses) {
        const LinePoller::Stats& s = poller.stats(a);
        requests += s.requests;
        lost += s.timeouts + s.rejected;
    }
    std::printf("8 analyzers for %d s: %lld cycles, %lld requests, %lld replies sent, %lld "
                "accepted, %lld timed out or refused\n",
                seconds, static_cast<long long>(poller.cycles()), static_cast<long long>(requests),
                static_cast<long long>(sent), static_cast<long long>(accepted),
                static_cast<long long>(lost));
    std::fflush(stdout);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    const int soakSeconds = args.size() > 1 && args[1].toInt() > 0 ? args[1].toInt() : 600;
    if (!args.contains(QStringLiteral("--no-scan")))
        silentScan();
    for (int n : {1, 8, 32})
        cycleTime(n);
    soak(soakSeconds);
    return 0;
}
