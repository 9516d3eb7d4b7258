// The windowed station under load: the main frame with its main and added
// graphs (and, in the soak, the table view, recording and alarms) on the
// simulated streaming analyzer, in "From Device" mode, over a pseudo-terminal.
//
//   bench_gui [--views] [seconds] [rate ...]
//                                    readings sent and accepted, and CPU use, at
//                                    200, 1000 and 5000 readings/s (921600 baud);
//                                    --views opens the digital, table and diagram views
//   bench_gui --soak SECONDS         20 readings/s with recording, alarms and the
//                                    table view; resident memory once a minute
//
// Run it on a display (xvfb-run -a) or with QT_QPA_PLATFORM=offscreen.
#include "alarms/AlarmCheck.h"
#include "app/GuiNotifier.h"
#include "app/MDIFrm.h"
#include "display/frmVal.h"
#include "sim/AnalyzerSim.h"
#include "sim/SimHost.h"
#include "station/Settings.h"
#include "station/Station.h"

#include <QApplication>
#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

double threadCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// User and system time of the whole process, every thread.
double processCpuSeconds()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    auto seconds = [](const timeval& t) { return double(t.tv_sec) + double(t.tv_usec) * 1e-6; };
    return seconds(u.ru_utime) + seconds(u.ru_stime);
}

// CPU time of the X server this process draws on, when it is an Xvfb or Xorg
// on this machine (-1 otherwise): the drawing it does for us is not in our rusage.
double xServerCpuSeconds()
{
    static const int pid = [] {
        const QByteArray display = qgetenv("DISPLAY");
        if (display.isEmpty() || QGuiApplication::platformName() != QLatin1String("xcb"))
            return -1;
        for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
            QFile f(QStringLiteral("/proc/%1/cmdline").arg(entry));
            if (!entry.front().isDigit() || !f.open(QIODevice::ReadOnly))
                continue;
            const QList<QByteArray> args = f.readAll().split('\0');
            const QByteArray program = args.value(0).split('/').last();
            if ((program == "Xvfb" || program == "Xorg") && args.contains(display))
                return entry.toInt();
        }
        return -1;
    }();
    QFile f(QStringLiteral("/proc/%1/stat").arg(pid));
    if (pid < 0 || !f.open(QIODevice::ReadOnly))
        return -1;
    // utime and stime are fields 14 and 15, counted after the parenthesised name.
    const QList<QByteArray> fields = f.readAll().split(')').last().trimmed().split(' ');
    const double ticks = double(sysconf(_SC_CLK_TCK));
    return (fields.value(11).toDouble() + fields.value(12).toDouble()) / ticks;
}

// VmRSS of this process in kB; -1 when it can't be read.
long residentKb()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

// Serves the event loop for `ms`, as the station's own loop would.
void runFor(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

bool runUntil(const std::function<bool()>& done, int ms)
{
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < ms)
        runFor(10);
    return done();
}

// One windowed station on its own simulated analyzer, started as
// `velmora --simulate --from-device` starts it, with a settings folder of its
// own. Readings are counted where they leave the path (the alarm check is its
// last sink), and sent ones as the simulator reports them written.
class Rig
{
public:
    Rig(double rate, int baud) : rate_(rate), baud_(baud)
    {
        qputenv("XDG_CONFIG_HOME", config_.path().toLocal8Bit());
    }
    ~Rig()
    {
        if (frm_) {
            st_.Stop();
            st_.myComm.setPortOpen(false);
            frm_.reset();
        }
        host_.stop();
    }
    Rig(const Rig&) = delete;
    Rig& operator=(const Rig&) = delete;

    // Builds the frame as the station's start-up does, shows it with its
    // graphs, starts the simulator and runs. False, with a reason, on failure.
    bool start(const std::function<void(MDIFrm&)>& beforeRun, QString* why)
    {
        st_.ncom = 2;
        iniDef(st_);
        frm_ = std::make_unique<MDIFrm>(st_);
        notifier_.setParentWindow(frm_.get());
        notifier_.setPanels(frm_->statusPanels());
        ReadSettings(st_);

        SimConfig config;
        config.baud = baud_;
        config.readingsPerSecond = rate_;
        config.seed = 11;
        const QString tty = host_.start(config, why);
        if (tty.isEmpty())
            return false;
        QObject::connect(
            host_.sim(), &AnalyzerSim::recordSent, host_.sim(), [this](int, int) { ++sent_; },
            Qt::DirectConnection);
        st_.commSettings = QStringLiteral("%1,n,8,1").arg(baud_);
        st_.simulatorTty = tty;
        st_.portName = tty;
        st_.applyPortSettings();
        st_.synchroFromTimer = false;

        frm_->applyLayout();
        frm_->valueWindow()->show();
        frm_->show();
        const Station::Sink last = st_.sinks[Station::AlarmSink];
        st_.sinks[Station::AlarmSink] = [this, last](double value, const QByteArray& reply) {
            ++accepted_;
            if (last)
                last(value, reply);
        };
        runFor(300); // mapped and painted once
        if (beforeRun)
            beforeRun(*frm_);
        frm_->mnuRun_Click();
        if (!runUntil([this] { return accepted_ > 0; }, 5000)) {
            *why = QStringLiteral("no reading within 5 s");
            return false;
        }
        return true;
    }

