#include "app/Headless.h"

#include "alarms/AlarmCheck.h"
#include "link/PortWatch.h"
#include "link/RunControl.h"
#include "mqtt/MqttPublisher.h"
#include "platform/Platform.h"
#include "recording/DataRecorder.h"
#include "rs485/Waits.h"
#include "sim/SimHost.h"
#include "station/CommPort.h"
#include "station/Notifier.h"
#include "station/Settings.h"
#include "station/Station.h"
#include "station/zep_cmnd.h"

#include <QCoreApplication>
#include <QDateTime>
#include <cstdio>

namespace {
void printReading(double value)
{
    const QString line = QStringLiteral("%1 %2 %3\n")
                             .arg(QDateTime::currentDateTime().toString(Qt::ISODate))
                             .arg(qRound(value))
                             .arg(value / 10.0, 0, 'f', 1);
    std::fputs(line.toLocal8Bit().constData(), stdout);
    std::fflush(stdout);
}
} // namespace

int runHeadless(QCoreApplication& app, const HeadlessOptions& options)
{
    HeadlessNotifier notifier;
    notifier.verbose = options.verbose;
    Station st(notifier);
    wireRunControl(st);
    st.ncom = 2;
    iniDef(st);
    raisePriority(notifier);
    zep_cmnd::InitDataFormat(st.format, zep_cmnd::deviceTypes().at(zep_cmnd::defaultTypeIndex));
    ReadSettings(st);

    SimHost sim;
    if (options.simulate) {
        SimConfig config;
        config.readingsPerSecond = options.simRate;
        config.profile = options.simProfile;
        if (options.rs485)
            config.addresses = options.simAddresses;
        QString why;
        const QString tty = sim.start(config, &why);
        if (tty.isEmpty()) {
            notifier.message(QStringLiteral("Can't start the simulator: %1").arg(why));
            return 1;
        }
        st.simulatorTty = tty;
        st.portName = tty;
        st.applyPortSettings();
        std::fprintf(stderr, "velmora: simulated analyzer on %s\n", qPrintable(tty));
    }
    // SIGINT/SIGTERM (Ctrl+C or the console closing on Windows) end the run
    // from the event loop; the first one counts.
    platform::ShutdownRequests shutdown;
    if (!shutdown.isWatching()) {
        notifier.message(QStringLiteral("Can't watch for signals: %1").arg(shutdown.error()));
        return 1;
    }
    std::function<void()> onQuit;
    bool quitAsked = false;
    QObject::connect(&shutdown, &platform::ShutdownRequests::requested, &app, [&] {
        if (quitAsked)
            return;
        quitAsked = true;
        if (onQuit)
            onQuit();
    });
    auto done = [&](int rc) {
        sim.stop();
        shutdown.finished();
        return rc;
    };
    // Publishing runs beside the reading path, on the line too; its state goes to stderr.
    MqttPublisher publisher(st);
    QObject::connect(&publisher, &MqttPublisher::stateChanged, &app, [&notifier](const QString& t) {
        if (!t.isEmpty())
            notifier.message(t);
    });
    publisher.apply(MqttSettings::read());
    // At the end the readings still queued reach a connected broker.
    auto flushed = [&publisher](int rc) {
        publisher.flush();
        return rc;
    };
    // A device server that is down at start is waited for; a name that
    // can't be used, or a local port that can't be opened, ends the run.
    if (!PortWatch::reachAtStart(st, [&quitAsked] { return quitAsked; })) {
        if (quitAsked)
            return done(0);
        notifier.message(st.myComm.lastError());
        return done(1);
    }
    if (options.rs485)
        return done(flushed(runHeadlessLine(app, st, options, onQuit)));

    st.synchroFromTimer = !options.fromDevice;
    st.sinks[Station::MainGraphSink] = [](double value, const QByteArray&) { printReading(value); };
    QObject::connect(&st, &Station::lineEvent, &app, [](int event) {
        std::fprintf(stderr, "velmora: CommEvent = %d: %s\n", event,
                     qPrintable(CommPort::eventText(event)));
    });

    DataRecorder recorder(st);
    AlarmCheck alarms(st);
    alarms.acknowledgeWhenQuiet = true;
    QObject::connect(&alarms, &AlarmCheck::lineWritten, &app,
                     [&notifier](const QString& line) { notifier.message(line); });
    onQuit = [&] {
        st.exitFlag = true;
        recorder.end();
        st.HTmr.stop();
        st.Stop();
        PauseMs(100, 10);
        st.myComm.setPortOpen(false);
        app.exit(0);
    };

    Run(st);
    if (!st.myComm.PortOpen())
        return done(1); // the reason was printed when the port failed to open
    // A file that can't be opened yet is reported, and its records are kept
    // until it can be written: recording goes on either way.
    if (options.record) {
        recorder.start();
        std::fprintf(stderr, "velmora: recording to %s\n", qPrintable(recorder.dataFilePath()));
    }
    return done(flushed(app.exec()));
}
