// velmora --headless on the built-in simulator, as an operator runs it.
#include "tst_app.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

void HeadlessTest::printsReadingsAndStopsOnSigterm()
{
    QTemporaryDir cfg;
    QProcess p;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
    p.setProcessEnvironment(env);
    p.start(QStringLiteral(VELMORA_BIN),
            {"--headless", "--simulate", "--from-device", "--sim-rate", "20"});
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
    QVERIFY(p.readAllStandardError().contains("simulated analyzer on /dev/pts/"));
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
