// A whole site on one broker: a real mosquitto on loopback, stations
// simulated here with libmosquitto (a few clients on their own threads, each
// publishing QoS 1 readings for many stations), and the program's site
// processes run as separate processes so that their CPU and memory are their
// own:
//   1. the control room (velmora --control-room, offscreen) at 100 stations x
//      8 channels, one reading a second each: its CPU and RSS, and, through a
//      SiteModel fed in this process the way the control room feeds its own,
//      the time from a reading's publish to its channel's change signal and
//      whether every channel shows its last reading within 1 s of the end;
//   2. the collector (velmora --headless --collect) at 5000 readings/s: every
//      reading in the files exactly once, and its CPU per reading;
//   3. the collector while the broker is stopped and started again on the
//      same port and persistence folder: every reading the broker
//      acknowledged is in the files exactly once.
#include "BrokerRig.h"
#include "fleet/SiteModel.h"
#include "mqtt/MqttIncoming.h"
#include "mqtt/MqttLink.h"
#include "mqtt/MqttMessages.h"
#include "recording/RecordFile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <mosquitto.h>
#include <mutex>
#include <thread>
#include <unistd.h>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {
using Clock = std::chrono::steady_clock;

const QString kTopic = QStringLiteral("velmora");

// A reading's identity: station index, line address and its sequence number
// on that channel (also its published record number and value).
using Key = quint64;
Key keyOf(int station, int address, int seq)
{
    return (quint64(station) << 40) | (quint64(address) << 32) | quint64(seq);
}

QString stationId(const QString& prefix, int station)
{
    return prefix + QString::number(station).rightJustified(3, QLatin1Char('0'));
}

double percentile(std::vector<double> v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * double(v.size())))];
}

