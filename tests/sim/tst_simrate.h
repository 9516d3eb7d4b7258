// The simulator's streaming rate over a real pty, from one reading a tick to
// several, and on a line too slow for the rate.
#pragma once

#include "tst_simline.h"

class TestSimRate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void streamRate_data()
    {
        QTest::addColumn<double>("rate");
        QTest::addColumn<int>("baud");
        QTest::addColumn<double>("expected"); // records a second on the line
        QTest::newRow("200/s, one a tick") << 200.0 << 115200 << 200.0;
        QTest::newRow("1000/s, clocked") << 1000.0 << 921600 << 1000.0;
        QTest::newRow("5000/s, several a tick") << 5000.0 << 921600 << 5000.0;
        QTest::newRow("5000/s on 9600 baud: the line's 137/s") << 5000.0 << 9600 << 9600 / 70.0;
    }
    void streamRate()
    {
        QFETCH(double, rate);
        QFETCH(int, baud);
        QFETCH(double, expected);
        SimHost host;
        const QString path = host.start(simConfig(AnalyzerType::ZepD, rate, baud));
        CommPort port;
        port.setPortName(path);
        QVERIFY(port.setSettings(QStringLiteral("%1,n,8,1").arg(baud)));
        QVERIFY(port.setPortOpen(true) && port.Output("XDAT?\r"));
        QVERIFY(QTest::qWaitFor([&] { return host.sim()->recordCount() > 0; }));
        QElapsedTimer t;
        t.start();
        QByteArray got;
        while (t.elapsed() < 1000) {
            QTest::qWait(5);
            got += port.Input();
        }
        const double seconds = double(t.elapsed()) / 1000.0;
        const int sent = host.sim()->recordCount();
        host.invoke([](AnalyzerSim& sim) { sim.setSilent(true); });
        QTest::qWait(100);
        got += port.Input();
        // Within 15 % of the rate, or of what the line carries; every record
        // arrives whole and in order (a record cut off by the silence is not one sent).
        const double perSecond = sent / seconds;
        QVERIFY2(perSecond > expected * 0.85 && perSecond < expected * 1.15,
                 qPrintable(QString::number(perSecond)));
        QByteArray expectedBytes;
        for (const AnalyzerSim::SentRecord& r : host.sim()->records())
            expectedBytes += r.bytes;
        QVERIFY(got.size() - expectedBytes.size() < 7);
        QCOMPARE(got.left(expectedBytes.size()), expectedBytes);
    }
};
