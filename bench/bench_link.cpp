// Reading path benchmark: the simulator streams over a pseudo-terminal at 9600
// and at 115200 baud, one record per delivery; the station takes them through
// its receive handler. Prints records accepted / sent, the latency from the
// record's last byte leaving the simulator to the first sink call (median and
// p99), and the station thread's CPU time per record; then records back to
// back at 9600, 115200 and 921600 baud, the cost of syncing a data file, and
// what publishing to an MQTT broker adds to each reading. The same reading
// runs are then made through ser2net on loopback (raw TCP in front of the
// same kind of pty) and compared with the local pty: records accepted,
// latency added and the station thread's CPU per reading.
#include "Ser2net.h"
#include "link/RunControl.h"
#include "mqtt/MqttPublisher.h"
#include "recording/DataRecord.h"
#include "rs485/Waits.h"
#include "sim/AnalyzerSim.h"
#include "sim/SimHost.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCoreApplication>
#include <QDir>
#include <QMutex>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <pty.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {
using Clock = std::chrono::steady_clock;

double threadCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// Which way the station reaches the line in a run.
enum class Path
{
    Pty,
    Ser2net,
};

const char* pathName(Path path)
{
    return path == Path::Pty ? "pty" : "tcp";
}

// What one run measured; ok is false when the run could not be made.
struct Figures
{
    bool ok = false;
    long long sent = 0;
    long long seen = 0;
    double p50Ms = 0;
    double p99Ms = 0;
    double cpuUsPerRecord = 0;
};

double percentile(std::vector<double> v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * double(v.size())))];
}