    // The analyzer falls silent; what is on the line is still read.
    void quietAndDrain()
    {
        host_.invoke([](AnalyzerSim& sim) { sim.setSilent(true); });
        runFor(500);
    }
    // The simulator thread's CPU time, read on that thread.
    double simCpuSeconds()
    {
        double s = 0;
        host_.invoke([&](AnalyzerSim&) { s = threadCpuSeconds(); });
        return s;
    }
    // The simulator logs every record it sends; a long run forgets them so
    // that the station's memory is what grows or not.
    void forgetSimLogs()
    {
        host_.invoke([](AnalyzerSim& sim) { sim.clearLogs(); });
    }

    Station& station() { return st_; }
    MDIFrm& frame() { return *frm_; }
    qint64 sent() const { return sent_; }
    qint64 accepted() const { return accepted_; }

private:
    double rate_;
    int baud_;
    QTemporaryDir config_;
    GuiNotifier notifier_;
    Station st_{notifier_};
    SimHost host_;
    std::unique_ptr<MDIFrm> frm_;
    std::atomic<qint64> sent_{0};
    qint64 accepted_ = 0;
};

struct Sample
{
    qint64 wallNs;
    double process;
    double mainThread;
    double sim;
    double xServer;
};

Sample sample(Rig& rig, const QElapsedTimer& clock)
{
    return {clock.nsecsElapsed(), processCpuSeconds(), threadCpuSeconds(), rig.simCpuSeconds(),
            xServerCpuSeconds()};
}

void measure(double rate, int seconds, bool views)
{
    Rig rig(rate, 921600);
    QString why;
    const auto openViews = [](MDIFrm& frm) {
        for (const char* key : {"Digital", "Table", "Diagram"})
            frm.toggleView(QLatin1String(key));
    };
    if (!rig.start(views ? openViews : std::function<void(MDIFrm&)>(), &why)) {
        std::fprintf(stderr, "bench_gui: %5.0f/s: %s\n", rate, qPrintable(why));
        return;
    }
    runFor(1000); // past the first full redraws
    QElapsedTimer clock;
    clock.start();
    const Sample a = sample(rig, clock);
    const qint64 sentA = rig.sent();
    runFor(seconds * 1000);
    const Sample b = sample(rig, clock);
    const qint64 sentB = rig.sent();
    rig.quietAndDrain();

    const double wall = double(b.wallNs - a.wallNs) * 1e-9;
    auto pct = [wall](double cpu) { return 100.0 * cpu / wall; };
    const double process = b.process - a.process;
    const double sim = b.sim - a.sim;
    const Station& st = rig.station();
    const QByteArray xServer = a.xServer < 0
                                   ? QByteArray("    -")
                                   : QByteArray::number(pct(b.xServer - a.xServer), 'f', 1);
    std::printf("%6.0f/s %9lld %9lld %8.2f %%  %6.1f %%  %6.1f %%  %6.1f %%  %6.1f %%  %7.0f/s  "
                "%5lld  %6s %%\n",
                rate, static_cast<long long>(rig.sent()), static_cast<long long>(rig.accepted()),
                rig.sent() ? 100.0 * double(rig.accepted()) / double(rig.sent()) : 0.0,
                pct(process), pct(b.mainThread - a.mainThread), pct(sim), pct(process - sim),
                double(sentB - sentA) / wall, static_cast<long long>(st.droppedRecords),
                xServer.constData());
    std::fflush(stdout);
}

// Records in the data files under `folder` (one CR LF line each).
qint64 recordsIn(const QString& folder)
{
    qint64 n = 0;
    QDirIterator it(folder, {QStringLiteral("*.dat")}, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        QFile f(it.next());
        if (f.open(QIODevice::ReadOnly))
            n += f.readAll().count("\r\n");
    }
    return n;
}

