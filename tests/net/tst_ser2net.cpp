#include "Files.h"
#include "RecordingNotifier.h"
#include "Ser2net.h"
#include "sim/AnalyzerSim.h"
#include "sim/SimHost.h"
#include "station/CommPort.h"
#include "tst_net.h"

#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace {
SimConfig simOn(double rate, int baud, const QList<int>& addresses = {})
{
    SimConfig c;
    c.readingsPerSecond = rate;
    c.baud = baud;
    c.seed = 11;
    c.addresses = addresses;
    return c;
}

// The station program with a settings file and a data folder of its own.
struct Program
{
    QTemporaryDir cfg;
    QProcess p;
    QByteArray out, err;

    void start(const QByteArray& ini, const QStringList& args)
    {
        QDir().mkpath(cfg.filePath(QStringLiteral("data")));
        QFile f(cfg.filePath(QStringLiteral("Tervala.ini")));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(ini + "[Path]\nIniPathDat=" + cfg.filePath(QStringLiteral("data")).toLocal8Bit() +
                "\n");
        f.close();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
        p.setProcessEnvironment(env);
        p.start(QStringLiteral(VELMORA_BIN), args);
        QVERIFY(p.waitForStarted(5000));
    }
    qsizetype lines()
    {
        out += p.readAllStandardOutput();
        err += p.readAllStandardError();
        return out.count('\n');
    }
    bool waitForLines(qsizetype n, int ms)
    {
        return QTest::qWaitFor([&] { return lines() >= n; }, ms);
    }
    bool stop()
    {
        p.terminate();
        const bool ended = p.waitForFinished(10000) && p.exitCode() == 0;
        lines();
        return ended;
    }
    QString dataFile(const QString& pattern) const
    {
        return onlyFile(cfg.filePath(QStringLiteral("data")), pattern);
    }
};

// Whether `part` stands in `whole` as one unbroken run.
bool unbrokenIn(const QList<int>& part, const QList<int>& whole)
{
    for (qsizetype start = 0; start + part.size() <= whole.size(); ++start) {
        if (whole.mid(start, part.size()) == part)
            return true;
    }
    return part.isEmpty();
}
} // namespace

void Ser2netTest::initTestCase()
{
    if (Ser2net::program().isEmpty())
        QFAIL("ser2net is missing: scripts/install-deps installs it");
}

void Ser2netTest::settingsReachTheTty_data()
{
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QString>("inForce");
    QTest::addColumn<int>("speed");
    QTest::addColumn<bool>("twoStops");
    QTest::newRow("19200,e,8,1") << "19200,e,8,1"
                                 << "19200,e,8,1" << int(B19200) << false;
    QTest::newRow("4800,n,7,2") << "4800,n,7,2"
                                << "4800,n,7,2" << int(B4800) << true;
}

// The station asks a ser2net port set up for 2400,o,7,2 for other settings:
// the tty it opened runs them (speed and stop bits read back from the tty;
// data bits and parity from ser2net's answers, as a pty keeps neither).
void Ser2netTest::settingsReachTheTty()
{
    QFETCH(QString, asked);
    QFETCH(QString, inForce);
    QFETCH(int, speed);
    QFETCH(bool, twoStops);

    SimHost sim;
    const QString tty = sim.start(simOn(1, 9600));
    QVERIFY(!tty.isEmpty());
    Ser2net server;
    QVERIFY(server.start(tty, QStringLiteral("2400o72")));
    CommPort port;
    QSignalSpy notes(&port, &CommPort::lineNote);
    port.setPortName(server.telnetUrl());
    QVERIFY(port.setSettings(asked));
    QVERIFY2(port.setPortOpen(true), qPrintable(port.lastError()));
    QVERIFY2(QTest::qWaitFor([&] { return !port.serverSettings().isEmpty(); }, 3000),
             qPrintable(port.lastError() + ' ' + QString::fromLocal8Bit(server.output())));
    QCOMPARE(port.serverSettings(), inForce);
    QVERIFY(notes.isEmpty());
    const int fd = ::open(tty.toLocal8Bit().constData(), O_RDONLY | O_NOCTTY | O_NONBLOCK);
    QVERIFY(fd >= 0);
    termios t{};
    const bool read = ::tcgetattr(fd, &t) == 0;
    ::close(fd);
    QVERIFY(read);
    QCOMPARE(int(cfgetospeed(&t)), speed);
    QCOMPARE((t.c_cflag & CSTOPB) != 0, twoStops);
}

