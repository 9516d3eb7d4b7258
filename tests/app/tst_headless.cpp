// velmora --headless on the built-in simulator, as an operator runs it.
#include "tst_app.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

void HeadlessTest::printsReadingsAndStopsOnSigterm()
{
    QTemporaryDir cfg;
    const QString data = cfg.filePath(QStringLiteral("data"));
    QVERIFY(QDir().mkpath(data));
    QFile ini(cfg.filePath(QStringLiteral("Tervala.ini")));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    // Every reading is above the first threshold and below the second.
    ini.write("[Path]\nIniPathDat=" + data.toLocal8Bit() + "\n[LIMIT]\nLimit1=1\nLimit2=99999\n");
    ini.close();
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(VELMORA_BIN),
            {"--headless", "--simulate", "--from-device", "--sim-rate", "20", "--record"});
    QVERIFY(p.waitForStarted(5000));
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
}

void HeadlessTest::unusablePortIsAnErrorExit()
{
    QTemporaryDir cfg;
    QFile ini(cfg.filePath(QStringLiteral("Tervala.ini")));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[COMPORTS]\nPortName=/nonexistent/ttyX\n");
    ini.close();
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(VELMORA_BIN), {"--headless"});
    QVERIFY(p.waitForFinished(10000));
    QCOMPARE(p.exitCode(), 1);
    QVERIFY(p.readAllStandardError().contains("Can't open port /nonexistent/ttyX"));
}
