// velmora --headless on the built-in simulator, as an operator runs it.
#include "Files.h"
#include "tst_app.h"

#include <QDir>
#include <QElapsedTimer>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {
// The station program with a settings file in a fresh configuration folder,
// recording into its data folder.
struct Program
{
    Program() { QDir().mkpath(data.path()); }

    void start(const QByteArray& ini, const QStringList& args)
    {
        QVERIFY(!put(cfg.filePath(QStringLiteral("Tervala.ini")), ini).isEmpty());
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
        p.setProcessEnvironment(env);
        p.start(QStringLiteral(VELMORA_BIN), args);
        QVERIFY(p.waitForStarted(5000));
    }
    QByteArray dataSetting() const
    {
        return "[Path]\nIniPathDat=" + data.path().toLocal8Bit() + '\n';
    }
    // The lines printed so far.
    qsizetype lines()
    {
        out += p.readAllStandardOutput();
        return out.count('\n');
    }
    bool waitForLines(qsizetype n, int ms)
    {
        return QTest::qWaitFor([&] { return lines() >= n; }, ms);
    }
    // SIGTERM; true when the program ended by itself.
    bool stop()
    {
        p.terminate();
        const bool ended = p.waitForFinished(5000) && p.exitStatus() == QProcess::NormalExit;
        lines();
        err += p.readAllStandardError();
        return ended;
    }
    // The records of the data files (one an hour); empty unless each file's
    // are numbered from 1 without a gap and the last one ends its line too.
    QList<QByteArray> records() const
    {
        QList<QByteArray> all;
        for (const QString& name : data.entryList({QStringLiteral("*.dat")})) {
            QList<QByteArray> recs = contents(data.filePath(name)).split('\n');
            if (!recs.takeLast().isEmpty())
                return {};
            for (qsizetype i = 0; i < recs.size(); ++i) {
                if (!recs[i].startsWith(QByteArray::number(i + 1).rightJustified(5, '0') + '\t'))
                    return {};
            }
            all += recs;
        }
        return all;
    }
    // The day's file with its marks.
    QByteArray dayFile() const { return contents(onlyFile(data.path(), QStringLiteral("*.txt"))); }

    QTemporaryDir cfg;
    QDir data{cfg.filePath(QStringLiteral("data"))};
    QProcess p;
    QByteArray out;
    QByteArray err;
};
} // namespace

