// Run, Stop, the receive handler and the polling timer over a real tty.
#pragma once

#include "Files.h"
#include "StationRig.h"
#include "link/DataWatch.h"
#include "link/RunControl.h"
#include "recording/DataRecorder.h"
#include "rs485/Waits.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <memory>
#include <thread>

class RunControlTest : public QObject
{
    Q_OBJECT

    struct Rig : PtyRig
    {
        QList<double> values;
        explicit Rig(bool fromTimer = false)
        {
            wireRunControl(st);
            st.synchroFromTimer = fromTimer;
            st.timerPeriod = 30; // no tick of its own during a test
            st.sinks[Station::MainGraphSink] = [this](double v, const QByteArray&) { values << v; };
        }
        // Run, which asks the analyzer for its stream.
        bool run()
        {
            Run(st);
            return line.read(6, 2000) == "XDAT?\r";
        }
    };

private Q_SLOTS:
    // Records one at a time, as an analyzer delivers them, or several
    // together: each is a reading, and the checks still apply record by
    // record. Stop then ends the stream.
    void records_data()
    {
        QTest::addColumn<QByteArrayList>("deliveries");
        QTest::addColumn<QList<double>>("values");
        QByteArray ten;
        QList<double> tenValues;
        for (int i = 1; i <= 10; ++i) {
            ten += QByteArray::number(i).rightJustified(5, '0') + "\n\r";
            tenValues << i;
        }
        QTest::newRow("one at a time")
            << QByteArrayList{"00019\n\r", "00021\n\r", "00017\n\r"} << QList<double>{19, 21, 17};
        QTest::newRow("ten in one delivery") << QByteArrayList{ten} << tenValues;
        QTest::newRow("a letter drops that record only")
            << QByteArrayList{"00001\n\r00a02\n\r00003\n\r"} << QList<double>{1, 3};
        // Out of step: the rest of what waits is thrown away, and reading
        // starts again with the next delivery.
        QTest::newRow("out of step drops what waits")
            << QByteArrayList{"00001\n\r0002\n\r00003\n\r00004\n\r"} << QList<double>{1};
    }
    void records()
    {
        QFETCH(QByteArrayList, deliveries);
        QFETCH(QList<double>, values);
        Rig r;
        QVERIFY(r.run());
        QCOMPARE(r.st.myComm.RThreshold(), 7);
        for (const QByteArray& bytes : deliveries) {
            const qsizetype before = r.values.size();
            r.line.write(bytes);
            QVERIFY(QTest::qWaitFor(
                [&] { return r.values.size() > before && r.st.myComm.InBufferCount() == 0; },
                2000));
        }
        // A record sent afterwards is the next reading: nothing else came between.
        r.line.write("00099\n\r");
        QVERIFY(QTest::qWaitFor([&] { return r.values.size() > values.size(); }, 2000));
        QCOMPARE(r.values, values + QList<double>{99});
        r.st.Stop();
        QCOMPARE(r.line.read(6, 2000), QByteArray("CDAT?\r"));
        QCOMPARE(r.line.readAll(100), QByteArray());
        QVERIFY(r.st.myComm.PortOpen());
        QCOMPARE(r.st.myComm.RThreshold(), 0);
    }

