// Frames and replies of the RS-485 line, and the two waits of an exchange
// over a real tty.
#pragma once

#include "StationRig.h"
#include "rs485/mdRS485.h"

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

Q_DECLARE_METATYPE(ReplyWait)

class BytesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
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
        const auto row = [](const char* name, const QByteArray& reply, bool accepted) {
            QTest::newRow(name) << reply << accepted << QString(accepted ? "00019" : "old")
                                << QString(accepted ? "04123" : "old");
        };
        row("good", good, true);
        row("wrong check value accepted", badCheck, true);
        row("# start byte", hash, false);
        row("no CR at the end", noCR, false);
        row("72 bytes", good.left(71) + '\r', false);
        row("74 bytes", good.left(72) + " \r", false);
        row("nothing", QByteArray(), false);
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

    void sendVal()
    {
        PtyRig r;
        QVERIFY(!SendVal(r.st, QStringLiteral("#05SRAL?\r"), r.st.myComm));
        QVERIFY(!r.st.myComm.PortOpen());
        QVERIFY(r.st.ensurePortOpen());
        QCOMPARE(r.line.readAll(100), QByteArray());
        r.line.write("stale");
        QVERIFY(QTest::qWaitFor([&] { return r.st.myComm.InBufferCount() == 5; }, 1000));
        QVERIFY(SendVal(r.st, QStringLiteral("#05SRAL?\r"), r.st.myComm));
        QCOMPARE(r.st.myComm.InBufferCount(), 0);
        QCOMPARE(r.line.readAll(100), QByteArray("#05SRAL?\r"));
    }

    void replyIsOK_data()
    {
        QTest::addColumn<QByteArray>("waiting");
        QTest::addColumn<int>("stopAfterMs"); // -1: no stop
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("minMs");
        QTest::addColumn<int>("maxMs");
        QTest::addColumn<QString>("status");
        QTest::addColumn<ReplyWait>("wait");
        QTest::newRow("reply waiting: the settle is still spent")
            << QByteArray("ZD005123\r") << -1 << true << 166 << 400 << "Reply OK"
            << ReplyWait::Exchange;
        QTest::newRow("too short")
            << QByteArray("ZD00\r") << -1 << false << 666 << 1000 << "No Reply" << ReplyWait::Scan;
        QTest::newRow("stop scan ends a scan's wait at once")
            << QByteArray() << 100 << false << 100 << 160 << "untouched" << ReplyWait::Scan;
        // A closed finder raises the flag for good; the line's exchanges go on.
        QTest::newRow("stop scan leaves an exchange alone")
            << QByteArray("ZD005123\r") << 50 << true << 166 << 400 << "Reply OK"
            << ReplyWait::Exchange;
    }
    void replyIsOK()
    {
        QFETCH(QByteArray, waiting);
        QFETCH(int, stopAfterMs);
        QFETCH(int, minMs);
        QFETCH(int, maxMs);
        QFETCH(ReplyWait, wait);
        PtyRig r;
        r.n.lastStatus[0] = QStringLiteral("untouched");
        QVERIFY(r.st.ensurePortOpen());
        r.line.write(waiting);
        QVERIFY(
            QTest::qWaitFor([&] { return r.st.myComm.InBufferCount() == waiting.size(); }, 1000));
        if (stopAfterMs >= 0)
            QTimer::singleShot(stopAfterMs, [&] { r.st.stopScan = true; });
        QElapsedTimer t;
        t.start();
        QTEST(ReplyIsOK(r.st, 8, r.st.myComm, wait), "ok");
        // A coarse timer may fire a millisecond or two early.
        QVERIFY2(t.elapsed() >= minMs - 2 && t.elapsed() <= maxMs,
                 qPrintable(QString::number(t.elapsed())));
        QTEST(r.n.lastStatus.value(0), "status");
        QCOMPARE(r.st.myComm.InBufferCount(), int(waiting.size())); // left for the caller
    }
};