void HeadlessTest::printsReadingsAndStopsOnSigterm()
{
    Program s;
    // Every reading is above the first threshold and below the second.
    s.start(s.dataSetting() + "[LIMIT]\nLimit1=1\nLimit2=99999\n",
            {"--headless", "--simulate", "--from-device", "--sim-rate", "20", "--record"});
    QVERIFY(s.waitForLines(5, 10000));
    QVERIFY(s.stop());
    QCOMPARE(s.p.exitCode(), 0);
    const QRegularExpression line(
        QStringLiteral(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d (-?\d+) (-?\d+\.\d)$)"));
    const QList<QByteArray> lines = s.out.trimmed().split('\n');
    for (const QByteArray& l : lines) {
        const auto m = line.match(QString::fromLatin1(l));
        QVERIFY2(m.hasMatch(), l.constData());
        QCOMPARE(m.captured(1).toDouble() / 10.0, m.captured(2).toDouble());
    }
    const QString err = QString::fromUtf8(s.err);
    QVERIFY(err.contains(QStringLiteral("simulated analyzer on /dev/pts/")));
    QCOMPARE(err.count(QStringLiteral("-1-й порог превышен\n")), 1); // once, until quiet
    QVERIFY(!err.contains(QStringLiteral("2-й порог")));
    // Every printed reading was recorded with alarm digit 1, and the day's
    // file ends with its stop mark.
    const QList<QByteArray> recs = s.records();
    QCOMPARE(recs.size(), lines.size());
    for (const QByteArray& r : recs)
        QVERIFY2(r.endsWith("\t1\r"), r.constData());
    const QByteArray marks = s.dayFile();
    QVERIFY2(marks.startsWith("Start=") && marks.contains("\r\nStop-"), marks.constData());

    // Exported again: every reading once, in order, with its time, value, zero
    // position and alarm digit.
    QProcess csv;
    QStringList files{QStringLiteral("--to-csv")};
    for (const QString& name : s.data.entryList({QStringLiteral("*.dat")}))
        files << s.data.filePath(name);
    csv.start(QStringLiteral(VELMORA_BIN), files);
    QVERIFY(csv.waitForFinished(10000));
    QCOMPARE(csv.exitCode(), 0);
    QList<QByteArray> rows = csv.readAllStandardOutput().split('\n');
    QCOMPARE(rows.takeFirst(),
             "time,time_utc,record,address,raw,ppm,second_value,zero_position,alarm_level\r");
    QCOMPARE(rows.takeLast(), QByteArray());
    QCOMPARE(rows.size(), lines.size());
    for (qsizetype i = 0; i < rows.size(); ++i) {
        const QList<QByteArray> printed = lines[i].split(' ');
        const QList<QByteArray> c = rows[i].chopped(1).split(',');
        QCOMPARE(c.size(), 9);
        QCOMPARE(c[0], QByteArray(printed[0]).replace('T', ' '));
        QCOMPARE(QDateTime::fromString(QString::fromLatin1(c[1]), Qt::ISODate),
                 QDateTime::fromString(QString::fromLatin1(printed[0]), Qt::ISODate));
        QCOMPARE(c[2].toInt(), recs[i].left(5).toInt());
        QCOMPARE(c[4], printed[1]);
        QCOMPARE(c.mid(5), (QList<QByteArray>{printed[2], "", "0", "1"}));
    }
}

void HeadlessTest::unusablePortIsAnErrorExit()
{
    Program s;
    s.start("[COMPORTS]\nPortName=/nonexistent/ttyX\n", {"--headless"});
    QVERIFY(s.p.waitForFinished(10000));
    QCOMPARE(s.p.exitCode(), 1);
    QVERIFY(s.p.readAllStandardError().contains("Can't open port /nonexistent/ttyX"));
}

// A USB adapter pulled and plugged in again, played by socat: a device path
// that vanishes and comes back, joined to the simulator's line. The station
// finds it again by itself, the day's file shows the gap, and every reading
// printed is in the data files, numbered without a gap.
void HeadlessTest::unplugAndReplug()
{
    Program s;
    const QString device = s.cfg.filePath(QStringLiteral("ttyUSB0"));
    QProcess sim;
    sim.start(QStringLiteral(VELMORA_SIM_BIN), {"--rate", "10", "--baud", "115200"});
    QVERIFY(sim.waitForReadyRead(5000));
    const QString simTty = QString::fromLocal8Bit(sim.readLine().trimmed());
    QVERIFY(simTty.startsWith(QStringLiteral("/dev/")));
    const auto plugIn = [&](QProcess& socat) {
        socat.start(QStringLiteral("socat"),
                    {"pty,link=" + device + ",rawer", "FILE:" + simTty + ",rawer,nonblock"});
        QVERIFY(socat.waitForStarted(5000));
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(device); }, 5000));
    };
    QProcess first;
    plugIn(first);
    s.start("[COMPORTS]\nPortName=" + device.toLocal8Bit() + "\nCommSettings=115200,n,8,1\n" +
                s.dataSetting(),
            {"--headless", "--from-device", "--record"});
    QVERIFY(s.waitForLines(5, 10000));

    first.terminate(); // pulled: the link goes, the line closes
    QVERIFY(first.waitForFinished(5000));
    QVERIFY(QTest::qWaitFor(
        [&] { return (s.err += s.p.readAllStandardError()).contains("lost; trying it again"); },
        5000));
    QTest::qWait(1500);
    QProcess second;
    plugIn(second);
    const qsizetype before = s.lines();
    QElapsedTimer back;
    back.start();
    QVERIFY(s.waitForLines(before + 1, 3000));
    QVERIFY(back.elapsed() < 3000);
    QVERIFY(s.waitForLines(before + 5, 5000));

    QVERIFY(s.stop());
    second.terminate();
    sim.terminate();
    second.waitForFinished(5000);
    sim.waitForFinished(5000);
    QVERIFY2(s.err.contains(" back\n"), s.err.constData());
    const QByteArray marks = s.dayFile();
    const qsizetype lost = marks.indexOf("\r\nLost-");
    QVERIFY2(lost > 0 && marks.indexOf("\r\nBack-") > lost && marks.contains("\r\nStop-"),
             marks.constData());
    QCOMPARE(s.records().size(), s.out.count('\n'));
}