Figures runAt(int baud, double rate, int seconds, Path path = Path::Pty)
{
    Figures out;
    Ser2net rig; // outlives the station, which drops its connection first
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
        return out;
    }
    if (path == Path::Ser2net && !rig.start(tty, QStringLiteral("921600n81"))) {
        std::fprintf(stderr, "bench: ser2net did not start on %s\n", qPrintable(tty));
        return out;
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
    st.portName = path == Path::Pty ? tty : rig.rawUrl();
    st.applyPortSettings();
    st.synchroFromTimer = false;
    Run(st);
    const double cpu0 = threadCpuSeconds();
    PauseMs(seconds * 1000, 50);
    const double cpu = threadCpuSeconds() - cpu0;
    st.Stop();
    PauseMs(200, 10);
    st.myComm.setPortOpen(false);
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
    out.ok = true;
    out.sent = static_cast<long long>(sentAt.size());
    out.seen = static_cast<long long>(seenAt.size());
    out.p50Ms = percentile(latencyMs, 0.5);
    out.p99Ms = percentile(latencyMs, 0.99);
    out.cpuUsPerRecord = seenAt.empty() ? 0.0 : cpu / double(seenAt.size()) * 1e6;
    std::printf("%s %6d baud, %5.0f records/s: accepted %lld / sent %lld, dropped %lld; "
                "latency median %.3f ms, p99 %.3f ms; CPU %.1f us/record\n",
                pathName(path), baud, rate, out.seen, out.sent,
                static_cast<long long>(st.droppedRecords), out.p50Ms, out.p99Ms,
                out.cpuUsPerRecord);
    std::fflush(stdout);
    return out;
}
// Records back to back at the line's full rate (10 bits a byte, no gap), as
// many as the line carries every 10 ms written in one go from a thread of
// their own to a pseudo-terminal that the station reads.
Figures backToBack(int baud, int seconds, Path path = Path::Pty)
{
    Figures out;
    int master = -1;
    int slave = -1;
    char name[256] = {};
    if (openpty(&master, &slave, name, nullptr, nullptr) != 0)
        return out;
    termios t{};
    tcgetattr(slave, &t);
    cfmakeraw(&t);
    tcsetattr(slave, TCSANOW, &t);
    Ser2net rig; // outlives the station, which drops its connection first
    if (path == Path::Ser2net &&
        !rig.start(QString::fromLocal8Bit(name), QStringLiteral("921600n81"))) {
        std::fprintf(stderr, "bench: ser2net did not start on %s\n", name);
        ::close(master);
        ::close(slave);
        return out;
    }
    HeadlessNotifier notifier;
    Station st(notifier);
    wireRunControl(st);
    qint64 seen = 0;
    st.sinks[Station::MainGraphSink] = [&](double, const QByteArray&) { ++seen; };
    st.portName = path == Path::Pty ? QString::fromLocal8Bit(name) : rig.rawUrl();
    st.applyPortSettings();
    st.synchroFromTimer = false;
    Run(st);
    PauseMs(path == Path::Pty ? 100 : 300, 10); // over TCP, ser2net opens the tty on connect
    ::tcflush(master, TCIFLUSH);                // "XDAT?" is not for us

    const double recordsPerSecond = baud / 10.0 / 7.0;
    std::atomic<bool> done{false};
    qint64 sent = 0;
    std::thread writer([&] {
        const auto t0 = Clock::now();
        while (!done) {
            const double elapsed = std::chrono::duration<double>(Clock::now() - t0).count();
            const qint64 due = qint64(elapsed * recordsPerSecond);
            QByteArray block;
            for (; sent < due; ++sent)
                block += QByteArray::number(sent % 100000).rightJustified(5, '0') + "\n\r";
            for (qsizetype at = 0; at < block.size();) {
                const ssize_t n =
                    ::write(master, block.constData() + at, size_t(block.size() - at));
                if (n <= 0)
                    break;
                at += n;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    });
    const double cpu0 = threadCpuSeconds();
    PauseMs(seconds * 1000, 50);
    done = true;
    writer.join();
    PauseMs(300, 10); // the last records are read
    const double cpu = threadCpuSeconds() - cpu0;
    st.Stop();
    out.ok = true;
    out.sent = static_cast<long long>(sent);
    out.seen = static_cast<long long>(seen);
    out.cpuUsPerRecord = seen ? cpu / double(seen) * 1e6 : 0.0;
    std::printf("%s %6d baud back to back (%5.0f records/s): accepted %lld / sent %lld "
                "(%.2f %%), dropped %lld; CPU %.1f us/record\n",
                pathName(path), baud, recordsPerSecond, out.seen, out.sent,
                sent ? 100.0 * double(seen) / double(sent) : 0.0,
                static_cast<long long>(st.droppedRecords), out.cpuUsPerRecord);
    std::fflush(stdout);
    st.myComm.setPortOpen(false);
    ::close(master);
    ::close(slave);
    return out;
}
double share(const Figures& f)
{
    return f.sent ? 100.0 * double(f.seen) / double(f.sent) : 0.0;
}
// The local pty and ser2net's raw TCP on loopback, from runs of this process.
void compareNetwork(const Figures& ptyLatency, const Figures& ptyBurst, int seconds)
{
    if (Ser2net::program().isEmpty()) {
        std::printf("network: ser2net is missing\n");
        return;
    }
    const Figures netLatency = runAt(115200, 200, seconds, Path::Ser2net);
    const Figures netBurst = backToBack(921600, seconds, Path::Ser2net);
    if (!ptyLatency.ok || !ptyBurst.ok || !netLatency.ok || !netBurst.ok) {
        std::printf("network: a run could not be made\n");
        return;
    }
    std::printf("pty vs ser2net raw TCP on loopback:\n");
    std::printf("  921600 baud back to back: accepted pty %lld / %lld (%.2f %%), "
                "tcp %lld / %lld (%.2f %%)\n",
                ptyBurst.seen, ptyBurst.sent, share(ptyBurst), netBurst.seen, netBurst.sent,
                share(netBurst));
    std::printf("  latency write to sink, 115200 baud 200 records/s: p50 pty %.3f ms, tcp %.3f ms, "
                "added %.3f ms; p99 pty %.3f ms, tcp %.3f ms, added %.3f ms\n",
                ptyLatency.p50Ms, netLatency.p50Ms, netLatency.p50Ms - ptyLatency.p50Ms,
                ptyLatency.p99Ms, netLatency.p99Ms, netLatency.p99Ms - ptyLatency.p99Ms);
    const auto ratio = [](double net, double local) { return local > 0 ? net / local : 0.0; };
    std::printf("  station CPU per reading: 200 records/s pty %.1f us, tcp %.1f us (%.2fx); "
                "921600 baud back to back pty %.1f us, tcp %.1f us (%.2fx)\n",
                ptyLatency.cpuUsPerRecord, netLatency.cpuUsPerRecord,
                ratio(netLatency.cpuUsPerRecord, ptyLatency.cpuUsPerRecord),
                ptyBurst.cpuUsPerRecord, netBurst.cpuUsPerRecord,
                ratio(netBurst.cpuUsPerRecord, ptyBurst.cpuUsPerRecord));
    std::fflush(stdout);
}
// What syncing a data file costs: a record appended, then fdatasync, as
// the recorder does at most once a second. Run in the current folder, so that
// the disk measured is the one the data folder is usually on.
void syncCost()
{
    QTemporaryDir dir(QDir::currentPath() + QStringLiteral("/bench-sync-XXXXXX"));
    QFile f(dir.filePath(QStringLiteral("14h15_11.dat")));
    if (!f.open(DataRecord::kAppend))
        return;
    const QByteArray record = "00001\t14:05:09\t00019\t00000\t0\r\n";
    const int rounds = 200;
    double total = 0;
    for (int i = 0; i < rounds; ++i) {
        f.write(record);
        const auto t0 = Clock::now();
        DataRecord::syncToDisk(f);
        total += std::chrono::duration<double, std::micro>(Clock::now() - t0).count();
    }
    const double each = total / rounds;
    std::printf("fdatasync after a record: %.0f us; at most one a second, so %.1f us a record at "
                "20 records/s and %.2f us at 1000 records/s\n",
                each, each / 20, each / 1000);
    std::fflush(stdout);
}
// What publishing adds to a reading: the publisher's sink on the reading
// path (the payload made and queued), with the broker away and with a local
// mosquitto taking every message; and with the broker there, the station
// thread's whole CPU time per reading (queue, hand-over, acknowledgement).
void publishCost()
{
    HeadlessNotifier notifier;
    Station st(notifier);
    MqttPublisher publisher(st);
    const QByteArray reply = "00019\r";
    const auto sinkTime = [&](int n) {
        const auto t0 = Clock::now();
        for (int i = 0; i < n; ++i)
            st.deliver(19, reply);
        return std::chrono::duration<double, std::micro>(Clock::now() - t0).count() / n;
    };
    MqttSettings s;
    s.host = QStringLiteral("127.0.0.1");
    s.port = 1; // nobody there: every message waits
    publisher.apply(s);
    std::printf("publishing, broker away: %.2f us a reading on the reading path\n",
                sinkTime(20000));
    publisher.stop();

    QTemporaryDir dir;
    QFile conf(dir.filePath(QStringLiteral("mosquitto.conf")));
    s.port = 18830 + int(QCoreApplication::applicationPid() % 1000);
    if (QStandardPaths::findExecutable(QStringLiteral("mosquitto"), {"/usr/sbin"}).isEmpty() ||
        !conf.open(QIODevice::WriteOnly)) {
        std::printf("publishing to a broker: mosquitto is missing\n");
        return;
    }
    conf.write("listener " + QByteArray::number(s.port) + " 127.0.0.1\nallow_anonymous true\n");
    conf.close();
    QProcess broker;
    broker.start(QStringLiteral("/usr/sbin/mosquitto"), {QStringLiteral("-c"), conf.fileName()});
    broker.waitForStarted(5000);
    PauseMs(500, 10);
    publisher.apply(s);
    for (int i = 0; i < 100 && !publisher.connected(); ++i)
        PauseMs(50, 10);
    if (!publisher.connected()) {
        std::printf("publishing to a broker: %s\n", qPrintable(publisher.stateText()));
        return;
    }
    const int n = 20000;
    const double cpu0 = threadCpuSeconds();
    double onPath = 0;
    for (int i = 0; i < n / 100; ++i) {
        onPath += sinkTime(100) * 100;
        QCoreApplication::processEvents(); // hand-over and acknowledgements, as the event loop does
    }
    for (int i = 0; i < 2000 && publisher.waiting() > 0; ++i)
        PauseMs(5, 1);
    const double cpu = threadCpuSeconds() - cpu0;
    std::printf("publishing to a local mosquitto: %.2f us a reading on the reading path, %.2f us "
                "of the station thread in all (%lld still waiting)\n",
                onPath / n, cpu * 1e6 / n, static_cast<long long>(publisher.waiting()));
    publisher.stop();
    broker.terminate();
    broker.waitForFinished(3000);
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 10;
    // 7 bytes take 7.3 ms at 9600 baud: 50 records/s leaves the line a third idle.
    runAt(9600, 50, seconds);
    const Figures ptyLatency = runAt(115200, 200, seconds);
    Figures ptyBurst;
    for (int baud : {9600, 115200, 921600})
        ptyBurst = backToBack(baud, seconds);
    compareNetwork(ptyLatency, ptyBurst, seconds);
    syncCost();
    publishCost();
    return 0;
}
