// The calibration and user-identifier dialogs, driven through their controls.
#pragma once

#include "Pty.h"
#include "RecordingNotifier.h"
#include "link/frmCUST.h"
#include "link/frmCalib.h"
#include "sim/AnalyzerSim.h"
#include "station/Station.h"

#include <QLineEdit>
#include <QPushButton>
#include <QTest>

class DialogsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void calib_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("box");
        QTest::addColumn<QStringList>("messages");
        QTest::addColumn<QString>("stored"); // after Enter
        QTest::newRow("comma first") << ","
                                     << "" << QStringList{"Bad Data"} << "";
        QTest::newRow("full stop first") << ".5"
                                         << "5" << QStringList{"Bad Data"} << "5";
        QTest::newRow("100 kept") << "100"
                                  << "100" << QStringList{} << "100";
        QTest::newRow("100.5 cleared silently") << "100.5"
                                                << "" << QStringList{} << "";
        QTest::newRow("comma sent as a full stop") << "2,5"
                                                   << "2,5" << QStringList{} << "2.5";
        QTest::newRow("cut to five") << "12.345"
                                     << "12.34" << QStringList{} << "12.34";
        QTest::newRow("0. keeps six") << "0.1234"
                                      << "0.1234" << QStringList{} << "0.1234";
        QTest::newRow("0, keeps six") << "0,12345"
                                      << "0,1234" << QStringList{} << "0.1234";
    }

    void calib()
    {
        QFETCH(QString, typed);
        RecordingNotifier n;
        Station st(n);
        st.calibrationConc = QStringLiteral("stale");
        frmCalib dlg(st);
        QCOMPARE(st.calibrationConc, QString()); // cleared on load
        auto* box = dlg.findChild<QLineEdit*>(QStringLiteral("txtConc"));
        auto* enter = dlg.findChild<QPushButton*>(QStringLiteral("cmdEnter"));
        QVERIFY(!enter->isEnabled());
        QTest::keyClicks(box, typed);
        QTEST(box->text(), "box");
        QTEST(n.messages, "messages");
        QCOMPARE(enter->isEnabled(), !box->text().isEmpty());
        enter->click();
        QTEST(st.calibrationConc, "stored");
        QCOMPARE(dlg.result(), box->text().isEmpty() ? 0 : int(QDialog::Accepted));
    }

    void calibCancelClears()
    {
        RecordingNotifier n;
        Station st(n);
        frmCalib dlg(st);
        QTest::keyClicks(dlg.findChild<QLineEdit*>(QStringLiteral("txtConc")), "5");
        dlg.findChild<QPushButton*>(QStringLiteral("cmdEnd"))->click();
        QCOMPARE(st.calibrationConc, QString());
        QCOMPARE(dlg.result(), int(QDialog::Rejected));
    }

    void customerId_data()
    {
        QTest::addColumn<bool>("silent");
        QTest::addColumn<QString>("readBack");
        QTest::newRow("written and read back") << false << "AB12          ";
        QTest::newRow("silent analyzer") << true << "Time Out";
    }

    void customerId()
    {
        QFETCH(bool, silent);
        SimConfig config;
        config.answers = silent ? AnswerFault::Silent : AnswerFault::None;
        AnalyzerSim sim(config);
        QVERIFY(sim.start());
        RecordingNotifier n;
        Station st(n);
        st.portName = sim.ttyPath();
        st.applyPortSettings();
        frmCUST dlg(st);
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
        QVERIFY(QTest::qWaitFor([&] { return sim.commands().size() >= 2; }, 1000));
        QCOMPARE(sim.commands().mid(0, 2), (QList<QByteArray>{"CUST AB12          ", "CUST?"}));
        QVERIFY(!st.myComm.PortOpen()); // closed before, closed after
        QVERIFY(!st.lineBusy());
    }
};
