// Frames and replies of the RS-485 line, and the two waits of an exchange
// over a real tty.
#pragma once

#include "Pty.h"
#include "RecordingNotifier.h"
#include "rs485/mdRS485.h"
#include "station/Station.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

namespace {
// A data reply with CH4 `first` and the second value `second`, check value right.
QByteArray dataReply(const QByteArray& first, const QByteArray& second)
{
    QByteArray body(69, ' ');
    body.replace(48, 5, second); // bytes 49..53 of the reply
    body.replace(54, 5, first);  // bytes 55..59
    quint8 x = 0;
    for (char c : body)
        x ^= quint8(c);
    return char(0x0E) + body + QByteArray::number(x, 16).toUpper().rightJustified(2, '0') + '\r';
}
} // namespace

class BytesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void byteToFF_data()
    {
        QTest::addColumn<int>("address");
        QTest::addColumn<QByteArray>("hex");
        QTest::newRow("0") << 0 << QByteArray("00");
        QTest::newRow("10") << 10 << QByteArray("0A");
        QTest::newRow("255") << 255 << QByteArray("FF");
    }
    void byteToFF()
    {
        QFETCH(int, address);
        QTEST(ByteToFF(quint8(address)), "hex");
    }

    void cutData_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        const QByteArray good = dataReply("00019", "04123");
        QByteArray badCheck = good;
        badCheck[70] = badCheck[70] == 'F' ? '0' : 'F';
        QByteArray hash = good;
        hash[0] = '#';
        QByteArray noCR = good;
        noCR[72] = '\n';
        QTest::newRow("good") << good << true << "00019"
                              << "04123";
        QTest::newRow("wrong check value accepted") << badCheck << true << "00019"
                                                    << "04123";
        QTest::newRow("# start byte") << hash << false << "old"
                                      << "old";
        QTest::newRow("no CR at the end") << noCR << false << "old"
                                          << "old";
        QTest::newRow("72 bytes") << good.left(71) + '\r' << false << "old"
                                  << "old";
        QTest::newRow("74 bytes") << good.left(72) + " \r" << false << "old"
                                  << "old";
        QTest::newRow("nothing") << QByteArray() << false << "old"
                                 << "old";
    }
    void cutData()
    {
        QFETCH(QByteArray, reply);
        QString first = QStringLiteral("old");
        QString second = QStringLiteral("old");
        QTEST(CutData(reply, first, second), "accepted");
        QTEST(first, "first");
        QTEST(second, "second");
    }

    void xorSum()
    {
        QCOMPARE(int(XorSum({})), 0);
        QCOMPARE(int(XorSum("\x0F\xF0\x01")), 0xFE);
    }

    void sendVal()
    {
        Pty line;
        RecordingNotifier n;
        Station st(n);
        st.portName = line.slavePath();
        st.applyPortSettings();
        QVERIFY(!SendVal(st, QStringLiteral("#05SRAL?\r"), st.myComm));
        QVERIFY(!st.myComm.PortOpen());
        QVERIFY(st.ensurePortOpen());
        QCOMPARE(line.readAll(100), QByteArray());
        line.write("stale");
        QVERIFY(QTest::qWaitFor([&] { return st.myComm.InBufferCount() == 5; }, 1000));
        QVERIFY(SendVal(st, QStringLiteral("#05SRAL?\r"), st.myComm));
        QCOMPARE(st.myComm.InBufferCount(), 0);
        QCOMPARE(line.readAll(100), QByteArray("#05SRAL?\r"));
    }

    void replyIsOK_data()
    {
        QTest::addColumn<QByteArray>("waiting");
        QTest::addColumn<int>("stopAfterMs"); // -1: no stop
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("minMs");
        QTest::addColumn<int>("maxMs");
        QTest::addColumn<QString>("status");
        QTest::newRow("reply waiting: the settle is still spent")
            << QByteArray("ZD005123\r") << -1 << true << 166 << 400 << "Reply OK";
        QTest::newRow("too short")
            << QByteArray("ZD00\r") << -1 << false << 666 << 1000 << "No Reply";
        QTest::newRow("stop scan ends it at once")
            << QByteArray() << 100 << false << 100 << 160 << "untouched";
    }
    void replyIsOK()
    {
        QFETCH(QByteArray, waiting);
        QFETCH(int, stopAfterMs);
        QFETCH(int, minMs);
        QFETCH(int, maxMs);
        Pty line;
        RecordingNotifier n;
        n.lastStatus[0] = QStringLiteral("untouched");
        Station st(n);
        st.portName = line.slavePath();
        st.applyPortSettings();
        QVERIFY(st.ensurePortOpen());
        line.write(waiting);
        QVERIFY(QTest::qWaitFor([&] { return st.myComm.InBufferCount() == waiting.size(); }, 1000));
        if (stopAfterMs >= 0)
            QTimer::singleShot(stopAfterMs, [&] { st.stopScan = true; });
        QElapsedTimer t;
        t.start();
        QTEST(ReplyIsOK(st, 8, st.myComm), "ok");
        QVERIFY2(t.elapsed() >= minMs && t.elapsed() <= maxMs,
                 qPrintable(QString::number(t.elapsed())));
        QTEST(n.lastStatus.value(0), "status");
        QCOMPARE(st.myComm.InBufferCount(), int(waiting.size())); // left for the caller
    }
};
