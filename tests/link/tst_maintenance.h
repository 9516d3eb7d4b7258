// The maintenance commands and the zero exchange over a real tty, with the
// test playing the analyzer, and the calibration and user-identifier dialogs
// driven through their controls.
#pragma once

#include "StationRig.h"
#include "link/Maintenance.h"
#include "link/ReplyCollector.h"
#include "link/ZeroCorrection.h"
#include "link/frmCUST.h"
#include "link/frmCalib.h"
#include "station/DataFormat.h"

#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTimer>

class MaintenanceTest : public QObject
{
    Q_OBJECT

    struct Rig : PtyRig
    {
        QList<double> values;
        QByteArray answer; // what the analyzer says to any command
        Rig()
        {
            st.sinks[Station::MainGraphSink] = [this](double v, const QByteArray&) { values << v; };
            line.respond([this](const QByteArray&) { return answer; });
        }
    };

private Q_SLOTS:
    void buttons_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("conc");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<bool>("startOpen");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QString>("status");
        QTest::addColumn<bool>("endOpen");
        QTest::addColumn<int>("minMs");
        QTest::addColumn<int>("maxMs");
        const QByteArray none;
        QTest::newRow("serial, closed, answered: kept open")
            << 0 << "" << QByteArray("ZD005123\r") << false << QByteArray("SRAL?\r")
            << "Send SRAL?<CR> Reply ZD005123<CR>" << true << 0 << 1000;
        QTest::newRow("zero, open") << 1 << "" << QByteArray("OK\r") << true << QByteArray("ZERO\r")
                                    << "Send ZERO<CR> Reply OK<CR>" << true << 0 << 1000;
        QTest::newRow("initial, closed, silent: closed again")
            << 2 << "" << none << false << QByteArray("INIT\r") << "Send INIT<CR> No Reply" << false
            << 1900 << 3000;
        QTest::newRow("calibration with a concentration")
            << 3 << "2.5" << QByteArray("OK\r") << true << QByteArray("CALB 2.5\r")
            << "Send CALB 2.5<CR> Reply OK<CR>" << true << 0 << 1000;
        QTest::newRow("calibration without one sends nothing")
            << 3 << "" << QByteArray("OK\r") << false << none << "" << false << 0 << 500;
        QTest::newRow("user id ends at 14 bytes, no CR needed")
            << 4 << "" << QByteArray("SIMULATOR     ") << false << QByteArray("CUST?\r")
            << "Send CUST?<CR> Reply SIMULATOR     " << true << 0 << 1000;
        QTest::newRow("set cust sends nothing itself")
            << 5 << "" << none << true << none << "" << true << 0 << 500;
        QTest::newRow("one record is a reading")
            << 6 << "" << QByteArray("00123\n\r") << true << QByteArray("DATA?\r")
            << "Send DATA?<CR> Reply 00123<LF><CR>" << true << 0 << 1000;
        QTest::newRow("continuous stop, open, no answer expected")
            << 7 << "" << none << true << QByteArray("CDAT?\r") << "Send CDAT?<CR> No Reply" << true
            << 1900 << 3000;
    }

    void buttons()
    {
        QFETCH(int, index);
        QFETCH(QString, conc);
        QFETCH(QByteArray, answer);
        QFETCH(bool, startOpen);
        QFETCH(int, minMs);
        QFETCH(int, maxMs);
        Rig r;
        r.answer = answer;
        r.st.calibrationConc = conc;
        if (startOpen)
            QVERIFY(r.st.ensurePortOpen());
        r.st.myComm.setRThreshold(7);
        r.st.myComm.setInputLen(3);
        QElapsedTimer t;
        t.start();
        cmdCommands_Click(r.st, index);
        const qint64 ms = t.elapsed();
        QTEST(r.line.readAll(150), "wire");
        QTEST(r.n.lastStatus.value(0), "status");
        QTEST(r.st.myComm.PortOpen(), "endOpen");
        QVERIFY2(ms >= minMs && ms <= maxMs, qPrintable(QString::number(ms)));
        QCOMPARE(r.st.myComm.RThreshold(), 7);
        QCOMPARE(r.st.myComm.InputLen(), 3);
        QVERIFY(!r.st.lineBusy());
        QCOMPARE(r.values, index == 6 ? QList<double>{123} : QList<double>{});
        QVERIFY(r.n.messages.isEmpty());
    }

    // A command pressed while another waits for its answer is refused and
    // never reaches the line.
    void busyLineRefuses()
    {
        Rig r;
        QVERIFY(r.st.ensurePortOpen());
        QList<bool> busySeen;
        QObject::connect(&r.st, &Station::lineBusyChanged, [&](bool busy) { busySeen << busy; });
        QTimer::singleShot(200, [&] {
            cmdCommands_Click(r.st, 0);
            ZeroFields f{QStringLiteral("5"), QString()};
            QString echo;
            QVERIFY(!MakeZCorr(r.st, f, echo));
        });
        cmdCommands_Click(r.st, 2);
        QCOMPARE(r.line.readAll(150), QByteArray("INIT\r"));
        QCOMPARE(busySeen, (QList<bool>{true, false}));
        QVERIFY(r.n.statuses.filter(QStringLiteral("refused")).size() == 2);
    }

    void zero_data()
    {
        QTest::addColumn<bool>("read");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QByteArray>("wire");
        QTest::addColumn<QString>("z");
        QTest::addColumn<QString>("companion");
        QTest::addColumn<int>("offset");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<QString>("status");
        const QStringList quiet;
        QTest::newRow("set 5, confirmed")
            << false << "5" << QByteArray("A0005 0123\r") << QByteArray("AMB 0005\r") << "5"
            << "0123" << 5 << quiet << "Send AMB 0005<CR> Reply A0005 0123<CR>";
        QTest::newRow("set 5, other value confirmed")
            << false << "5" << QByteArray("A0007 0123\r") << QByteArray("AMB 0005\r") << "5"
            << "0123" << 7 << QStringList{"Ошибка установки ZPos"}
            << "Send AMB 0005<CR> Reply A0007 0123<CR>";
        QTest::newRow("answer not starting with A")
            << false << "5" << QByteArray("B0005 0123\r") << QByteArray("AMB 0005\r") << "5"
            << "old" << 0 << quiet << "Send AMB 0005<CR>";
        QTest::newRow("answer without its CR")
            << false << "5" << QByteArray("A0005 01234") << QByteArray("AMB 0005\r") << "5"
            << "old" << 0 << quiet << "Send AMB 0005<CR>";
        QTest::newRow("short answer times out")
            << false << "12/4" << QByteArray("A0012\r") << QByteArray("AMB 0012\r") << "12/4"
            << "old" << 0 << quiet << "Send AMB 0012<CR>";
        QTest::newRow("read the zero position")
            << true << "0000" << QByteArray("A0020 0019\r") << QByteArray("AMB?\r") << "0020"
            << "0019" << 20 << quiet << "Send AMB?<CR> Reply A0020 0019<CR>";
    }

    void zero()
    {
        QFETCH(bool, read);
        QFETCH(QString, entry);
        QFETCH(QByteArray, answer);
        QFETCH(int, offset);
        Rig r;
        r.answer = answer;
        r.st.myComm.setRThreshold(7);
        ZeroFields f{entry, QStringLiteral("old")};
        QString echo;
        QElapsedTimer t;
        t.start();
        const bool ok = read ? GetZParam(r.st, f) : MakeZCorr(r.st, f, echo);
        // An answer shorter than 11 bytes is waited for 500 ms.
        const qint64 ms = t.elapsed();
        QVERIFY2(ms >= (answer.size() < 11 ? 490 : 0) && ms < 1000,
                 qPrintable(QString::number(ms)));
        QCOMPARE(r.st.myComm.RThreshold(), 7);
        QTEST(r.line.readAll(100), "wire");
        QTEST(f.z, "z");
        QTEST(f.companion, "companion");
        QCOMPARE(r.st.zeroOffset, offset);
        QCOMPARE(r.st.zeroPosition, offset);
        QTEST(r.n.messages, "messages");
        QTEST(r.n.lastStatus.value(0), "status");
        QCOMPARE(ok, r.n.messages.isEmpty() && f.companion != QLatin1String("old"));
        if (!read && ok)
            QCOMPARE(echo, f.companion);
    }

    // Answers picked out of a stream, fed whole and one byte at a time.
    void splitter_data()
    {
        QTest::addColumn<bool>("streaming");
        QTest::addColumn<int>("marker");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<int>("records");
        QTest::newRow("no stream: all is answer")
            << false << 13 << QByteArray("00019\n\rZD1\r") << QByteArray("00019\n\rZD1\r") << 0;
        QTest::newRow("answer between records")
            << true << 13 << QByteArray("00019\n\rZD000123\r00020\n\r") << QByteArray("ZD000123\r")
            << 2;
        QTest::newRow("a record's end before the answer is dropped")
            << true << 13 << QByteArray("9\n\rA0005 0123\r00021\n\r") << QByteArray("A0005 0123\r")
            << 1;
        QTest::newRow("just the marker of a record before it")
            << true << 13 << QByteArray("\rOK\r") << QByteArray("OK\r") << 0;
        QTest::newRow("ZEP-C records end LF")
            << true << 10 << QByteArray("12345\r\nOK\r12346\r\n") << QByteArray("OK\r") << 2;
        QTest::newRow("an answer of digits is not a record")
            << true << 13 << QByteArray("00019\n\r12345678\r") << QByteArray("12345678\r") << 1;
    }

    void splitter()
    {
        QFETCH(bool, streaming);
        QFETCH(int, marker);
        QFETCH(QByteArray, bytes);
        DataFormat f;
        f.marker = quint8(marker);
        for (bool byByte : {false, true}) {
            StreamSplitter whole(f, streaming);
            if (byByte) {
                for (char c : bytes)
                    whole.feed(QByteArray(1, c));
            } else {
                whole.feed(bytes);
            }
            whole.finish();
            QTEST(whole.answer(), "answer");
            QTEST(whole.recordsSeen(), "records");
        }
    }

    // The calibration concentration dialog: what typing leaves in the box and
    // what Enter stores.
    void calib_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<bool>("cancel");    // End rather than Enter
        QTest::addColumn<QString>("stored"); // after the button
        const auto row = [](const char* name, const QString& typed, const QString& box,
                            const QStringList& messages, const QString& stored,
                            bool cancel = false) {
            QTest::newRow(name) << typed << box << messages << cancel << stored;
        };
        row("comma first", ",", "", {"Bad Data"}, "");
        row("full stop first", ".5", "5", {"Bad Data"}, "5");
        row("100 kept", "100", "100", {}, "100");
        row("100.5 cleared silently", "100.5", "", {}, "");
        row("a blank before 150", " 150", "", {}, "");
        row("a sign before 150", "+150", "", {}, "");
        row("1e3 is 1000", "1e3", "", {}, "");
        row("comma sent as a full stop", "2,5", "2,5", {}, "2.5");
        row("cut to five", "12.345", "12.34", {}, "12.34");
        row("0. keeps six", "0.1234", "0.1234", {}, "0.1234");
        row("0, keeps six", "0,12345", "0,1234", {}, "0.1234");
        row("End clears", "5", "5", {}, "", true);
    }

    void calib()
    {
        QFETCH(QString, typed);
        QFETCH(bool, cancel);
        StationRig r;
        r.st.calibrationConc = QStringLiteral("stale");
        frmCalib dlg(r.st);
        QCOMPARE(r.st.calibrationConc, QString()); // cleared on load
        auto* box = dlg.findChild<QLineEdit*>(QStringLiteral("txtConc"));
        auto* enter = dlg.findChild<QPushButton*>(QStringLiteral("cmdEnter"));
        QVERIFY(!enter->isEnabled());
        QTest::keyClicks(box, typed);
        QTEST(box->text(), "box");
        QTEST(r.n.messages, "messages");
        QCOMPARE(enter->isEnabled(), !box->text().isEmpty());
        (cancel ? dlg.findChild<QPushButton*>(QStringLiteral("cmdEnd")) : enter)->click();
        QTEST(r.st.calibrationConc, "stored");
        const bool accepted = !cancel && !box->text().isEmpty();
        QCOMPARE(dlg.result(), accepted ? int(QDialog::Accepted) : int(QDialog::Rejected));
    }

    void customerId_data()
    {
        QTest::addColumn<bool>("silent");
        QTest::addColumn<int>("replyLen");
        QTest::addColumn<QString>("readBack");
        QTest::newRow("written and read back") << false << 14 << "AB12          ";
        QTest::newRow("silent analyzer") << true << 14 << "Time Out";
        // A read-back that waits for the CR too still shows the 14 characters.
        QTest::newRow("reply length 15") << false << 15 << "AB12          ";
    }

    void customerId()
    {
        QFETCH(bool, silent);
        SimConfig config;
        config.answers = silent ? AnswerFault::Silent : AnswerFault::None;
        SimRig r(config);
        QFETCH(int, replyLen);
        r.st.userIdReplyLen = replyLen;
        frmCUST dlg(r.st);
        auto* id = dlg.findChild<QLineEdit*>(QStringLiteral("txtCUSTN"));
        QString shownWhileWaiting;
        QObject::connect(id, &QLineEdit::textChanged, [&](const QString& t) {
            if (shownWhileWaiting.isEmpty())
                shownWhileWaiting = t;
        });
        id->setText(QStringLiteral("AB12"));
        shownWhileWaiting.clear();
        dlg.findChild<QPushButton*>(QStringLiteral("cmdSet"))->click();
        QCOMPARE(shownWhileWaiting, QStringLiteral("Wait..."));
        QTEST(dlg.findChild<QLineEdit*>(QStringLiteral("txtNewID"))->text(), "readBack");
        QCOMPARE(id->text(), QStringLiteral("AB12"));
        // "CUST", a blank, the identifier padded to 14 and CR (the CR ends the line).
        QVERIFY(QTest::qWaitFor([&] { return r.sim.commands().size() >= 2; }, 1000));
        QCOMPARE(r.sim.commands().mid(0, 2), (QList<QByteArray>{"CUST AB12          ", "CUST?"}));
        QVERIFY(!r.st.myComm.PortOpen()); // closed before, closed after
        QVERIFY(!r.st.lineBusy());
    }
};
