// velmora --headless on the built-in simulator, as an operator runs it.
#include "tst_app.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QMap>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {
// Starts the station with a settings file of `ini` in a fresh configuration folder.
void startStation(QProcess& p, const QTemporaryDir& cfg, const QByteArray& ini,
                  const QStringList& args)
{
    QFile file(cfg.filePath(QStringLiteral("Tervala.ini")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(ini);
    file.close();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(VELMORA_BIN), args);
    QVERIFY(p.waitForStarted(5000));
}
} // namespace

void HeadlessTest::printsReadingsAndStopsOnSigterm()
{
    QTemporaryDir cfg;
    const QString data = cfg.filePath(QStringLiteral("data"));
    QVERIFY(QDir().mkpath(data));
    QProcess p;
    // Every reading is above the first threshold and below the second.
    startStation(p, cfg,
                 "[Path]\nIniPathDat=" + data.toLocal8Bit() + "\n[LIMIT]\nLimit1=1\nLimit2=99999\n",
                 {"--headless", "--simulate", "--from-device", "--sim-rate", "20", "--record"});
    QByteArray out;
    QVERIFY(QTest::qWaitFor(
        [&] {
            out += p.readAllStandardOutput();
            return out.count('\n') >= 5;
        },
        10000));
    p.terminate(); // SIGTERM
    QVERIFY(p.waitForFinished(5000));
    QCOMPARE(p.exitStatus(), QProcess::NormalExit);
    QCOMPARE(p.exitCode(), 0);
    out += p.readAllStandardOutput();
    const QRegularExpression line(
        QStringLiteral(R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d (-?\d+) (-?\d+\.\d)$)"));
    const QList<QByteArray> lines = out.trimmed().split('\n');
    for (const QByteArray& l : lines) {
        const auto m = line.match(QString::fromLatin1(l));
        QVERIFY2(m.hasMatch(), l.constData());
        QCOMPARE(m.captured(1).toDouble() / 10.0, m.captured(2).toDouble());
    }
    const QString err = QString::fromUtf8(p.readAllStandardError());
    QVERIFY(err.contains(QStringLiteral("simulated analyzer on /dev/pts/")));
    QCOMPARE(err.count(QStringLiteral("-1-й порог превышен\n")), 1); // once, until quiet
    QVERIFY(!err.contains(QStringLiteral("2-й порог")));
    // Every printed reading was recorded, numbered without a gap, and the day's
    // file ends with its stop mark.
    const QStringList dats = QDir(data).entryList({QStringLiteral("*.dat")});
    QVERIFY(!dats.isEmpty());
    QByteArray records;
    for (const QString& name : dats) {
        QFile f(QDir(data).filePath(name));
        QVERIFY(f.open(QIODevice::ReadOnly));
        records += f.readAll();
    }
    QList<QByteArray> recs = records.split('\n');
    QCOMPARE(recs.takeLast(), QByteArray()); // the last record ends its line too
    QCOMPARE(recs.size(), lines.size());
    for (qsizetype i = 0; i < recs.size(); ++i)
        QVERIFY2(recs[i].startsWith(QByteArray::number(i + 1).rightJustified(5, '0') + '\t') &&
                     recs[i].endsWith("\t1\r"),
                 recs[i].constData());
    const QStringList txts = QDir(data).entryList({QStringLiteral("*.txt")});
    QCOMPARE(txts.size(), 1);
    QFile txt(QDir(data).filePath(txts.first()));
    QVERIFY(txt.open(QIODevice::ReadOnly));
    const QByteArray marks = txt.readAll();
    QVERIFY2(marks.startsWith("Start=") && marks.contains("\r\nStop-"), marks.constData());

    // Exported again: every reading once, in order, with its time, value, zero
    // position and alarm digit.
    QProcess csv;
    QStringList files{QStringLiteral("--to-csv")};
    for (const QString& name : dats)
        files << QDir(data).filePath(name);
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
        QCOMPARE(c[2].toInt(), i + 1);
        QCOMPARE(c[4], printed[1]);
        QCOMPARE(c.mid(5), (QList<QByteArray>{printed[2], "", "0", "1"}));
    }
}

void HeadlessTest::unusablePortIsAnErrorExit()
{
    QTemporaryDir cfg;
    QProcess p;
    startStation(p, cfg, "[COMPORTS]\nPortName=/nonexistent/ttyX\n", {"--headless"});
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitCode(), 1);
    QVERIFY(p.readAllStandardError().contains("Can't open port /nonexistent/ttyX"));
}