    // A tick asks for one record; with Stop pressed while it waits, the
    // record still counts and no receive event comes back afterwards.
    void timerTickAsksForOneRecord_data()
    {
        QTest::addColumn<bool>("stopMeanwhile");
        QTest::addColumn<int>("threshold"); // RThreshold after the tick
        QTest::newRow("running") << false << 7;
        QTest::newRow("stopped while waiting") << true << 0;
    }
    void timerTickAsksForOneRecord()
    {
        QFETCH(bool, stopMeanwhile);
        Rig r(true);
        QVERIFY(r.run());
        // Streamed records are stale in "From Timer" mode: receive events pass them by.
        r.line.write("00019\n\r0001");
        QVERIFY(QTest::qWaitFor([&] { return r.st.myComm.InBufferCount() >= 11; }, 2000));
        OnComm(r.st);
        QCOMPARE(r.st.eventCounter, 0u);
        // Answer the poll from a timer, as the analyzer would.
        QTimer answer;
        QObject::connect(&answer, &QTimer::timeout, [&] {
            if (r.line.read(6, 1) == "DATA?\r") {
                if (stopMeanwhile)
                    r.st.Stop();
                r.line.write("00033\n\r");
                answer.stop();
            }
        });
        answer.start(5);
        HTmr_Timer(r.st);
        QCOMPARE(r.values, QList<double>{33});
        QTEST(r.st.myComm.RThreshold(), "threshold");
        QCOMPARE(r.n.lastStatus.value(0) == QLatin1String("Stopped"), stopMeanwhile);
    }

    // Bytes paced as a 9600 Bd line delivers them, about 1 ms apart from a
    // thread of their own, a record every 40 ms: a stray byte before one
    // record costs that record and no other.
    void strayByteOnAPacedLine()
    {
        Rig r;
        QVERIFY(r.run());
        const int records = 30, strayBefore = 5;
        std::thread line([&] {
            for (int i = 1; i <= records; ++i) {
                QByteArray bytes = QByteArray::number(i).rightJustified(5, '0') + "\n\r";
                if (i == strayBefore)
                    bytes.prepend('x');
                for (char c : std::as_const(bytes)) {
                    r.line.write(QByteArray(1, c));
                    std::this_thread::sleep_for(std::chrono::microseconds(1040));
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(40));
            }
        });
        // An event loop that wakes for each byte, as the station's own does
        // (QTest::qWaitFor sleeps between its rounds and would gather them).
        WaitUntil([&] { return r.values.size() >= records - 1; }, 5000);
        line.join();
        WaitMs(50, true);
        QList<double> expected;
        for (int i = 1; i <= records; ++i) {
            if (i != strayBefore)
                expected << i;
        }
        QCOMPARE(r.values, expected);
    }

    void silentLineTimesOut_data()
    {
        QTest::addColumn<bool>("detectFrame");
        QTest::newRow("DetectFrame") << true;
        QTest::newRow("RunWork") << false;
    }
    void silentLineTimesOut()
    {
        QFETCH(bool, detectFrame);
        Rig r;
        r.st.format.autoLength = true;
        r.st.running = true;
        QElapsedTimer t;
        t.start();
        const bool found = detectFrame ? DetectFrame(r.st, true) : RunWork(r.st);
        const qint64 took = t.elapsed();
        QVERIFY(!found);
        QVERIFY2(took >= 2900 && took < 4500, qPrintable(QString::number(took)));
        QCOMPARE(r.n.messages, QStringList{"Time Out"});
        QCOMPARE(int(r.st.format.marker), 13);
        QCOMPARE(r.st.format.recordLength, 6);
    }

    void rs485WithoutDevices()
    {
        // Stop then opens the port, which Run never did, to send its command.
        Rig r;
        r.st.rs485Mode = true;
        Run(r.st);
        QCOMPARE(r.n.messages, QStringList{"No Devices Found"});
        QVERIFY(!r.st.running);
        QVERIFY(!r.st.HTmr.isActive());
        QCOMPARE(r.line.read(6, 2000), QByteArray("CDAT?\r"));
    }

