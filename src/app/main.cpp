// Start-up of the station: the windowed station by default, or the core
// alone with --headless.
#include "app/GuiNotifier.h"
#include "app/Headless.h"
#include "app/MDIFrm.h"
#include "display/frmVal.h"
#include "fleet/frmControlRoom.h"
#include "mqtt/MqttSettings.h"
#include "net/PortAddress.h"
#include "recording/CsvExport.h"
#include "sim/SimConfig.h"
#include "sim/SimHost.h"
#include "station/Settings.h"
#include "station/Station.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QPointer>
#include <QTimer>
#include <cstring>
#include <memory>

namespace {

struct Options
{
    bool headless = false;
    bool simLine = false; // the simulator is an RS-485 line
    bool controlRoom = false;
    QStringList csvFiles; // --to-csv
    HeadlessOptions run;
};

Options parse(const QCoreApplication& app)
{
    QCommandLineParser cli;
    cli.setApplicationDescription(
        QStringLiteral("Velmora: monitoring station for CH4/CO2 gas analyzers on a serial line."));
    cli.addHelpOption();
    cli.addVersionOption();
    const QCommandLineOption headless(
        QStringLiteral("headless"),
        QStringLiteral("Run without windows: print one line per reading (time, raw, ppm)."));
    const QCommandLineOption simulate(
        QStringLiteral("simulate"),
        QStringLiteral("Use the built-in simulated analyzer on a pseudo-terminal."));
    const QCommandLineOption simRate(
        QStringLiteral("sim-rate"),
        QStringLiteral("Simulated readings per second, %1 to %2 (default 1).")
            .arg(kMinSimRate)
            .arg(kMaxSimRate),
        QStringLiteral("n"), QStringLiteral("1"));
    const QCommandLineOption simProfile(
        QStringLiteral("sim-profile"),
        QStringLiteral("What the simulated methane does: site (about 2 ppm, a leak plume of a few "
                       "hundred ppm every minute or two), flat or steps (short plumes just over "
                       "the alarm thresholds); default site."),
        QStringLiteral("profile"), QStringLiteral("site"));
    const QCommandLineOption fromDevice(
        QStringLiteral("from-device"),
        QStringLiteral("Start in \"From Device\" mode: take every record the analyzer "
                       "streams instead of polling once per timer period."));
    const QCommandLineOption verbose(QStringLiteral("verbose"),
                                     QStringLiteral("Headless: also print status texts."));
    const QCommandLineOption record(
        QStringLiteral("record"),
        QStringLiteral("Headless: record to the data files in the data folder, as Run Saving "
                       "does; SIGINT/SIGTERM end the record with its Stop- line."));
    const QCommandLineOption rs485(
        QStringLiteral("rs485"),
        QStringLiteral("Headless: run on the RS-485 line: scan, then poll the analyzers found."));
    const QCommandLineOption addresses(
        QStringLiteral("addresses"),
        QStringLiteral("Headless --rs485: the addresses to scan, e.g. 1-20,255 (default 0-255)."),
        QStringLiteral("list"));
    const QCommandLineOption simLine(
        QStringLiteral("sim-line"),
        QStringLiteral("With --simulate: simulate an RS-485 line of analyzers at these addresses "
                       "instead of one streaming analyzer (default with --rs485: 1-8)."),
        QStringLiteral("list"), QStringLiteral("1-8"));
    const QCommandLineOption toCsv(
        QStringLiteral("to-csv"),
        QStringLiteral("Write the records of the data files given as arguments to standard "
                       "output as CSV, in time order, and exit."));
    const QCommandLineOption collect(
        QStringLiteral("collect"),
        QStringLiteral("Headless: be the site's central recorder: write every station's readings "
                       "from the [MQTT] broker into their data files, a folder per station."));
    const QCommandLineOption recordDir(
        QStringLiteral("record-dir"),
        QStringLiteral("With --collect: the folder for the stations' folders (default: the data "
                       "folder)."),
        QStringLiteral("dir"));
    const QCommandLineOption controlRoom(
        QStringLiteral("control-room"),
        QStringLiteral("Open only the control room: every station publishing to the [MQTT] "
                       "broker, in one window."));
    cli.addOptions({headless, simulate, simRate, simProfile, fromDevice, verbose, record, rs485,
                    addresses, simLine, toCsv, collect, recordDir, controlRoom});
    cli.addPositionalArgument(QStringLiteral("files"),
                              QStringLiteral("With --to-csv: the data files (.dat)."),
                              QStringLiteral("[FILE...]"));
    cli.process(app);

    Options o;
    if (cli.isSet(toCsv)) {
        o.csvFiles = cli.positionalArguments();
        if (o.csvFiles.isEmpty()) {
            std::fprintf(stderr, "velmora: --to-csv needs one or more data files\n");
            std::exit(2);
        }
    }
    o.headless = cli.isSet(headless);
    o.run.simulate = cli.isSet(simulate);
    o.run.fromDevice = cli.isSet(fromDevice);
    o.run.verbose = cli.isSet(verbose);
    o.run.record = cli.isSet(record);
    o.run.rs485 = cli.isSet(rs485);
    o.run.collect = cli.isSet(collect);
    o.run.recordDir = cli.value(recordDir);
    o.controlRoom = cli.isSet(controlRoom);
    if (o.controlRoom && (o.headless || o.run.simulate)) {
        std::fprintf(stderr, "velmora: --control-room runs alone, with its window\n");
        std::exit(2);
    }
    if (o.run.collect && !o.headless) {
        std::fprintf(stderr, "velmora: --collect runs with --headless\n");
        std::exit(2);
    }
    auto list = [&](const QCommandLineOption& option, QList<int>& into) {
        QString why;
        const auto parsed = parseAddressList(cli.value(option), &why);
        if (!parsed) {
            std::fprintf(stderr, "velmora: --%s: %s\n", qPrintable(option.names().first()),
                         qPrintable(why));
            std::exit(2);
        }
        into = *parsed;
    };
    if (cli.isSet(addresses))
        list(addresses, o.run.addresses);
    list(simLine, o.run.simAddresses);
    o.simLine = cli.isSet(simLine);
    QString why;
    const auto rate = parseSimRate(cli.value(simRate), &why);
    if (!rate) {
        std::fprintf(stderr, "velmora: --sim-rate: %s\n", qPrintable(why));
        std::exit(2);
    }
    o.run.simRate = *rate;
    const auto profile = simProfileFromName(cli.value(simProfile));
    if (!profile) {
        std::fprintf(stderr, "velmora: --sim-profile must be site, flat or steps\n");
        std::exit(2);
    }
    o.run.simProfile = *profile;
    return o;
}

int runWindowed(QApplication& app, const Options& o)
{
    // The order matters: defaults, device defaults, the frame with its device
    // types and catalogue, priority (said in the status bar when refused), then the settings file,
    // then show.
    GuiNotifier notifier;
    Station st(notifier);
    st.ncom = 2;
    iniDef(st);
    MDIFrm frm(st);
    notifier.setParentWindow(&frm);
    notifier.setPanels(frm.statusPanels());
    raisePriority(notifier);
    ReadSettings(st);
    // A port name that can't be used is said at once; the station runs on,
    // and the operator picks another in Set > Com Port.
    QString badName;
    if (PortAddress address; !PortAddress::parse(st.portName, &address, &badName))
        notifier.status(0, badName);

    SimHost sim;
    if (o.run.simulate) {
        SimConfig config;
        config.readingsPerSecond = o.run.simRate;
        config.profile = o.run.simProfile;
        if (o.simLine)
            config.addresses = o.run.simAddresses;
        QString why;
        const QString tty = sim.start(config, &why);
        if (tty.isEmpty()) {
            notifier.message(QStringLiteral("Can't start the simulator: %1").arg(why));
        } else {
            st.simulatorTty = tty;
            st.portName = tty;
            st.applyPortSettings();
            notifier.status(1, o.simLine ? QStringLiteral("Simulated RS-485 line on %1").arg(tty)
                                         : QStringLiteral("Simulated analyzer on %1").arg(tty));
        }
    }
    if (o.run.fromDevice)
        st.synchroFromTimer = false;
    frm.applyLayout();
    frm.valueWindow()->show();
    frm.show();
    // On a simulated analyzer there is nothing to set up: start reading at
    // once. A simulated line waits for the operator's Find.
    if (sim.isRunning() && !o.simLine)
        QTimer::singleShot(0, &frm, [&frm] { frm.mnuRun_Click(); });
    const int rc = app.exec();
    sim.stop();
    return rc;
}

// The control room alone: no port, no station of its own, the one window.
int runControlRoom(QApplication& app)
{
    GuiNotifier notifier;
    QPointer<frmControlRoom> room = new frmControlRoom(notifier);
    notifier.setParentWindow(room);
    room->connectBroker(MqttSettings::read());
    room->show();
    const int rc = app.exec();
    delete room.data(); // closed by its own box it is gone already
    return rc;
}

// The records of data files as CSV on standard output; what was skipped and
// what could not be read on stderr. Fails only when nothing could be read.
int runCsv(const QStringList& files)
{
    QFile out;
    if (!out.open(stdout, QIODevice::WriteOnly)) {
        std::fprintf(stderr, "velmora: can't write to standard output\n");
        return 1;
    }
    const CsvResult r = exportCsv(files, out);
    out.close();
    for (const QString& e : r.errors)
        std::fprintf(stderr, "velmora: %s\n", qPrintable(e));
    std::fprintf(stderr, "velmora: %lld records written, %d damaged lines skipped\n", r.rows,
                 r.skipped);
    return r.rows == 0 && !r.errors.isEmpty() ? 1 : 0;
}

// Headless runs, CSV export, and the help and version texts need no display.
bool needsNoScreen(int argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        for (const char* option :
             {"--headless", "--to-csv", "--help", "-h", "--help-all", "--version", "-v"}) {
            if (std::strcmp(argv[i], option) == 0)
                return true;
        }
    }
    return false;
}

void describe(QCoreApplication& app)
{
    app.setApplicationName(QStringLiteral("velmora"));
    app.setApplicationVersion(QStringLiteral(VELMORA_VERSION));
}

} // namespace

int main(int argc, char** argv)
{
    // Without windows no display is needed, so the plain core application runs.
    if (needsNoScreen(argc, argv)) {
        QCoreApplication app(argc, argv);
        describe(app);
        const Options o = parse(app); // prints help or version and exits
        if (!o.csvFiles.isEmpty())
            return runCsv(o.csvFiles);
        if (o.run.collect)
            return runCollector(app, o.run);
        return runHeadless(app, o.run);
    }
    QApplication app(argc, argv);
    describe(app);
    QApplication::setApplicationDisplayName(QStringLiteral("Velmora"));
    const Options o = parse(app);
    if (o.controlRoom)
        return runControlRoom(app);
    return runWindowed(app, o);
}
