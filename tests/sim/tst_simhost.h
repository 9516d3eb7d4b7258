// The simulator on its own thread (the station's --simulate) and alone
// (velmora-sim).
#pragma once

#include "SimLine.h"
#include "sim/SimHost.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <QThread>
#include <csignal>

class TestSimHost : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void keepsStreamingWhileCallerIsBlocked()
    {
        SimHost host;
        QString why;
        const QString path = host.start(streamConfig(AnalyzerType::ZepC, 50.0), &why);
        QVERIFY2(!path.isEmpty(), qPrintable(why));
        QVERIFY(QFile::exists(path));

        CommPort port;
        port.setPortName(path);
        QVERIFY(port.setPortOpen(true));
        port.Output("XDAT?\r");
        QVERIFY(WaitUntil([&] { return host.sim()->recordCount() > 0; }, 2000));
        // Block this thread without serving any events, as a station wait
        // without keep-alive does: the simulator's own thread goes on pacing.
        const int before = host.sim()->recordCount();
        QThread::msleep(300);
        QVERIFY(host.sim()->recordCount() >= before + 5);

        host.invoke([](AnalyzerSim& s) { s.setSilent(true); });
        bool silent = false;
        host.invoke([&](AnalyzerSim& s) { silent = s.isSilent(); });
        QVERIFY(silent);

        host.stop();
        QVERIFY(!host.isRunning());
        QVERIFY(!QFile::exists(path));
    }

    void standaloneProgram_data()
    {
        QTest::addColumn<QStringList>("args");
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<int>("replyLen");
        QTest::newRow("streaming")
            << QStringList{"--type", "ZEP-C", "--seed", "3"} << QByteArray("DATA?\r") << 7;
        QTest::newRow("rs485") << QStringList{"--rs485", "3,7-9", "--baud", "19200"}
                               << QByteArray("#08DATA?\r") << 73;
    }
    void standaloneProgram()
    {
        QFETCH(QStringList, args);
        QFETCH(QByteArray, command);
        QFETCH(int, replyLen);
        QProcess p;
        p.start(QStringLiteral(VELMORA_SIM_EXE), args);
        QVERIFY(p.waitForStarted());
        QVERIFY(p.waitForReadyRead(5000));
        const QString path = QString::fromLocal8Bit(p.readLine()).trimmed();
        QVERIFY2(path.startsWith("/dev/"), qPrintable(path));

        CommPort port;
        port.setPortName(path);
        QVERIFY(port.setPortOpen(true));
        port.Output(command);
        QVERIFY(WaitUntil([&] { return port.InBufferCount() >= replyLen; }, 2000));
        QCOMPARE(port.Input().size(), replyLen);

        ::kill(pid_t(p.processId()), SIGINT);
        QVERIFY(p.waitForFinished(5000));
        QCOMPARE(p.exitStatus(), QProcess::NormalExit);
        QCOMPARE(p.exitCode(), 0);
    }
};
