// The finder and the polling cycle against the simulator's RS-485 line.
#pragma once

#include "Files.h"
#include "StationRig.h"
#include "link/RunControl.h"
#include "recording/LineRecorder.h"
#include "rs485/LinePoller.h"
#include "rs485/Waits.h"
#include "rs485/frmFind.h"
#include "station/IniFile.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScopeGuard>
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

    // A changed entry of the finder's Y list is kept, on closing, as the
    // whole number that the settings reading takes back.
    void scaleYSaved_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("saved"); // SCALEY3, empty for none
        QTest::newRow("whole number") << "30000"
                                      << "30000";
        QTest::newRow("seven digits") << "1234567"
                                      << "1234567";
        QTest::newRow("fraction rounded") << "2.6"
                                          << "3";
        QTest::newRow("zero not kept") << "0"
                                       << "";
    }
    void scaleYSaved()
    {
        QFETCH(QString, typed);
        QTemporaryDir config;
        const QByteArray before = qgetenv("XDG_CONFIG_HOME");
        const auto restore = qScopeGuard([&] { qputenv("XDG_CONFIG_HOME", before); });
        qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
        StationRig r;
        frmFind f(r.st);
        f.show();
        auto* box = f.findChild<QComboBox*>(QStringLiteral("cmbScaleY"));
        box->setCurrentIndex(3);
        box->lineEdit()->selectAll();
        QTest::keyClicks(box->lineEdit(), typed);
        QTest::keyClick(box->lineEdit(), Qt::Key_Return);
        f.close();
        QTEST(ReadIni(QStringLiteral("SCALES"), QStringLiteral("SCALEY3"),
                      QStringLiteral("Tervala.ini")),
              "saved");
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

    // A streaming run leaves the port reading one record at a time; the
    // scan and the terminal still read all that the analyzers at the ends
    // of the address range send. Controls follow the scan.
    void scanAfterAStreamingRun()
    {
        SimRig r(bus({0, 255}));
        wireRunControl(r.st);
        r.st.format.autoLength = false;
        Run(r.st);
        r.st.Stop();
        QCOMPARE(r.st.myComm.InputLen(), 7);
        frmFind f(r.st);
        f.show();
        auto* scan = f.findChild<QPushButton*>(QStringLiteral("cmdScanDev"));
        for (QPushButton* b : f.findChildren<QPushButton*>())
            QVERIFY2(!b->autoDefault() && !b->isDefault(), qPrintable(b->objectName()));
        QList<bool> during;
        QObject::connect(&f, &frmFind::deviceFound, &f, [&] {
            for (const char* name : {"cmdScanDev", "cmdSend", "cmbDevices", "cmdAdd"})
                during << f.findChild<QWidget*>(QLatin1String(name))->isEnabled();
        });
        f.scanFirst = 0;
        f.scanLast = 0;
        scan->click();
        QCOMPARE(during, QList<bool>(4, false));
        QCOMPARE(items(f, "cmbDevices"),
                 QStringList{QString::fromLatin1(r.sim.unit(0)->serial) + " at Addr=000"});
        QCOMPARE(r.sim.unit(0)->serial.size(), 8);
        // Found: no new scan until the finder is opened again.
        QVERIFY(!scan->isEnabled());
        QVERIFY(f.findChild<QPushButton*>(QStringLiteral("cmdSend"))->isEnabled());
        f.hide();
        f.show();
        QVERIFY(scan->isEnabled());
        f.scanFirst = f.scanLast = 255;
        scan->click();
        QCOMPARE(items(f, "cmbDevices"),
                 QStringList{QString::fromLatin1(r.sim.unit(255)->serial) + " at Addr=255"});

        f.findChild<QComboBox*>(QStringLiteral("cmbComand"))->setCurrentText("#FFDATA?");
        f.cmdSend_Click();
        QVERIFY(QTest::qWaitFor([&] { return !f.tmr.isActive(); }, 2000));
        QVERIFY2(r.n.lastStatus.value(0).startsWith(QLatin1String("CH4 ")),
                 qPrintable(r.n.lastStatus.value(0)));
        QVERIFY(r.n.messages.isEmpty());
    }

    // A silent line, all 256 addresses, on a fast clock: "No Devices Found",
    // every address asked once, and the controls come back.
    void silentScan()
    {
        PtyRig r;
        frmFind f(r.st);
        f.show();
        setWaitClockRate(100);
        f.findChild<QPushButton*>(QStringLiteral("cmdScanDev"))->click();
        setWaitClockRate(1);
        QCOMPARE(r.n.messages, QStringList{"No Devices Found"});
        QCOMPARE(f.findChild<QProgressBar*>(QStringLiteral("PBar"))->value(), 255);
        QCOMPARE(f.findChild<QLabel*>(QStringLiteral("lblAddr"))->text(), QStringLiteral("255"));
        const QByteArray asked = r.line.readAll(200);
        QCOMPARE(asked.count("SRAL?\r"), 256);
        QVERIFY(asked.startsWith("#00SRAL?\r") && asked.endsWith("#FFSRAL?\r"));
        for (const char* name : {"cmdScanDev", "cmdSend", "cmbDevices", "cmdAdd", "chkLine"})
            QVERIFY2(f.findChild<QWidget*>(QLatin1String(name))->isEnabled(), name);
    }

    // The finder opened and closed while the line runs: its stop request
    // ends no exchange, and every reply reaches the files.
    void finderClosedWhileTheLineRuns()
    {
        SimRig r(bus({0, 255}));
        QTemporaryDir dir;
        r.st.dataFolder = dir.path();
        wireRunControl(r.st);
        LinePoller& poller = LinePoller::of(r.st);
        r.st.timerPeriod = 1;
        frmFind f(r.st);
        f.show();
        f.scanFirst = 0;
        f.scanLast = 0;
        f.cmdScanDev_Click();
        f.findChild<QPushButton*>(QStringLiteral("cmdAdd"))->click();
        r.st.serialNumbers[255] = QString::fromLatin1(r.sim.unit(255)->serial);
        r.st.polled[255] = true;
        r.st.lineAutoName[255] = true;
        QVERIFY(r.st.rs485Mode);
        LineRecorder recorder(r.st);
        QVERIFY(recorder.start(poller.pollList()));
        Run(r.st);
        QVERIFY(QTest::qWaitFor([&] { return poller.cycles() >= 1; }, 5000));
        f.close();
        QVERIFY(r.st.stopScan);
        QVERIFY(QTest::qWaitFor([&] { return poller.cycles() >= 3; }, 6000));
        r.st.Stop();
        QVERIFY(QTest::qWaitFor([&] { return !poller.inCycle(); }, 2000));
        recorder.end();
        const auto sent = r.sim.records();
        for (int a : {0, 255}) {
            const LinePoller::Stats& s = poller.stats(a);
            QVERIFY(s.requests >= 3);
            QCOMPARE(s.replies, s.requests);
            const QString name = QStringLiteral("*_A%1.dat").arg(a, 3, 10, QLatin1Char('0'));
            QCOMPARE(contents(onlyFile(dir.path(), name)).count('\n'),
                     std::count_if(sent.begin(), sent.end(),
                                   [a](const auto& x) { return x.address == a; }));
        }
    }
};
