// The finder and the polling cycle against the simulator's RS-485 line.
#pragma once

#include "Files.h"
#include "StationRig.h"
#include "link/RunControl.h"
#include "recording/LineRecorder.h"
#include "rs485/LinePoller.h"
#include "rs485/frmFind.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

class LineTest : public QObject
{
    Q_OBJECT

    // An RS-485 line of simulated analyzers at `addresses`.
    static SimConfig bus(const QList<int>& addresses)
    {
        SimConfig c;
        c.addresses = addresses;
        c.seed = 11;
        return c;
    }

    static QStringList items(const frmFind& f, const char* list)
    {
        QStringList out;
        auto* box = f.findChild<QComboBox*>(QLatin1String(list));
        for (int i = 0; i < box->count(); ++i)
            out << box->itemText(i);
        return out;
    }

private Q_SLOTS:
    void finder()
    {
        SimRig r(bus({5, 7, 10, 255}));
        r.sim.setLineFault(7, LineFault::ShortSerial);
        frmFind f(r.st);
        auto serial = [&](int a) { return QString::fromLatin1(r.sim.unit(a)->serial); };
        const QString at5 = serial(5) + QStringLiteral(" at Addr=005");
        const QString at10 = serial(10) + QStringLiteral(" at Addr=010");

        // 4..11 and then 254..255: the short answer at 7 is not listed, and
        // the counter stops at 255 instead of wrapping.
        f.scanFirst = 4;
        f.scanLast = 11;
        f.cmdScanDev_Click();
        QCOMPARE(items(f, "cmbDevices"), (QStringList{at5, at10}));
        QCOMPARE(items(f, "cmbDevicesA"), (QStringList{at5, at10}));
        f.scanFirst = 254;
        f.scanLast = 255;
        f.cmdScanDev_Click();
        QCOMPARE(items(f, "cmbDevices"), QStringList{serial(255) + " at Addr=255"});
        QVERIFY(r.n.messages.isEmpty());

        // Stop during a scan keeps what was found so far.
        f.scanFirst = 4;
        f.scanLast = 11;
        QObject::connect(&f, &frmFind::deviceFound, &f, [&f](int a) {
            if (a == 5)
                f.findChild<QPushButton*>(QStringLiteral("cmdStop"))->click();
        });
        f.cmdScanDev_Click();
        QCOMPARE(items(f, "cmbDevices"), QStringList{at5});
        QCOMPARE(f.findChild<QLabel*>(QStringLiteral("lblAddr"))->text(), QStringLiteral("005"));

        // Choosing "... at Addr=010" selects 10, sent as "0A".
        auto* devices = f.findChild<QComboBox*>(QStringLiteral("cmbDevices"));
        devices->addItem(at10);
        devices->setCurrentIndex(1);
        QString caption;
        QObject::connect(&f, &frmFind::deviceSelected, [&](int, const QString& c) { caption = c; });
        f.cmbDevices_Click();
        QCOMPARE(f.SelectedDevice, QStringLiteral("0A"));
        QCOMPARE(int(f.SelectedDeviceADR), 10);
        QCOMPARE(caption, serial(10) + QStringLiteral(" At Address=0A (Dec=10)"));
        QCOMPARE(items(f, "cmbComand").first(), QStringLiteral("#0ASRAL?"));

        // The terminal: with "Add CR" the analyzer answers; the 73-byte reply
        // shows in txtReply, and one with a wrong start byte is "BAD DATA".
        auto* reply = f.findChild<QLineEdit*>(QStringLiteral("txtReply"));
        auto send = [&](const char* text) {
            f.findChild<QComboBox*>(QStringLiteral("cmbComand"))->setCurrentText(text);
            f.cmdSend_Click();
            return QTest::qWaitFor([&] { return !f.tmr.isActive(); }, 2000);
        };
        QVERIFY(send("#0ADATA?"));
        QVERIFY2(reply->text().startsWith(QLatin1String("<0E>")), qPrintable(reply->text()));
        QVERIFY(r.n.messages.isEmpty());
        r.sim.setLineFault(10, LineFault::WrongStart);
        QVERIFY(send("#0ADATA?"));
        QVERIFY(reply->text().startsWith(QLatin1Char('#')));
        QCOMPARE(r.n.messages, QStringList{"BAD DATA"});
        // Without "Add CR" the frame is not complete: the analyzer keeps quiet.
        f.findChild<QCheckBox*>(QStringLiteral("chkCR"))->setChecked(false);
        r.sim.clearLogs();
        QVERIFY(send("#0ASRAL?"));
        QCOMPARE(reply->text(), QString());
        QVERIFY(r.sim.commands().isEmpty());
    }

    // Each analyzer's readings reach its own sinks and file, in address
    // order; one that falls silent counts time-outs while the others go on.
    void polling()
    {
        SimRig r(bus({5, 10, 255}));
        QTemporaryDir dir;
        r.st.dataFolder = dir.path();
        wireRunControl(r.st);
        LinePoller& poller = LinePoller::of(r.st);
        r.st.setRs485Mode(true);
        r.st.timerPeriod = 1;
        for (int a : {5, 10, 255}) {
            r.st.serialNumbers[size_t(a)] = QString::fromLatin1(r.sim.unit(a)->serial);
            r.st.lineAutoName[size_t(a)] = true;
        }
        r.st.foundDevices = 3;
        r.st.polled[10] = r.st.polled[5] = r.st.polled[255] = true;
        QList<int> order;
        r.st.lineSinks[Station::LineGraphSink] = [&](const Station::LineReading& x) {
            order << x.address;
        };
        LineRecorder recorder(r.st);
        QVERIFY(recorder.start(poller.pollList()));
        Run(r.st);
        QVERIFY(QTest::qWaitFor([&] { return poller.cycles() >= 2; }, 5000));
        QCOMPARE(order.mid(0, 6), (QList<int>{5, 10, 255, 5, 10, 255}));

        r.sim.setLineFault(10, LineFault::Silent);
        const qint64 before = poller.cycles();
        QVERIFY(QTest::qWaitFor([&] { return poller.cycles() >= before + 2; }, 6000));
        r.st.Stop();
        QVERIFY(QTest::qWaitFor([&] { return !poller.inCycle(); }, 2000));
        recorder.end();
        QVERIFY(poller.stats(10).timeouts >= 1);
        QCOMPARE(poller.stats(5).timeouts, 0);
        QCOMPARE(poller.stats(5).replies, poller.stats(5).requests);
        QCOMPARE(poller.stats(255).replies, poller.stats(255).requests);

        // Every reply the simulator sent to an analyzer is a record of its file.
        const auto sent = r.sim.records();
        for (int a : {5, 10, 255}) {
            const QString name = QStringLiteral("*_A%1.dat").arg(a, 3, 10, QLatin1Char('0'));
            const QList<QByteArray> lines = contents(onlyFile(dir.path(), name)).split('\n');
            QCOMPARE(lines.size() - 1, std::count_if(sent.begin(), sent.end(), [a](const auto& x) {
                         return x.address == a;
                     }));
            QVERIFY(lines.first().contains(QByteArray::number(a).rightJustified(3, '0')));
        }
    }
};