int soak(int seconds)
{
    QTemporaryDir data;
    Rig rig(20, 9600);
    int alarmLines = 0;
    QString why;
    const bool started = rig.start(
        [&](MDIFrm& frm) {
            Station& st = frm.station();
            st.dataFolder = data.path();
            frm.toggleView(QStringLiteral("Table"));
            frm.mnuRunSaving_Click();
            // An operator answers each alarm after a few seconds, so that the
            // next excursion raises the alarm lines and the comment window again.
            QObject::connect(frm.alarms(), &AlarmCheck::lineWritten, frm.alarms(),
                             [&alarmLines, &frm](const QString&) {
                                 ++alarmLines;
                                 QTimer::singleShot(3000, frm.alarms(), &AlarmCheck::acknowledge);
                             });
        },
        &why);
    if (!started) {
        std::fprintf(stderr, "bench_gui --soak: %s\n", qPrintable(why));
        return 1;
    }
    const Station& st = rig.station();
    std::printf("soak: %d s at 20 readings/s, 9600 baud, limits %d / %d (ppm x10), data in %s, "
                "platform %s\n",
                seconds, st.limit1, st.limit2, qPrintable(data.path()),
                qPrintable(QGuiApplication::platformName()));
    std::printf("minute  VmRSS kB  sent  accepted  alarm lines\n");
    std::fflush(stdout);
    QElapsedTimer clock;
    clock.start();
    std::vector<long> rss{residentKb()}; // minute 0, then one a minute
    const double cpu0 = processCpuSeconds();
    for (int minute = 1; minute * 60 <= seconds; ++minute) {
        runFor(int(minute * 60000 - clock.elapsed()));
        rig.forgetSimLogs();
        rss.push_back(residentKb());
        std::printf("%6d  %8ld  %6lld  %8lld  %5d\n", minute, rss.back(),
                    static_cast<long long>(rig.sent()), static_cast<long long>(rig.accepted()),
                    alarmLines);
        std::fflush(stdout);
    }
    if (clock.elapsed() < seconds * 1000LL)
        runFor(int(seconds * 1000LL - clock.elapsed()));
    const double cpu = processCpuSeconds() - cpu0;
    const double wall = double(clock.elapsed()) / 1000.0;
    rig.quietAndDrain();
    rig.frame().mnuEndSaving_Click();
    const long end = residentKb();
    // The reference is the fifth minute; a shorter trial takes its first.
    const int refMinute = rss.size() > 5 ? 5 : 1;
    const long ref = rss.size() > size_t(refMinute) ? rss[size_t(refMinute)] : rss.front();
    const double growth = ref > 0 ? 100.0 * double(end - ref) / double(ref) : 0.0;
    std::printf("sent %lld, accepted %lld, records in the data files %lld, dropped %lld, "
                "alarm lines %d; process CPU %.2f %% of a core\n",
                static_cast<long long>(rig.sent()), static_cast<long long>(rig.accepted()),
                static_cast<long long>(recordsIn(data.path())),
                static_cast<long long>(st.droppedRecords), alarmLines, 100.0 * cpu / wall);
    std::printf("VmRSS at minute %d: %ld kB, at the end: %ld kB, change %+.2f %% (goal within "
                "5 %%: %s)\n",
                refMinute, ref, end, growth, std::abs(growth) <= 5.0 ? "met" : "NOT met");
    std::fflush(stdout);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Velmora"));
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.size() > 1 && args[0] == QLatin1String("--soak"))
        return soak(std::max(60, args[1].toInt()));
    const bool views = args.removeAll(QStringLiteral("--views")) > 0;
    const int seconds = args.isEmpty() ? 10 : std::max(1, args.takeFirst().toInt());
    std::vector<double> rates;
    for (const QString& a : std::as_const(args))
        rates.push_back(a.toDouble());
    if (rates.empty())
        rates = {200, 1000, 5000};
    std::printf("main frame with main and added graph, value window%s; 921600 baud, %d s a rate, "
                "platform %s\n",
                views ? ", digital, table and diagram views" : "", seconds,
                qPrintable(QGuiApplication::platformName()));
    std::printf("   rate      sent  accepted        %%   process   main th.  simulator  station"
                "   sent rate  dropped  X server\n");
    std::fflush(stdout);
    for (double rate : rates)
        measure(rate, seconds, views);
    return 0;
}
