// One streaming analyzer over a real pty, read through the station's port.
#pragma once

#include "SimLine.h"
#include "sim/SimReplies.h"

#include <QElapsedTimer>
#include <QTest>

Q_DECLARE_METATYPE(AnalyzerType)

namespace {
// Checks one 7-byte record: five digits, the other line-end byte, the marker.
bool isRecord(const QByteArray& r, AnalyzerType type)
{
    const char marker = type == AnalyzerType::ZepC ? '\n' : '\r';
    const char other = type == AnalyzerType::ZepC ? '\r' : '\n';
    if (r.size() != 7 || r[5] != other || r[6] != marker)
        return false;
    return std::all_of(r.begin(), r.begin() + 5, [](char c) { return c >= '0' && c <= '9'; });
}
} // namespace

class TestSimStream : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void types_data()
    {
        QTest::addColumn<AnalyzerType>("type");
        QTest::newRow("ZEP-C") << AnalyzerType::ZepC;
        QTest::newRow("ZEP-D") << AnalyzerType::ZepD;
    }

    void xdatStreamsUntilCdat_data() { types_data(); }
    void xdatStreamsUntilCdat()
    {
        QFETCH(AnalyzerType, type);
        SimLine l(streamConfig(type));
        QVERIFY(l.open());
        l.send("XDAT?");
        const QByteArray got = l.read(5 * 7);
        QVERIFY(got.size() >= 5 * 7);
        l.send("CDAT?");
        QVERIFY(l.heard(2));
        // The record on the line when CDAT? arrived may still finish; then silence
        // for several reading periods (20 a second).
        QByteArray all = got + l.read(1, 60);
        QVERIFY(l.quietFor(250));
        QCOMPARE(all.size() % 7, 0);

        // Every record is well formed and carries what the analyzer sent, in order.
        const auto sent = l.sim.records();
        QCOMPARE(sent.size(), all.size() / 7);
        for (int i = 0; i < sent.size(); ++i) {
            const QByteArray r = all.mid(i * 7, 7);
            QVERIFY2(isRecord(r, type), r.toHex().constData());
            QCOMPARE(r.left(5).toInt(), sent[i].value);
        }
    }

    void dataGivesOneRecord_data() { types_data(); }
    void dataGivesOneRecord()
    {
        QFETCH(AnalyzerType, type);
        SimLine l(streamConfig(type));
        QVERIFY(l.open());
        l.send("DATA?");
        const QByteArray r = l.read(7);
        QVERIFY2(isRecord(r, type), r.toHex().constData());
        QVERIFY(l.quietFor(300));
        QCOMPARE(l.sim.recordCount(), 1);
    }

    void commands_data()
    {
        QTest::addColumn<QList<QByteArray>>("commands");
        QTest::addColumn<QByteArray>("reply");
        const QByteArray serial = SimLine(streamConfig(AnalyzerType::ZepD)).sim.unit()->serial;
        QTest::newRow("serial number") << QList<QByteArray>{"SRAL?"} << serial + '\r';
        QTest::newRow("zero") << QList<QByteArray>{"ZERO"} << QByteArray("OK\r");
        QTest::newRow("init") << QList<QByteArray>{"INIT"} << QByteArray("OK\r");
        QTest::newRow("calibrate") << QList<QByteArray>{"CALB 2.5"} << QByteArray("OK\r");
        QTest::newRow("calibrate beyond 100")
            << QList<QByteArray>{"CALB 150"} << QByteArray("ER\r");
        QTest::newRow("user ID round trip")
            << QList<QByteArray>{"CUST AB12          ", "CUST?"} << QByteArray("AB12          \r");
        QTest::newRow("short user ID padded")
            << QList<QByteArray>{"CUST XY", "CUST?"} << QByteArray("XY            \r");
        QTest::newRow("unknown command ignored")
            << QList<QByteArray>{"HELLO", "ZERO"} << QByteArray("OK\r");
    }
    void commands()
    {
        QFETCH(QList<QByteArray>, commands);
        QFETCH(QByteArray, reply);
        SimLine l(streamConfig(AnalyzerType::ZepD));
        QVERIFY(l.open());
        for (const QByteArray& c : commands)
            l.send(c);
        QCOMPARE(l.read(reply.size()), reply);
        QVERIFY(l.quietFor(150));
        QCOMPARE(l.sim.commands(), commands);
    }

    void ambExchange_data()
    {
        QTest::addColumn<QByteArray>("command");
        QTest::addColumn<QByteArray>("zero");
        QTest::newRow("read") << QByteArray("AMB?") << QByteArray("0000");
        QTest::newRow("set") << QByteArray("AMB 0005") << QByteArray("0005");
        QTest::newRow("set 2 ppm") << QByteArray("AMB 0020") << QByteArray("0020");
    }
    void ambExchange()
    {
        QFETCH(QByteArray, command);
        QFETCH(QByteArray, zero);
        SimLine l(streamConfig(AnalyzerType::ZepC));
        QVERIFY(l.open());
        l.send("DATA?"); // takes a reading, which the second field reports
        const QByteArray rec = l.read(7);
        l.send(command);
        const QByteArray r = l.read(11);
        QCOMPARE(r.size(), 11);
        QCOMPARE(r[0], 'A');
        QCOMPARE(r.mid(1, 4), zero);
        QCOMPARE(r[5], ' ');
        QCOMPARE(r.mid(6, 4).toInt(), rec.left(5).toInt());
        QCOMPARE(r[10], '\r');
        l.send("AMB?"); // the value stays in force
        QCOMPARE(l.read(11).mid(1, 4), zero);
    }

    void pacing_data()
    {
        QTest::addColumn<int>("baud");
        QTest::addColumn<int>("minMs"); // 7 bytes of 10 bit times, less a little
        QTest::newRow("9600") << 9600 << 6;
        QTest::newRow("2400") << 2400 << 27;
        QTest::newRow("1200") << 1200 << 55;
    }
    void pacing()
    {
        QFETCH(int, baud);
        QFETCH(int, minMs);
        SimLine l(streamConfig(AnalyzerType::ZepD, 1.0, baud));
        QVERIFY(l.open());
        QElapsedTimer t;
        t.start();
        l.send("DATA?");
        QVERIFY(WaitUntil([&] { return l.port.InBufferCount() >= 7; }, 2000));
        const qint64 ms = t.elapsed();
        QVERIFY2(ms >= minMs, qPrintable(QString::number(ms)));
        QVERIFY2(ms < minMs * 3 + 300, qPrintable(QString::number(ms)));
    }

    void burstArrivesInOneDelivery()
    {
        // At 1200 baud paced records would trickle in for 58 ms each; a burst of
        // three is there as a whole as soon as any of it is.
        SimLine l(streamConfig(AnalyzerType::ZepD, 20.0, 1200));
        QVERIFY(l.open());
        l.sim.injectBurst(3);
        l.send("XDAT?");
        QVERIFY(WaitUntil([&] { return l.port.InBufferCount() > 0; }, 2000));
        const QByteArray got = l.port.Input();
        l.send("CDAT?");
        QCOMPARE(got.size(), 21);
        for (int i = 0; i < 3; ++i)
            QVERIFY(isRecord(got.mid(i * 7, 7), AnalyzerType::ZepD));
    }

    void recordFaults_data()
    {
        QTest::addColumn<QByteArray>("inject"); // a fault for the first record
        QTest::addColumn<int>("garbleEvery");
        QTest::addColumn<int>("shiftEvery");
        QTest::addColumn<QList<int>>("faulty"); // numbers among the first six
        QTest::newRow("garble once") << QByteArray("garble") << 0 << 0 << QList<int>{1};
        QTest::newRow("out of step once") << QByteArray("shift") << 0 << 0 << QList<int>{1};
        QTest::newRow("garble every 2nd") << QByteArray() << 2 << 0 << QList<int>{2, 4, 6};
        QTest::newRow("shift every 3rd") << QByteArray() << 0 << 3 << QList<int>{3, 6};
    }
    void recordFaults()
    {
        QFETCH(QByteArray, inject);
        QFETCH(int, garbleEvery);
        QFETCH(int, shiftEvery);
        QFETCH(QList<int>, faulty);
        SimConfig c = streamConfig(AnalyzerType::ZepD, 40.0);
        c.garbleEvery = garbleEvery;
        c.shiftEvery = shiftEvery;
        SimLine l(c);
        QVERIFY(l.open());
        if (inject == "garble")
            l.sim.injectGarble();
        else if (inject == "shift")
            l.sim.injectOutOfStep(3);
        l.send("XDAT?");
        QVERIFY(WaitUntil([&] { return l.sim.recordCount() >= 6; }, 3000));
        l.send("CDAT?");
        QVERIFY(l.heard(2));
        QByteArray got;
        while (!l.quietFor(100))
            got += l.port.Input();

        // Faulty records break the 7-byte framing the station checks; the
        // others are intact, and nothing else reaches the line.
        const auto sent = l.sim.records();
        QByteArray expected;
        for (int i = 0; i < sent.size(); ++i) {
            const bool bad = sent[i].fault != AnalyzerSim::Fault::None;
            if (i < 6)
                QCOMPARE(bad, faulty.contains(i + 1));
            QCOMPARE(isRecord(sent[i].bytes.first(7), AnalyzerType::ZepD), !bad);
            expected += sent[i].bytes;
        }
        QCOMPARE(got, expected);
    }

    void timedFaults_data()
    {
        QTest::addColumn<bool>("pull");
        QTest::newRow("silence") << false;
        QTest::newRow("pull") << true;
    }
    void timedFaults()
    {
        QFETCH(bool, pull);
        SimConfig c = streamConfig(AnalyzerType::ZepC);
        (pull ? c.pullAfterMs : c.silenceAfterMs) = 200;
        SimLine l(c);
        QVERIFY(l.open());
        l.send("ZERO");
        QCOMPARE(l.read(3), QByteArray("OK\r"));
        QVERIFY(WaitUntil([&] { return l.sim.isSilent() || l.sim.isPulled(); }, 2000));
        QCOMPARE(l.sim.isPulled(), pull);
        if (pull) {
            QVERIFY(WaitUntil([&] { return !l.port.PortOpen(); }, 3000));
        } else {
            l.send("ZERO");
            QVERIFY(l.quietFor(500));
        }
    }

    void reopenedPortStillAnswers()
    {
        // The station closes and reopens its port around commands; the line
        // must survive that without a hang-up.
        SimLine l(streamConfig(AnalyzerType::ZepD));
        QVERIFY(l.open());
        for (int i = 0; i < 3; ++i) {
            QVERIFY(l.port.setPortOpen(false));
            QVERIFY(l.port.setPortOpen(true));
            l.send("SRAL?");
            QCOMPARE(l.read(9).size(), 9);
        }
    }

    void pulledDeviceClosesThePort()
    {
        SimLine l(streamConfig(AnalyzerType::ZepD));
        QVERIFY(l.open());
        QList<int> events;
        connect(&l.port, &CommPort::OnComm, this, [&] { events << l.port.CommEvent(); });
        l.port.setRThreshold(7);
        l.send("XDAT?");
        QVERIFY(WaitUntil([&] { return !events.isEmpty(); }, 2000));
        QCOMPARE(events.first(), int(CommPort::comEvReceive));
        const QString path = l.sim.ttyPath();
        l.sim.pullDevice();
        // The station's port notices the vanished device and closes itself.
        QVERIFY(WaitUntil([&] { return !l.port.PortOpen(); }, 3000));
        QCOMPARE(events.last(), int(CommPort::comEventDeviceGone));
        QVERIFY(!QFile::exists(path));
        QVERIFY(!l.port.setPortOpen(true));
    }
};