void HeadlessTest::lineRecordsAndSummarises_data()
{
    QTest::addColumn<QString>("simLine");
    QTest::addColumn<QStringList>("found");
    QTest::newRow("two analyzers") << "3,5" << QStringList{"003", "005"};
    QTest::newRow("nobody there") << "9" << QStringList{};
}

// --headless --rs485 over the simulator's line: the analyzers found, one line
// per reading, a file per analyzer, and on SIGTERM the counts per address.
void HeadlessTest::lineRecordsAndSummarises()
{
    QFETCH(QString, simLine);
    QFETCH(QStringList, found);
    Program s;
    s.start(s.dataSetting() + "[INTERVAL]\nTIMER=3\n",
            {"--headless", "--simulate", "--rs485", "--addresses", "3-5", "--sim-line", simLine,
             "--record"});
    if (found.isEmpty()) {
        QVERIFY(s.p.waitForFinished(10000));
        QCOMPARE(s.p.exitCode(), 1);
        QVERIFY(s.p.readAllStandardError().contains("No Devices Found"));
        return;
    }
    // Two cycles: the scan takes about 2.6 s, a cycle well under the 3 s period.
    QVERIFY(s.waitForLines(2 + 2 * found.size(), 15000));
    QVERIFY(s.stop());
    QCOMPARE(s.p.exitCode(), 0);
    const QList<QByteArray> lines = s.out.trimmed().split('\n');
    const QRegularExpression item(QStringLiteral(R"(^ZD\d{6} at Addr=(\d{3})$)"));
    const QRegularExpression reading(
        QStringLiteral(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d (\d{3}) (-?\d+) (-?\d+\.\d)$)"));
    QMap<QString, int> perAddress;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString l = QString::fromLatin1(lines[i]);
        if (i < found.size()) {
            QCOMPARE(item.match(l).captured(1), found[i]);
            continue;
        }
        const auto m = reading.match(l);
        QVERIFY2(m.hasMatch(), qPrintable(l));
        QCOMPARE(m.captured(1), found[(i - found.size()) % found.size()]); // address order
        QCOMPARE(m.captured(2).toDouble() / 10.0, m.captured(3).toDouble());
        ++perAddress[m.captured(1)];
    }
    const QByteArray marks = s.dayFile(); // when the line was recorded
    QVERIFY2(marks.startsWith("Start=") && marks.endsWith("\r\n\r\n") &&
                 marks.contains("\r\nStop-"),
             marks.constData());
    for (const QString& a : found) {
        // Every reading printed is in the analyzer's file, and counted as a reply.
        const QString file = onlyFile(s.data.path(), QStringLiteral("*_A%1.dat").arg(a));
        QCOMPARE(contents(file).count('\n'), perAddress.value(a));
        QVERIFY2(s.err.contains(QStringLiteral("%1: %2 sent, %2 replies, 0 time-outs, 0 refused")
                                    .arg(a)
                                    .arg(perAddress.value(a))
                                    .toUtf8()),
                 s.err.constData());
    }
}