    // A device path that vanishes and comes back (a USB adapter pulled and
    // plugged in again): the line event closes the port without a message,
    // the station opens it again by itself, starts the stream again, and the
    // day's file shows the gap.
    void portComesBack()
    {
        QTemporaryDir dir;
        const QString link = dir.filePath(QStringLiteral("ttyUSB0"));
        auto first = std::make_unique<Pty>();
        QVERIFY(QFile::link(first->slavePath(), link));
        RecordingNotifier n;
        Station st(n);
        wireRunControl(st);
        st.portName = link;
        st.applyPortSettings();
        st.synchroFromTimer = false;
        st.dataFolder = dir.path();
        DataRecorder recorder(st);
        QList<double> values;
        st.sinks[Station::MainGraphSink] = [&](double v, const QByteArray&) { values << v; };
        QList<int> events;
        QObject::connect(&st, &Station::lineEvent, [&](int e) { events << e; });
        Run(st);
        QVERIFY(recorder.start());
        QCOMPARE(first->read(6, 2000), QByteArray("XDAT?\r"));
        first->write("00001\n\r");
        QVERIFY(QTest::qWaitFor([&] { return values.size() == 1; }, 2000));

        first->closeMaster(); // pulled
        first.reset();
        QFile::remove(link);
        QVERIFY(QTest::qWaitFor([&] { return !st.myComm.PortOpen(); }, 2000));
        QVERIFY2(events.value(0) == CommPort::comEventDeviceGone ||
                     events.value(0) == CommPort::comEventReadError,
                 qPrintable(QString::number(events.value(0))));
        QVERIFY(n.statuses.contains(QStringLiteral("CommEvent = %1").arg(events.value(0))));
        QVERIFY(n.statuses.filter(QStringLiteral("lost")).size() == 1);
        QTest::qWait(1500); // a few tries find nothing

        Pty second; // plugged in again, under the same name
        QVERIFY(QFile::link(second.slavePath(), link));
        QElapsedTimer back;
        back.start();
        QCOMPARE(second.read(6, 3000), QByteArray("XDAT?\r"));
        QVERIFY(back.elapsed() < 3000);
        second.write("00002\n\r");
        QVERIFY(QTest::qWaitFor([&] { return values.size() == 2; }, 2000));
        QCOMPARE(values, (QList<double>{1, 2}));
        recorder.end();
        const QByteArray marks = contents(onlyFile(dir.path(), QStringLiteral("*.txt")));
        QVERIFY2(marks.contains("\r\nLost-") && marks.contains("\r\nBack-"), marks.constData());
        QCOMPARE(contents(onlyFile(dir.path(), QStringLiteral("*.dat"))).count('\n'), 2);
        QVERIFY(n.messages.isEmpty());
    }

    // A silent analyzer is reported, asked again, and then its port is opened anew.
    void silenceIsNoticed()
    {
        QList<bool> opened; // outlives the station, which closes its port as it goes
        Rig r;
        DataWatch::of(r.st).limitMs = 300;
        QObject::connect(&r.st.myComm, &CommPort::openChanged, [&](bool on) { opened << on; });
        QVERIFY(r.run());
        opened.clear();
        QCOMPARE(r.line.read(6, 2000), QByteArray("XDAT?\r")); // asked again
        QCOMPARE(r.n.statuses.filter(QStringLiteral("no data since")).size(), 1);
        QVERIFY(opened.isEmpty());
        QCOMPARE(r.line.read(6, 2000), QByteArray("XDAT?\r")); // after the port was reopened
        QCOMPARE(opened, (QList<bool>{false, true}));
        r.line.write("00005\n\r");
        QVERIFY(QTest::qWaitFor([&] { return r.values == QList<double>{5}; }, 2000));
        QVERIFY(
            QTest::qWaitFor([&] { return !r.n.statuses.filter("data again").isEmpty(); }, 2000));
        QCOMPARE(r.line.readAll(400), QByteArray()); // and nothing more is asked
    }

    void badSettingsAreAMessage()
    {
        Rig r;
        r.st.commSettings = QStringLiteral("9600,x,8,1");
        r.st.applyPortSettings();
        QCOMPARE(r.n.messages.size(), 1);
        QVERIFY(r.n.messages.first().contains(QLatin1String("9600,x,8,1")));
        QCOMPARE(r.st.myComm.Settings(), QStringLiteral("9600,n,8,1"));
    }
};
