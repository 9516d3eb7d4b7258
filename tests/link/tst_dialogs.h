// The calibration and user-identifier dialogs, driven through their controls.
#pragma once

#include "StationRig.h"
#include "link/frmCUST.h"
#include "link/frmCalib.h"

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
        QTest::addColumn<QString>("readBack");
        QTest::newRow("written and read back") << false << "AB12          ";
        QTest::newRow("silent analyzer") << true << "Time Out";
    }

    void customerId()
    {
        QFETCH(bool, silent);
        SimConfig config;
        config.answers = silent ? AnswerFault::Silent : AnswerFault::None;
        SimRig r(config);
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
