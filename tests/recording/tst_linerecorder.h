// The RS-485 line's data files: one per analyzer and hour, or one the
// operator chose, and records kept while the folder is away.
#pragma once

#include "RecordingRig.h"
#include "recording/DataRecord.h"
#include "recording/LineRecorder.h"

#include <QFileInfo>
#include <QTest>

class LineRecorderTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void lineRecord_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<int>("zero");
        QTest::addColumn<bool>("rus");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("raw fields")
            << "00019" << 0 << false << QByteArray("14:05:09\t005\t00019\t04123\t00000\t0\r\n");
        QTest::newRow("above Limit2, negative zero")
            << "00081" << -20 << false << QByteArray("14:05:09\t005\t00081\t04123\t-0020\t3\r\n");
        QTest::newRow("Russian: ppm with a decimal comma")
            << "00051" << 0 << true << QByteArray("14:05:09\t005\t5,1\t412,3\t00000\t1\r\n");
    }

    void lineRecord()
    {
        QFETCH(QString, first);
        QFETCH(int, zero);
        QFETCH(bool, rus);
        const QDateTime at(QDate(2026, 11, 15), QTime(14, 5, 9));
        QTEST(DataRecord::lineRecord(at, 5, first, QStringLiteral("04123"), zero, 50, 80, rus),
              "expected");
    }

    // Each analyzer's file changes with the hour; a chosen file stays.
    void lineRotation()
    {
        RecordingRig rig;
        LineRecorder rec(rig.st);
        rec.clock = [&] { return rig.now; };
        rig.st.lineAutoName[5] = true;
        QStringList asked;
        rec.chooseFile = [&](const QString& title, const QString& filter, const QString& start) {
            asked << title << filter << QFileInfo(start).fileName();
            return rig.path(QStringLiteral("mine.dat"));
        };
        QVERIFY(rec.start({5, 9}));
        QCOMPARE(asked,
                 (QStringList{"OK-for Next Channel; CANCEL-for Exit",
                              "Data (*.dat;*.dt)|*.dat;*.dt|All Files (*.*)|*.*", "A009.dat"}));
        Station::LineReading r{5, {}, QStringLiteral("00019"), QStringLiteral("04123"), 19};
        rig.st.deliverLine(r);
        r.address = 9;
        rig.st.deliverLine(r);
        rig.now = rig.now.addSecs(3600);
        rig.st.deliverLine(r);
        r.address = 5;
        rig.st.deliverLine(r);
        rec.end();
        QCOMPARE(rig.file("14h15_11_A005.dat").count('\n'), 1);
        QCOMPARE(rig.file("15h15_11_A005.dat").count('\n'), 1);
        QCOMPARE(rig.file("mine.dat").count('\n'), 2);
        QVERIFY(!rig.st.recording);
    }

    // The line's recording leaves its marks in the day's file, gaps in the
    // port too; with the folder missing at the start they are kept, with the
    // records, until it is back.
    void lineDayMarks_data()
    {
        QTest::addColumn<bool>("missing");
        QTest::newRow("folder there") << false;
        QTest::newRow("folder missing at start") << true;
    }

    void lineDayMarks()
    {
        QFETCH(bool, missing);
        RecordingRig rig("data");
        LineRecorder rec(rig.st);
        rec.clock = [&] { return rig.now; };
        rig.st.lineAutoName[5] = true;
        if (missing)
            QVERIFY(QDir(rig.path(QString())).removeRecursively());
        QVERIFY(rec.start({5}));
        Station::LineReading r{5, {}, QStringLiteral("00019"), QStringLiteral("04123"), 19};
        rig.st.deliverLine(r);
        Q_EMIT rig.st.portLost(rig.now.addSecs(10));
        Q_EMIT rig.st.portBack(rig.now.addSecs(20));
        QCOMPARE(rec.heldMarks(), missing ? 3 : 0);
        QCOMPARE(rec.heldCount(5), missing ? 1 : 0);
        QCOMPARE(rig.n.messages.size(), missing ? 1 : 0); // the analyzer's file, at the start
        if (missing)
            QVERIFY(QDir().mkpath(rig.path(QString())));
        rig.now = rig.now.addSecs(30);
        rig.st.deliverLine(r);
        QCOMPARE(rec.heldMarks() + rec.heldCount(5), 0);
        rec.end();
        QCOMPARE(rig.file("15_11_26.txt"),
                 "Start=15/11/26\r\nLost-14:05:10\r\nBack-14:05:20\r\nStop-14:05:30\r\n\r\n");
        QCOMPARE(rig.file("14h15_11_A005.dat").count('\n'), 2);
    }

    // While the folder is away an analyzer's records are kept, and the first
    // record after its return writes them, each into its hour's file.
    void lineHeldWhileAway()
    {
        RecordingRig rig("data");
        LineRecorder rec(rig.st);
        rec.clock = [&] { return rig.now; };
        rig.st.lineAutoName[5] = true;
        rig.now = QDateTime(QDate(2026, 11, 15), QTime(14, 59, 59));
        QVERIFY(rec.start({5}));
        QVERIFY(QDir(rig.path(QString())).removeRecursively());
        Station::LineReading r{5, {}, QStringLiteral("00019"), QStringLiteral("04123"), 19};
        for (const char* v : {"00020", "00021", "00022"}) {
            r.first = QLatin1String(v);
            rig.st.deliverLine(r);
            rig.now = rig.now.addSecs(1);
        }
        QCOMPARE(rec.heldCount(5), 3);
        QCOMPARE(rig.n.statuses.size(), 1); // said once, not at every record
        QVERIFY(QDir().mkpath(rig.path(QString())));
        r.first = QStringLiteral("00023");
        rig.st.deliverLine(r);
        QCOMPARE(rec.heldCount(5), 0);
        QCOMPARE(rig.file("14h15_11_A005.dat"), "14:59:59\t005\t00020\t04123\t00000\t0\r\n");
        QCOMPARE(rig.file("15h15_11_A005.dat"), "15:00:00\t005\t00021\t04123\t00000\t0\r\n"
                                                "15:00:01\t005\t00022\t04123\t00000\t0\r\n"
                                                "15:00:02\t005\t00023\t04123\t00000\t0\r\n");
        rec.end();
    }
};