// A USB adapter pulled and plugged in again, played by socat: a device path
// that vanishes and comes back, joined to the simulator's line. The station
// finds it again by itself, the day's file shows the gap, and every reading
// printed is in the data file, numbered without a gap.
void HeadlessTest::unplugAndReplug()
{
    QTemporaryDir cfg;
    const QString data = cfg.filePath(QStringLiteral("data"));
    const QString device = cfg.filePath(QStringLiteral("ttyUSB0"));
    QVERIFY(QDir().mkpath(data));
    QProcess sim;
    sim.start(QStringLiteral(VELMORA_SIM_BIN), {"--rate", "10", "--baud", "115200"});
    QVERIFY(sim.waitForReadyRead(5000));
    const QString simTty = QString::fromLocal8Bit(sim.readLine().trimmed());
    QVERIFY(simTty.startsWith(QStringLiteral("/dev/")));
    const auto plugIn = [&](QProcess& socat) {
        socat.start(QStringLiteral("socat"), {"pty,link=" + device + ",rawer",
                                               "FILE:" + simTty + ",rawer,nonblock"});
        QVERIFY(socat.waitForStarted(5000));
        QVERIFY(QTest::qWaitFor([&] { return QFile::exists(device); }, 5000));
    };
    QProcess first;
    plugIn(first);
    QProcess p;
    startStation(p, cfg,
                 "[COMPORTS]\nPortName=" + device.toLocal8Bit() +
                     "\nCommSettings=115200,n,8,1\n[Path]\nIniPathDat=" + data.toLocal8Bit() +
                     "\n",
                 {"--headless", "--from-device", "--record"});
    QByteArray out;
    const auto readings = [&] {
        out += p.readAllStandardOutput();
        return out.count('\n');
    };
    QVERIFY(QTest::qWaitFor([&] { return readings() >= 5; }, 10000));

    first.terminate(); // pulled: the link goes, the line closes
    QVERIFY(first.waitForFinished(5000));
    QByteArray err;
    QVERIFY(QTest::qWaitFor(
        [&] { return (err += p.readAllStandardError()).contains("lost; trying it again"); }, 5000));
    QTest::qWait(1500);
    QProcess second;
    plugIn(second);
    const qsizetype before = readings();
    QElapsedTimer back;
    back.start();
    QVERIFY(QTest::qWaitFor([&] { return readings() > before; }, 3000));
    QVERIFY(back.elapsed() < 3000);
    QVERIFY(QTest::qWaitFor([&] { return readings() >= before + 5; }, 5000));

    p.terminate();
    QVERIFY(p.waitForFinished(5000));
    readings();
    second.terminate();
    sim.terminate();
    second.waitForFinished(5000);
    sim.waitForFinished(5000);
    err += p.readAllStandardError();
    QVERIFY2(err.contains(" back\n"), err.constData());

    const QDir folder(data);
    const QStringList txts = folder.entryList({QStringLiteral("*.txt")});
    QCOMPARE(txts.size(), 1);
    QFile txt(folder.filePath(txts.first()));
    QVERIFY(txt.open(QIODevice::ReadOnly));
    const QByteArray marks = txt.readAll();
    const qsizetype lost = marks.indexOf("\r\nLost-");
    QVERIFY2(lost > 0 && marks.indexOf("\r\nBack-") > lost && marks.contains("\r\nStop-"),
             marks.constData());
    qsizetype recorded = 0;
    for (const QString& name : folder.entryList({QStringLiteral("*.dat")})) { // one an hour
        QFile f(folder.filePath(name));
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QList<QByteArray> recs = f.readAll().trimmed().split('\n');
        for (qsizetype i = 0; i < recs.size(); ++i)
            QVERIFY(recs[i].startsWith(QByteArray::number(i + 1).rightJustified(5, '0') + '\t'));
        recorded += recs.size();
    }
    QCOMPARE(recorded, out.count('\n'));
}

void HeadlessTest::lineRecordsAndSummarises_data()
{
    QTest::addColumn<QString>("simLine");
    QTest::addColumn<QStringList>("found");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("two analyzers") << "3,5" << QStringList{"003", "005"} << 0;
    QTest::newRow("nobody there") << "9" << QStringList{} << 1;
}

// --headless --rs485 over the simulator's line: the analyzers found, one line
// per reading, a file per analyzer, and on SIGTERM the counts per address.
void HeadlessTest::lineRecordsAndSummarises()
{
    QFETCH(QString, simLine);
    QFETCH(QStringList, found);
    QTemporaryDir cfg;
    const QString data = cfg.filePath(QStringLiteral("data"));
    QVERIFY(QDir().mkpath(data));
    QProcess p;
    startStation(p, cfg, "[Path]\nIniPathDat=" + data.toLocal8Bit() + "\n[INTERVAL]\nTIMER=3\n",
                 {"--headless", "--simulate", "--rs485", "--addresses", "3-5", "--sim-line",
                  simLine, "--record"});
    QByteArray out;
    if (found.isEmpty()) {
        QVERIFY(p.waitForFinished(10000));
        QTEST(p.exitCode(), "exitCode");
        QVERIFY(p.readAllStandardError().contains("No Devices Found"));
        return;
    }
    // Two cycles: the scan takes about 2.6 s, a cycle well under the 3 s period.
    QVERIFY(QTest::qWaitFor(
        [&] {
            out += p.readAllStandardOutput();
            return out.count('\n') >= 2 + 2 * found.size();
        },
        15000));
    p.terminate();
    QVERIFY(p.waitForFinished(5000));
    QTEST(p.exitCode(), "exitCode");
    out += p.readAllStandardOutput();
    const QList<QByteArray> lines = out.trimmed().split('\n');
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
    const QString err = QString::fromUtf8(p.readAllStandardError());
    for (const QString& a : found) {
        // Every reading printed is in the analyzer's file, and counted as a reply.
        const QStringList files = QDir(data).entryList({QStringLiteral("*_A%1.dat").arg(a)});
        QCOMPARE(files.size(), 1);
        QFile f(QDir(data).filePath(files.first()));
        QVERIFY(f.open(QIODevice::ReadOnly));
        QCOMPARE(f.readAll().count('\n'), perAddress.value(a));
        QVERIFY2(err.contains(QStringLiteral("%1: %2 sent, %2 replies, 0 time-outs, 0 refused")
                                  .arg(a)
                                  .arg(perAddress.value(a))),
                 qPrintable(err));
    }
}