// A recording through ser2net's raw port while ser2net is killed and started
// again: the station says so, comes back by itself within 5 s, marks the gap
// in the day's file, and keeps every record it read, in unbroken runs of
// what the analyzer sent.
void Ser2netTest::recordingSurvivesARestart()
{
    SimHost sim;
    const QString tty = sim.start(simOn(10, 115200));
    QVERIFY(!tty.isEmpty());
    Ser2net server;
    QVERIFY(server.start(tty, QStringLiteral("115200n81")));
    Program s;
    s.start("[COMPORTS]\nPortName=" + server.rawUrl().toLatin1() + "\n",
            {"--headless", "--from-device", "--record"});
    QVERIFY2(s.waitForLines(10, 10000), s.err.constData());
    server.kill();
    QVERIFY(QTest::qWaitFor([&] { return s.lines() >= 0 && s.err.contains(" lost ("); }, 5000));
    const qsizetype before = s.lines();
    QTest::qWait(1500); // a few tries find nobody
    QVERIFY(server.start(tty, QStringLiteral("115200n81")));
    QElapsedTimer back;
    back.start();
    QVERIFY2(s.waitForLines(before + 1, 5000), s.err.constData());
    QVERIFY(back.elapsed() < 5000);
    QVERIFY(s.waitForLines(before + 10, 5000));
    QVERIFY(s.stop());
    QVERIFY2(s.err.contains(" back\n"), s.err.constData());

    const QByteArray marks = contents(s.dataFile(QStringLiteral("*.txt")));
    QVERIFY2(marks.indexOf("\r\nBack-") > marks.indexOf("\r\nLost-") &&
                 marks.indexOf("\r\nLost-") > 0,
             marks.constData());
    QList<int> printed;
    for (const QByteArray& l : s.out.trimmed().split('\n'))
        printed << l.split(' ').value(1).toInt();
    QList<int> recorded;
    const QList<QByteArray> recs =
        contents(s.dataFile(QStringLiteral("*.dat"))).trimmed().split('\n');
    for (qsizetype i = 0; i < recs.size(); ++i) {
        QVERIFY(recs[i].startsWith(QByteArray::number(i + 1).rightJustified(5, '0') + '\t'));
        recorded << recs[i].split('\t').value(2).toInt();
    }
    QCOMPARE(recorded.size(), printed.size());
    QList<int> sent;
    for (const AnalyzerSim::SentRecord& r : sim.sim()->records())
        sent << r.value;
    QVERIFY(unbrokenIn(printed.mid(0, before), sent));
    QVERIFY(unbrokenIn(printed.mid(before + 1), sent));
}

// The RS-485 line behind ser2net's RFC 2217 port: scan, polling, and the
// counts per address at the end, none of them a time-out.
void Ser2netTest::lineScanAndPoll()
{
    SimHost sim;
    const QString tty = sim.start(simOn(1, 9600, {3, 5}));
    QVERIFY(!tty.isEmpty());
    Ser2net server;
    QVERIFY(server.start(tty, QStringLiteral("9600n81")));
    Program s;
    s.start("[COMPORTS]\nPortName=" + server.telnetUrl().toLatin1() +
                "\nCommSettings=9600,n,8,1\n" + "[INTERVAL]\nTIMER=2\n",
            {"--headless", "--rs485", "--addresses", "2-6"});
    QVERIFY2(s.waitForLines(2 + 4, 20000), s.err.constData());
    QVERIFY(s.stop());
    const QList<QByteArray> lines = s.out.trimmed().split('\n');
    QVERIFY(lines[0].endsWith("at Addr=003") && lines[1].endsWith("at Addr=005"));
    QVERIFY(lines[2].contains(" 003 ") && lines[3].contains(" 005 "));
    for (const char* address : {"003", "005"}) {
        const QByteArray counts =
            s.err.mid(s.err.indexOf(QByteArray("velmora: ") + address + ": "));
        QVERIFY2(counts.contains(" 0 time-outs, 0 refused\n"), s.err.constData());
    }
}

void Ser2netTest::headlessStart_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("said");
    QTest::addColumn<bool>("waits"); // tried again, rather than ended with 1
    QTest::newRow("no port") << "tcp://cabinet-7"
                             << "Bad port name \"tcp://cabinet-7\": no :PORT" << false;
    QTest::newRow("port out of range")
        << "rfc2217://[::1]:70000"
        << "Bad port name \"rfc2217://[::1]:70000\": port 70000" << false;
    const QString refused = QStringLiteral("tcp://127.0.0.1:%1").arg(Ser2net::freePort());
    QTest::newRow("nobody there") << refused
                                  << QStringLiteral("Can't open port %1: Connection refused; "
                                                    "trying it again every second")
                                         .arg(refused)
                                  << true;
}

// --headless and a device server's name: a malformed one ends the run with 1
// and the value named; a server not there yet is waited for, and SIGTERM
// still ends the wait cleanly.
void Ser2netTest::headlessStart()
{
    QFETCH(QString, name);
    QFETCH(QString, said);
    QFETCH(bool, waits);
    Program s;
    s.start("[COMPORTS]\nPortName=" + name.toLatin1() + "\n", {"--headless", "--from-device"});
    if (!waits) {
        QVERIFY(s.p.waitForFinished(5000));
        QCOMPARE(s.p.exitCode(), 1);
        s.lines();
        QVERIFY2(s.err.contains(said.toLatin1()), s.err.constData());
        return;
    }
    QVERIFY(
        QTest::qWaitFor([&] { return s.lines() >= 0 && s.err.contains(said.toLatin1()); }, 5000));
    QTest::qWait(1500);
    QCOMPARE(s.p.state(), QProcess::Running);
    QCOMPARE(s.err.count("trying it again"), 1); // said once, not at every try
    QVERIFY(s.stop());
}