// CPU seconds (user + system) of a process so far, from /proc/PID/stat.
double processCpuSeconds(qint64 pid)
{
    QFile f(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = f.readAll();
    // The fields after the command name, which is in parentheses; utime and
    // stime are the 14th and 15th fields of the whole line.
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    if (fields.size() < 13)
        return 0;
    return double(fields[11].toLongLong() + fields[12].toLongLong()) / double(sysconf(_SC_CLK_TCK));
}

// Resident memory of a process in MB, from /proc/PID/status.
double processRssMb(qint64 pid)
{
    QFile f(QStringLiteral("/proc/%1/status").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toDouble() / 1024.0;
    return 0;
}

// One libmosquitto client publishing for a set of stations on its own
// network thread; remembers which readings the broker acknowledged.
class Publisher
{
public:
    explicit Publisher(const QByteArray& id)
    {
        m_ = mosquitto_new(id.constData(), false, this);
        mosquitto_publish_callback_set(m_, &Publisher::onPublish);
        // Unsent and unacknowledged QoS 1 messages stay queued over a
        // disconnection and go out again after the reconnection.
        mosquitto_max_inflight_messages_set(m_, 0);
        mosquitto_reconnect_delay_set(m_, 1, 1, false);
    }
    ~Publisher()
    {
        mosquitto_disconnect(m_);
        mosquitto_loop_stop(m_, true);
        mosquitto_destroy(m_);
    }
    bool connect(int port)
    {
        if (mosquitto_connect(m_, "127.0.0.1", port, 20) != MOSQ_ERR_SUCCESS)
            return false;
        return mosquitto_loop_start(m_) == MOSQ_ERR_SUCCESS;
    }
    // True when libmosquitto took the message.
    bool publish(const QByteArray& topic, const QByteArray& payload, Key key)
    {
        std::lock_guard<std::mutex> l(lock_);
        int mid = 0;
        const int rc = mosquitto_publish(m_, &mid, topic.constData(), int(payload.size()),
                                         payload.constData(), 1, false);
        // Away from the broker, libmosquitto still queues a QoS 1 message
        // (with its mid) and sends it after the reconnection, but says
        // MOSQ_ERR_NO_CONN: that one is handed over too.
        if (rc == MOSQ_ERR_NO_CONN)
            ++queuedAway_;
        else if (rc != MOSQ_ERR_SUCCESS) {
            ++refused_;
            return false;
        }
        ++handed_;
        pending_[mid] = key;
        return true;
    }
    long long handed() const { return handed_; }
    long long refused() const { return refused_; }
    long long queuedAway() const { return queuedAway_; }
    size_t pending()
    {
        std::lock_guard<std::mutex> l(lock_);
        return pending_.size();
    }
    std::vector<Key> acked()
    {
        std::lock_guard<std::mutex> l(lock_);
        return acked_;
    }
    std::vector<Key> handedKeys()
    {
        std::lock_guard<std::mutex> l(lock_);
        std::vector<Key> out = acked_;
        for (const auto& p : pending_)
            out.push_back(p.second);
        return out;
    }

private:
    static void onPublish(mosquitto*, void* self, int mid)
    {
        auto* p = static_cast<Publisher*>(self);
        std::lock_guard<std::mutex> l(p->lock_);
        const auto it = p->pending_.find(mid);
        if (it == p->pending_.end())
            return;
        p->acked_.push_back(it->second);
        p->pending_.erase(it);
    }

    mosquitto* m_ = nullptr;
    std::mutex lock_;
    std::unordered_map<int, Key> pending_;
    std::vector<Key> acked_;
    long long handed_ = 0;
    long long refused_ = 0;
    long long queuedAway_ = 0;
};

// Stations published for in a run: `stations` stations of `channels` line
// addresses (1..channels), `rate` readings a second in all, for `seconds`.
struct Load
{
    QString prefix;
    int stations = 0;
    int channels = 0;
    double rate = 0;
    double seconds = 0;
    int clients = 4;
};

// Publish times of each reading, by channel and sequence number, so that the
// model's signal can be matched to it.
class PublishTimes
{
public:
    PublishTimes(int channels, int maxSeq)
        : maxSeq_(maxSeq), at_(size_t(channels) * size_t(maxSeq + 1))
    {
    }
    void set(int channel, int seq, Clock::time_point t)
    {
        if (seq <= maxSeq_)
            at_[size_t(channel) * size_t(maxSeq_ + 1) + size_t(seq)] = t.time_since_epoch().count();
    }
    long long get(int channel, int seq) const
    {
        return seq <= maxSeq_ ? at_[size_t(channel) * size_t(maxSeq_ + 1) + size_t(seq)].load() : 0;
    }

private:
    int maxSeq_;
    std::vector<std::atomic<long long>> at_;
};

// What publishing left behind: the last sequence number of every channel
// (index station * channels + address - 1).
struct Published
{
    std::vector<int> lastSeq;
    long long handed = 0;
    long long refused = 0;
    long long queuedAway = 0;
    long long acked = 0;
    std::vector<Key> ackedKeys;
    std::vector<Key> handedKeys;
    Clock::time_point end;
};

// Runs the load over `clients` publisher threads, each taking every
// clients-th station and going round its channels at an even pace.
// `during` is called on this thread every 50 ms (the event loop runs).
Published publishLoad(int port, const Load& load, PublishTimes* times,
                      const std::function<void(double)>& during = {})
{
    Published out;
    out.lastSeq.assign(size_t(load.stations * load.channels), 0);
    std::vector<std::unique_ptr<Publisher>> pubs;
    for (int c = 0; c < load.clients; ++c) {
        pubs.push_back(
            std::make_unique<Publisher>((load.prefix + QStringLiteral("-pub%1").arg(c)).toUtf8()));
        if (!pubs.back()->connect(port))
            std::fprintf(stderr, "bench: publisher %d could not connect\n", c);
    }
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    const auto start = Clock::now();
    const auto until = start + std::chrono::duration_cast<Clock::duration>(
                                   std::chrono::duration<double>(load.seconds));
    for (int c = 0; c < load.clients; ++c) {
        threads.emplace_back([&, c] {
            std::vector<int> mine;
            for (int s = c; s < load.stations; s += load.clients)
                for (int a = 1; a <= load.channels; ++a)
                    mine.push_back(s * load.channels + a - 1);
            if (mine.empty())
                return;
            const double perThread =
                load.rate * double(mine.size()) / double(load.stations * load.channels);
            const auto step = std::chrono::duration_cast<Clock::duration>(
                std::chrono::duration<double>(1.0 / perThread));
            auto next = start;
            for (long long i = 0; !stop; ++i) {
                next += step;
                if (next >= until)
                    break;
                std::this_thread::sleep_until(next);
                const int ch = mine[size_t(i % (long long)mine.size())];
                const int station = ch / load.channels;
                const int address = ch % load.channels + 1;
                const int seq = out.lastSeq[size_t(ch)] + 1;
                MqttMessages::Reading r;
                r.utcMs = QDateTime::currentMSecsSinceEpoch();
                r.raw = seq % 100000;
                r.record = seq;
                r.address = address;
                r.second = 0;
                const QByteArray topic =
                    MqttMessages::readingTopic(kTopic, stationId(load.prefix, station), address);
                if (times)
                    times->set(ch, seq, Clock::now());
                if (pubs[size_t(c)]->publish(topic, MqttMessages::readingPayload(r),
                                             keyOf(station, address, seq)))
                    out.lastSeq[size_t(ch)] = seq;
            }
        });
    }
    while (Clock::now() < until) {
        QTest::qWait(50);
        if (during)
            during(std::chrono::duration<double>(Clock::now() - start).count());
    }
    stop = true;
    for (std::thread& t : threads)
        t.join();
    out.end = Clock::now();
    // The acknowledgements of the last ones, for up to 10 s.
    const bool allAcked = QTest::qWaitFor(
        [&] {
            for (auto& p : pubs)
                if (p->pending() > 0)
                    return false;
            return true;
        },
        10000);
    if (!allAcked)
        std::fprintf(stderr, "bench: some readings were still unacknowledged after 10 s\n");
    for (auto& p : pubs) {
        out.handed += p->handed();
        out.refused += p->refused();
        out.queuedAway += p->queuedAway();
        const std::vector<Key> a = p->acked();
        out.acked += (long long)a.size();
        out.ackedKeys.insert(out.ackedKeys.end(), a.begin(), a.end());
        const std::vector<Key> h = p->handedKeys();
        out.handedKeys.insert(out.handedKeys.end(), h.begin(), h.end());
    }
    return out;
}

// A program of this build as a separate process with its own settings file.
class Program
{
public:
    QTemporaryDir cfg;
    QProcess proc;

    bool start(int port, const QStringList& args, const QByteArray& clientId)
    {
        QFile f(cfg.filePath(QStringLiteral("Tervala.ini")));
        if (!f.open(QIODevice::WriteOnly))
            return false;
        f.write("[MQTT]\nHost=127.0.0.1\nPort=" + QByteArray::number(port) +
                "\nClientId=" + clientId + "\n");
        f.close();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        proc.setProcessEnvironment(env);
        proc.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        proc.start(QStringLiteral(VELMORA_BIN), args);
        return proc.waitForStarted(5000);
    }
    double cpu() const { return processCpuSeconds(proc.processId()); }
    double rss() const { return processRssMb(proc.processId()); }
    void stop()
    {
        proc.terminate();
        if (!proc.waitForFinished(10000))
            proc.kill();
        proc.waitForFinished(2000);
    }
    ~Program()
    {
        if (proc.state() != QProcess::NotRunning) {
            proc.kill();
            proc.waitForFinished(2000);
        }
    }
};

// Every record in the collected files under `dir`, by reading.
std::unordered_map<Key, int> collected(const QString& dir, const Load& load)
{
    std::unordered_map<Key, int> out;
    for (int s = 0; s < load.stations; ++s) {
        QDirIterator it(QDir(dir).filePath(stationId(load.prefix, s)), {QStringLiteral("*.dat")},
                        QDir::Files);
        while (it.hasNext()) {
            RecordFile::Reader reader(it.next());
            if (!reader.open())
                continue;
            RecordFile::Record r;
            while (reader.next(r))
                ++out[keyOf(s, r.address, r.raw)];
        }
    }
    return out;
}

long long countAll(const std::unordered_map<Key, int>& files)
{
    long long n = 0;
    for (const auto& p : files)
        n += p.second;
    return n;
}

// Waits until the count in the files stays the same for 2 s (at most 30 s).
void waitQuiet(const QString& dir, const Load& load)
{
    long long last = -1;
    QElapsedTimer same;
    QElapsedTimer all;
    all.start();
    while (all.elapsed() < 30000) {
        const long long n = countAll(collected(dir, load));
        if (n != last) {
            last = n;
            same.start();
        } else if (same.elapsed() >= 2000) {
            return;
        }
        QTest::qWait(500);
    }
}

struct Row
{
    QString measure;
    QString result;
    QString target;
};
std::vector<Row> summary;

void controlRoom()
{
    mqtt_rig::Broker broker;
    if (!broker.start()) {
        std::printf("control room: no broker\n");
        return;
    }
    Load load{QStringLiteral("st"), 100, 8, 800, 25, 4};
    const double warmup = 5;
    Program room;
    if (!room.start(broker.port, {QStringLiteral("--control-room")}, "room")) {
        std::printf("control room: velmora did not start\n");
        return;
    }

    // The model in this process, fed as the control room feeds its own.
    SiteModel model(kTopic);
    MqttLink link;
    MqttLink::Config c;
    c.host = QStringLiteral("127.0.0.1");
    c.port = broker.port;
    c.clientId = QStringLiteral("bench-site-model");
    c.subscriptions = MqttIncoming::subscriptions(kTopic);
    QObject::connect(&link, &MqttLink::message, &model, &SiteModel::take);
    bool subscribed = false;
    QObject::connect(&link, &MqttLink::subscribed, [&] { subscribed = true; });
    QString why;
    if (!link.start(c, &why) || !QTest::qWaitFor([&] { return subscribed; }, 5000)) {
        std::printf("control room: the model's link did not subscribe: %s\n", qPrintable(why));
        return;
    }
    QTest::qWait(1500); // the control room's window up and subscribed

    const int channels = load.stations * load.channels;
    PublishTimes times(channels, int(load.seconds) + 5);
    std::vector<int> shown(size_t(channels), 0);
    std::vector<double> latencyMs;
    QObject::connect(&model, &SiteModel::channelsChanged, [&](const QStringList& keys) {
        const long long now = Clock::now().time_since_epoch().count();
        for (const QString& key : keys) {
            const qsizetype slash = key.indexOf(QLatin1Char('/'));
            const QString st = key.left(slash);
            const QByteArray name = key.mid(slash + 1).toLatin1();
            const SiteModel::Channel* ch = model.channel(st, name);
            if (!ch)
                continue;
            const int s = st.mid(load.prefix.size()).toInt();
            const int idx = s * load.channels + ch->address - 1;
            const int seq = int(ch->record);
            if (seq == shown[size_t(idx)])
                continue;
            shown[size_t(idx)] = seq;
            if (const long long at = times.get(idx, seq); at > 0)
                latencyMs.push_back(double(now - at) / 1e6);
        }
    });

    double cpu0 = 0;
    double cpu1 = 0;
    double t0 = 0;
    double t1 = 0;
    bool measuring = false;
    const Published pub = publishLoad(broker.port, load, &times, [&](double t) {
        if (!measuring && t >= warmup) {
            measuring = true;
            cpu0 = room.cpu();
            t0 = t;
        }
        if (measuring) {
            cpu1 = room.cpu();
            t1 = t;
        }
    });
    const double rss = room.rss();
    // Every channel showing its last reading: how long after the last publish.
    auto allShown = [&] {
        for (int i = 0; i < channels; ++i)
            if (shown[size_t(i)] != pub.lastSeq[size_t(i)])
                return false;
        return true;
    };
    const bool all = QTest::qWaitFor(allShown, 5000);
    const double lastMs = std::chrono::duration<double, std::milli>(Clock::now() - pub.end).count();
    int behind = 0;
    for (int i = 0; i < channels; ++i)
        behind += shown[size_t(i)] != pub.lastSeq[size_t(i)];
    const double cpuPct = t1 > t0 ? (cpu1 - cpu0) / (t1 - t0) * 100 : 0;
    const bool alive = room.proc.state() == QProcess::Running;
    std::printf("control room, %d stations x %d channels, %.0f readings/s, %.0f s: "
                "published %lld (acknowledged %lld); velmora --control-room %s: "
                "CPU %.1f %% of a core over %.1f s, RSS %.1f MB\n",
                load.stations, load.channels, load.rate, load.seconds, pub.handed, pub.acked,
                alive ? "running" : "NOT RUNNING", cpuPct, t1 - t0, rss);
    std::printf("control room model: publish to channel signal p50 %.0f ms, p99 %.0f ms, max "
                "%.0f ms over %zu readings shown; every channel at its last reading %s "
                "(%.0f ms after the last publish, %d behind)\n",
                percentile(latencyMs, 0.5), percentile(latencyMs, 0.99),
                latencyMs.empty() ? 0.0 : *std::max_element(latencyMs.begin(), latencyMs.end()),
                latencyMs.size(), all ? "yes" : "NO", all ? lastMs : 0.0, behind);
    std::fflush(stdout);
    summary.push_back({QStringLiteral("control room, 100 x 8 channels at 1/s: CPU, RSS"),
                       QStringLiteral("%1 %, %2 MB").arg(cpuPct, 0, 'f', 1).arg(rss, 0, 'f', 1),
                       QStringLiteral("< 15 %, < 150 MB")});
    summary.push_back(
        {QStringLiteral("publish to tile signal p50 / p99 / max; all at last reading"),
         QStringLiteral("%1 / %2 / %3 ms; %4 (%5 ms)")
             .arg(percentile(latencyMs, 0.5), 0, 'f', 0)
             .arg(percentile(latencyMs, 0.99), 0, 'f', 0)
             .arg(latencyMs.empty() ? 0.0 : *std::max_element(latencyMs.begin(), latencyMs.end()),
                  0, 'f', 0)
             .arg(all ? QStringLiteral("yes") : QStringLiteral("no"))
             .arg(lastMs, 0, 'f', 0),
         QStringLiteral("within 1 s")});
    link.stop(500);
    room.stop();
}

// Checks the files against the readings `expected`: missing, repeated and
// ones not expected.
struct Check
{
    long long records = 0;
    long long missing = 0;
    long long repeated = 0;
    long long unexpected = 0;
};
Check check(const std::unordered_map<Key, int>& files, const std::vector<Key>& expected)
{
    Check out;
    out.records = countAll(files);
    std::unordered_set<Key> want(expected.begin(), expected.end());
    for (Key k : want) {
        const auto it = files.find(k);
        if (it == files.end())
            ++out.missing;
    }
    for (const auto& p : files) {
        if (p.second > 1)
            out.repeated += p.second - 1;
        if (!want.count(p.first))
            out.unexpected += p.second;
    }
    return out;
}

void collectorRate()
{
    mqtt_rig::Broker broker;
    QTemporaryDir records;
    if (!broker.start()) {
        std::printf("collector: no broker\n");
        return;
    }
    Program collector;
    if (!collector.start(broker.port,
                         {QStringLiteral("--headless"), QStringLiteral("--collect"),
                          QStringLiteral("--record-dir"), records.path()},
                         "site")) {
        std::printf("collector: velmora did not start\n");
        return;
    }
    QTest::qWait(1500);
    Load load{QStringLiteral("co"), 50, 2, 5000, 10, 4};
    const double cpu0 = collector.cpu();
    const Published pub = publishLoad(broker.port, load, nullptr);
    waitQuiet(records.path(), load);
    const double cpu = collector.cpu() - cpu0;
    const Check c = check(collected(records.path(), load), pub.handedKeys);
    collector.stop();
    const double perReading = c.records > 0 ? cpu / double(c.records) * 1e6 : 0;
    std::printf("collector, %d stations x %d channels, %.0f readings/s, %.0f s: published %lld "
                "(acknowledged %lld, refused %lld), in the files %lld: missing %lld, twice %lld, "
                "unexpected %lld; CPU %.1f us a reading (%.2f s)\n",
                load.stations, load.channels, load.rate, load.seconds, pub.handed, pub.acked,
                pub.refused, c.records, c.missing, c.repeated, c.unexpected, perReading, cpu);
    std::fflush(stdout);
    summary.push_back({QStringLiteral("collector at 5000 readings/s, 10 s: in the files"),
                       QStringLiteral("%1 / %2 published, %3 missing, %4 twice")
                           .arg(c.records)
                           .arg(pub.handed)
                           .arg(c.missing)
                           .arg(c.repeated),
                       QStringLiteral("every one, once")});
    summary.push_back({QStringLiteral("collector CPU a reading"),
                       QStringLiteral("%1 us").arg(perReading, 0, 'f', 1), QString()});
}

void brokerRestart()
{
    mqtt_rig::Broker broker;
    QTemporaryDir records;
    if (!broker.start()) {
        std::printf("broker restart: no broker\n");
        return;
    }
    Program collector;
    if (!collector.start(broker.port,
                         {QStringLiteral("--headless"), QStringLiteral("--collect"),
                          QStringLiteral("--record-dir"), records.path()},
                         "site")) {
        std::printf("broker restart: velmora did not start\n");
        return;
    }
    QTest::qWait(1500);
    Load load{QStringLiteral("rs"), 10, 8, 1000, 15, 2};
    bool stopped = false;
    bool restarted = false;
    bool back = false;
    double downAt = 0;
    double upAt = 0;
    const Published pub = publishLoad(broker.port, load, nullptr, [&](double t) {
        if (!stopped && t >= 4) {
            stopped = true;
            downAt = t;
            broker.stop(); // SIGTERM; the broker saves its sessions
        }
        if (stopped && !restarted && t >= 7) {
            restarted = true;
            upAt = t;
            back = broker.start();
        }
    });
    waitQuiet(records.path(), load);
    const Check acked = check(collected(records.path(), load), pub.ackedKeys);
    const Check handed = check(collected(records.path(), load), pub.handedKeys);
    collector.stop();
    std::printf("broker restart, %.0f readings/s for %.0f s, broker down from %.1f s to %.1f s "
                "(%s): handed to libmosquitto %lld (%lld of them while it was away; refused "
                "%lld), acknowledged %lld\n",
                load.rate, load.seconds, downAt, upAt, back ? "restarted" : "NOT RESTARTED",
                pub.handed, pub.queuedAway, pub.refused, pub.acked);
    std::printf("broker restart: in the files %lld; of the acknowledged: missing %lld, twice "
                "%lld; of those handed over: missing %lld; in the files but never "
                "acknowledged %lld\n",
                acked.records, acked.missing, acked.repeated, handed.missing, acked.unexpected);
    std::fflush(stdout);
    summary.push_back({QStringLiteral("broker stopped and restarted, 1000 readings/s, 15 s"),
                       QStringLiteral("%1 acknowledged, %2 in the files: %3 missing, %4 twice")
                           .arg(pub.acked)
                           .arg(acked.records)
                           .arg(acked.missing)
                           .arg(acked.repeated),
                       QStringLiteral("every acknowledged one, once")});
}
} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    mosquitto_lib_init();
    if (mqtt_rig::Broker::program().isEmpty()) {
        std::fprintf(stderr, "bench: no mosquitto installed\n");
        return 1;
    }
    controlRoom();
    collectorRate();
    brokerRestart();
    std::printf("\n%-62s | %-50s | %s\n", "measure", "result", "target");
    for (const Row& r : summary)
        std::printf("%-62s | %-50s | %s\n", qPrintable(r.measure), qPrintable(r.result),
                    qPrintable(r.target));
    mosquitto_lib_cleanup();
    return 0;
}
