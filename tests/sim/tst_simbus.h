// An RS-485 line of addressed analyzers over a real pty.
#pragma once

#include "SimLine.h"
#include "sim/SimReplies.h"

#include <QTest>

namespace {
SimConfig busConfig()
{
    SimConfig c;
    c.addresses = {1, 10, 255};
    c.seed = 5;
    return c;
}
} // namespace

class TestSimBus : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void serialNumber_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<int>("address"); // -1: nobody may answer
        QTest::newRow("address 1") << QByteArray("#01SRAL?") << 1;
        QTest::newRow("address 10") << QByteArray("#0ASRAL?") << 10;
        QTest::newRow("address 255") << QByteArray("#FFSRAL?") << 255;
        QTest::newRow("nobody at 2") << QByteArray("#02SRAL?") << -1;
        QTest::newRow("lower-case hex") << QByteArray("#0aSRAL?") << -1;
        QTest::newRow("no address") << QByteArray("SRAL?") << -1;
    }
    void serialNumber()
    {
        QFETCH(QByteArray, frame);
        QFETCH(int, address);
        SimLine l(busConfig());
        QVERIFY(l.open());
        l.send(frame);
        if (address < 0) {
            QVERIFY(l.quietFor(500));
            return;
        }
        const QByteArray r = l.read(9);
        QCOMPARE(r, l.sim.unit(address)->serial + '\r');
        QCOMPARE(r.size(), 9);
        QVERIFY(l.quietFor(100));
    }

    void dataReply_data()
    {
        QTest::addColumn<int>("address");
        for (int a : {1, 10, 255})
            QTest::addRow("address %d", a) << a;
    }
    void dataReply()
    {
        QFETCH(int, address);
        SimLine l(busConfig());
        QVERIFY(l.open());
        l.send("#02DATA?"); // nobody there: silence, then the right one answers
        QVERIFY(l.quietFor(300));
        l.send("#" + SimReplies::hexByte(quint8(address)) + "DATA?");
        const QByteArray r = l.read(73);
        QCOMPARE(r.size(), 73);
        QCOMPARE(r[0], '\x0E');
        QCOMPARE(r[72], '\r');
        quint8 x = 0;
        for (int i = 1; i <= 69; ++i) {
            QVERIFY2(r[i] >= 32 && r[i] <= 126, qPrintable(QString::number(i)));
            x ^= quint8(r[i]);
        }
        QCOMPARE(r.mid(70, 2), QByteArray::number(x, 16).toUpper().rightJustified(2, '0'));

        const auto sent = l.sim.records();
        QCOMPARE(sent.size(), 1);
        QCOMPARE(sent[0].address, address);
        QCOMPARE(r.mid(55, 5), QByteArray::number(sent[0].value).rightJustified(5, '0'));
        QCOMPARE(r.mid(49, 5), QByteArray::number(sent[0].second).rightJustified(5, '0'));
        QVERIFY(sent[0].second > 3000 && sent[0].second < 6000); // CO2 near 420 ppm
        QVERIFY(r.mid(1, 8) == l.sim.unit(address)->serial);
        QVERIFY(l.quietFor(100));
    }

    void addressedMaintenance_data()
    {
        QTest::addColumn<QList<QByteArray>>("frames");
        QTest::addColumn<QByteArray>("lastReply"); // its start, up to what varies
        QTest::addColumn<int>("lastLen");
        QTest::newRow("zero value set")
            << QList<QByteArray>{"#0AAMB 0042"} << QByteArray("A0042 ") << 11;
        QTest::newRow("zero value is per analyzer")
            << QList<QByteArray>{"#0AAMB 0042", "#01AMB?"} << QByteArray("A0000 ") << 11;
        QTest::newRow("user ID per analyzer")
            << QList<QByteArray>{"#FFCUST LINE-NORTH-07", "#FFCUST?", "#01CUST?"}
            << QByteArray("SIMULATOR     \r") << 15;
        QTest::newRow("user ID stored") << QList<QByteArray>{"#FFCUST LINE-NORTH-07", "#FFCUST?"}
                                        << QByteArray("LINE-NORTH-07 \r") << 15;
        QTest::newRow("zero") << QList<QByteArray>{"#01ZERO"} << QByteArray("OK\r") << 3;
    }
    void addressedMaintenance()
    {
        QFETCH(QList<QByteArray>, frames);
        QFETCH(QByteArray, lastReply);
        QFETCH(int, lastLen);
        SimLine l(busConfig());
        QVERIFY(l.open());
        for (const QByteArray& f : frames)
            l.send(f);
        QVERIFY(l.heard(int(frames.size())));
        QByteArray all = l.read(lastLen);
        while (!l.quietFor(100))
            all += l.port.Input();
        QVERIFY2(all.right(lastLen).startsWith(lastReply), all.constData());
    }
};
