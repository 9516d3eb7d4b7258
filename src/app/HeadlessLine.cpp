// The headless station on the RS-485 line: scan, poll, print, record.
#include "alarms/AlarmCheck.h"
#include "app/Headless.h"
#include "link/RunControl.h"
#include "recording/LineRecorder.h"
#include "rs485/AddressScan.h"
#include "rs485/LinePoller.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QTimer>
#include <cstdio>

namespace {
void printLine(const Station::LineReading& r)
{
    const QString line = QStringLiteral("%1 %2 %3 %4\n")
                             .arg(QDateTime::currentDateTime().toString(Qt::ISODate))
                             .arg(r.address, 3, 10, QLatin1Char('0'))
                             .arg(qRound(r.value))
                             .arg(r.value / 10.0, 0, 'f', 1);
    std::fputs(line.toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}

// Consecutive runs of the address list, each scanned as the finder scans.
QList<QPair<int, int>> ranges(QList<int> addresses)
{
    if (addresses.isEmpty())
        return {{0, 255}};
    std::sort(addresses.begin(), addresses.end());
    QList<QPair<int, int>> out;
    for (int a : addresses) {
        if (!out.isEmpty() && out.back().second + 1 == a)
            out.back().second = a;
        else
            out.append({a, a});
    }
    return out;
}

void printStats(const LinePoller& poller)
{
    for (const QString& line : poller.statsLines())
        std::fprintf(stderr, "velmora: %s\n", qPrintable(line));
}
} // namespace

int runHeadlessLine(QCoreApplication& app, Station& st, const HeadlessOptions& options,
                    std::function<void()>& onQuit)
{
    st.setRs485Mode(true);
    LinePoller& poller = LinePoller::of(st);
    onQuit = [&st] { st.exitFlag = true; }; // ends the scan at its next step
    if (!st.ensurePortOpen())
        return 1;

    // The scan of each run of addresses starts a fresh table: keep what the
    // earlier runs found.
    std::array<QString, Station::kAddresses> found;
    int count = 0;
    for (const auto& [first, last] : ranges(options.addresses)) {
        ScanHooks hooks;
        hooks.found = [](int address, const QString& serial) {
            std::printf("%s\n", qPrintable(DeviceItem(serial, address)));
            std::fflush(stdout);
        };
        ScanAddressFromTo(st, first, last, st.myComm, hooks);
        for (int a = first; a <= last; ++a)
            found[size_t(a)] = st.serialNumbers[size_t(a)];
        count += st.foundDevices;
        if (st.exitFlag)
            break;
    }
    st.serialNumbers = found;
    st.foundDevices = count;
    if (st.exitFlag) {
        st.myComm.setPortOpen(false);
        return 0;
    }
    if (count == 0) {
        st.notifier().message(QStringLiteral("No Devices Found"));
        st.myComm.setPortOpen(false);
        return 1;
    }
    for (int a : poller.pollList())
        st.lineAutoName[size_t(a)] = true;

    st.lineSinks[Station::LineGraphSink] = printLine;
    AlarmCheck alarms(st);
    alarms.acknowledgeWhenQuiet = true;
    QObject::connect(&alarms, &AlarmCheck::lineWritten, &app,
                     [&st](const QString& line) { st.notifier().message(line); });
    LineRecorder recorder(st);
    if (options.record && recorder.start(poller.pollList()))
        std::fprintf(stderr, "velmora: recording %d analyzers in %s\n", recorder.openFiles(),
                     qPrintable(st.dataFolder.isEmpty() ? QStringLiteral(".") : st.dataFolder));

    // A signal lets the exchange in progress finish: the cycle stops after
    // it, and the files and the port are closed once it has.
    QTimer finish;
    finish.setInterval(10);
    QObject::connect(&finish, &QTimer::timeout, &app, [&] {
        if (poller.inCycle())
            return;
        finish.stop();
        recorder.end();
        st.HTmr.stop();
        st.running = false;
        st.myComm.setPortOpen(false);
        printStats(poller);
        app.exit(0);
    });
    onQuit = [&] {
        st.stopRequest = true;
        finish.start();
    };
    Run(st);
    return app.exec();
}
