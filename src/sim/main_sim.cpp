// velmora-sim: a simulated gas analyzer (or an RS-485 line of them) behind a
// pseudo-terminal, or on TCP where the system has none. Prints the tty (or the
// address) to open and runs until SIGINT or SIGTERM (Ctrl+C on Windows).
#include "platform/Platform.h"
#include "sim/AnalyzerSim.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <cstdio>

namespace {

[[noreturn]] void fail(const QString& text)
{
    std::fprintf(stderr, "velmora-sim: %s\n", qPrintable(text));
    std::exit(2);
}

int intOption(const QCommandLineParser& cli, const QString& name, int min, int max)
{
    bool ok = false;
    const int v = cli.value(name).toInt(&ok);
    if (!ok || v < min || v > max)
        fail(QStringLiteral("--%1 must be a whole number from %2 to %3")
                 .arg(name)
                 .arg(min)
                 .arg(max));
    return v;
}

int msOption(const QCommandLineParser& cli, const QString& name)
{
    bool ok = false;
    const double s = cli.value(name).toDouble(&ok);
    if (!ok || s < 0 || s > 86400 * 7)
        fail(QStringLiteral("--%1 must be a number of seconds").arg(name));
    return int(s * 1000);
}

SimConfig configFrom(const QCommandLineParser& cli)
{
    SimConfig c;
    if (cli.isSet("type")) {
        const auto t = analyzerTypeFromName(cli.value("type"));
        if (!t)
            fail(QStringLiteral("--type must be ZEP-C or ZEP-D"));
        c.type = *t;
    }
    if (cli.isSet("baud"))
        c.baud = intOption(cli, "baud", 50, 4000000);
    if (cli.isSet("rate")) {
        QString why;
        const auto rate = parseSimRate(cli.value("rate"), &why);
        if (!rate)
            fail(QStringLiteral("--rate: ") + why);
        c.readingsPerSecond = *rate;
    }
    const auto profile = simProfileFromName(cli.value("profile"));
    if (!profile)
        fail(QStringLiteral("--profile must be site, flat or steps"));
    c.profile = *profile;
    if (cli.isSet("rs485")) {
        QString why;
        const auto list = parseAddressList(cli.value("rs485"), &why);
        if (!list)
            fail(why);
        c.addresses = *list;
    }
    if (cli.isSet("seed")) {
        bool ok = false;
        c.seed = cli.value("seed").toUInt(&ok);
        if (!ok)
            fail(QStringLiteral("--seed must be a whole number"));
    }
    if (cli.isSet("garble-every"))
        c.garbleEvery = intOption(cli, "garble-every", 1, 1000000);
    if (cli.isSet("shift-every"))
        c.shiftEvery = intOption(cli, "shift-every", 1, 1000000);
    if (cli.isSet("burst"))
        c.burstSize = intOption(cli, "burst", 1, 1000);
    if (cli.isSet("silence-after"))
        c.silenceAfterMs = msOption(cli, "silence-after");
    if (cli.isSet("pull-after"))
        c.pullAfterMs = msOption(cli, "pull-after");
    if (cli.isSet("answers")) {
        const auto a = answerFaultFromName(cli.value("answers"));
        if (!a)
            fail(QStringLiteral("--answers must be none, silent, malformed or refuse"));
        c.answers = *a;
    }
    if (cli.isSet("line-fault")) {
        if (!c.isRs485())
            fail(QStringLiteral("--line-fault needs an RS-485 line (--rs485)"));
        QString why;
        const auto faults = parseLineFaults(cli.value("line-fault"), &why);
        if (!faults)
            fail(why);
        for (int a : faults->keys()) {
            if (!c.addresses.contains(a))
                fail(QStringLiteral("--line-fault: no analyzer at address %1 on the line").arg(a));
        }
        c.lineFaults = *faults;
    }
    if (cli.isSet("listen")) {
        QString why;
        if (!PortAddress::parse(cli.value("listen"), &c.listen, &why, true) ||
            !c.listen.isNetwork())
            fail(why.isEmpty() ? QStringLiteral("--listen takes tcp://HOST:PORT or "
                                                "rfc2217://HOST:PORT")
                               : why);
    }
    return c;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmora-sim"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORA_VERSION));

    QCommandLineParser cli;
    cli.setApplicationDescription(QStringLiteral(
        "Simulated CH4/CO2 gas analyzer on a pseudo-terminal. Prints the tty to open\n"
        "and runs until interrupted. One streaming analyzer unless --rs485 is given.\n"
        "With --listen it is served over the network instead, as a serial device\n"
        "server would serve it, and prints the address to connect to. Where the\n"
        "system has no pseudo-terminals (Windows), it listens on a free loopback\n"
        "port, as with --listen tcp://127.0.0.1:0."));
    cli.addHelpOption();
    cli.addVersionOption();
    cli.addOptions({
        {"type", "Analyzer model: ZEP-C (records end CR LF) or ZEP-D (LF CR); default ZEP-D.",
         "model", "ZEP-D"},
        {"baud", "Line speed that paces the bytes (10 bits a byte); default 9600.", "baud", "9600"},
        {"rate",
         QStringLiteral("Readings per second while streaming, %1 to %2; default 1.")
             .arg(kMinSimRate)
             .arg(kMaxSimRate),
         "per-second", "1.0"},
        {"profile",
         "What the methane does: site (about 2 ppm, a leak plume of a few hundred ppm every "
         "minute or two), flat (the background alone) or steps (short plumes just over the "
         "two alarm thresholds); default site.",
         "profile", "site"},
        {"rs485", "RS-485 line of analyzers at these addresses, e.g. 1,2,10-12.", "addresses"},
        {"seed", "Seed of the concentration traces (same seed, same readings).", "n"},
        {"garble-every", "Put a non-digit into every Nth record.", "n"},
        {"shift-every", "Send every Nth record out of step.", "n"},
        {"burst", "Hold records back and deliver N at a time.", "n"},
        {"silence-after", "Stop answering after this many seconds.", "seconds"},
        {"pull-after", "Close the line (unplugged device) after this many seconds.", "seconds"},
        {"answers",
         "How maintenance commands are answered: none (as they should be), silent, "
         "malformed (first byte '?') or refuse (zero and calibration not taken).",
         "fault", "none"},
        {"line-fault",
         QStringLiteral(
             "Misbehaving analyzers on the RS-485 line, as address=kind pairs, e.g. "
             "7=short-serial,9=silent. Kinds: silent (answers nothing), short-serial "
             "(5-character serial number), wrong-check (data reply with a wrong check value), "
             "wrong-start (data reply starting with '#' instead of 0x0E), short-reply (72-byte "
             "data reply), late (answers every command %1 ms late).")
             .arg(AnalyzerSim::kLateMs),
         "list"},
        {"listen",
         "Serve the line over TCP to one client at a time instead of a pseudo-terminal: "
         "tcp://HOST:PORT (the bytes as they are) or rfc2217://HOST:PORT (telnet with the "
         "COM port option; the line settings the client asks for are printed). HOST is the "
         "address to bind, 127.0.0.1 for this machine only; PORT 0 takes a free port.",
         "url"},
    });
    cli.process(app);
    if (!cli.positionalArguments().isEmpty())
        fail(QStringLiteral("unexpected argument \"%1\"").arg(cli.positionalArguments().first()));

    AnalyzerSim sim(configFrom(cli));
    QString why;
    if (!sim.start(&why))
        fail(why);
    // SIGINT and SIGTERM (Ctrl+C on Windows) end the event loop.
    platform::ShutdownRequests shutdown;
    if (!shutdown.isWatching())
        fail(QStringLiteral("can't catch SIGINT and SIGTERM: ") + shutdown.error());
    QObject::connect(&shutdown, &platform::ShutdownRequests::requested, &app,
                     [] { QCoreApplication::quit(); });
    QObject::connect(&sim, &AnalyzerSim::devicePulled,
                     [] { std::fprintf(stderr, "velmora-sim: line closed (device pulled)\n"); });
    QObject::connect(&sim, &AnalyzerSim::lineAsked, [](const QString& settings) {
        std::fprintf(stderr, "velmora-sim: client set the line to %s\n", qPrintable(settings));
    });

    std::printf("%s\n", qPrintable(sim.ttyPath()));
    std::fflush(stdout);
    app.exec();
    return 0;
}
