// Reading data files back: damage, the year and midnight, and CSV rows.
#pragma once

#include "Files.h"
#include "recording/CsvExport.h"
#include "recording/DataRecord.h"
#include "recording/RecordFile.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

namespace recordfile {
inline QList<RecordFile::Record> readFile(const QString& path, int* skipped, QString* error)
{
    RecordFile::Reader r(path);
    QList<RecordFile::Record> out;
    if (!r.open()) {
        *error = r.error();
        return out;
    }
    r.finish();
    RecordFile::Record rec;
    while (r.next(rec))
        out << rec;
    *skipped = r.skipped();
    return out;
}

inline qint64 localMs(const QDateTime& t)
{
    return QDateTime(t.date(), t.time(), Qt::UTC).toMSecsSinceEpoch();
}
} // namespace recordfile

class RecordFileTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void damage_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QList<int>>("numbers"); // the records read
        QTest::addColumn<int>("skipped");
        QTest::addColumn<QString>("error");
        const QByteArray r1 = "00001\t14:05:00\t00020\t00000\t0\r\n";
        const QByteArray r2 = "00002\t14:05:01\t00021\t-0020\t1\r\n";
        const QByteArray r3 = "00003\t14:05:02\t00090\t00000\t3\r\n";
        QTest::newRow("whole") << r1 + r2 + r3 << QList<int>{1, 2, 3} << 0 << QString();
        QTest::newRow("last record cut short")
            << r1 + r2 + r3.left(12) << QList<int>{1, 2} << 1 << QString();
        QTest::newRow("NUL tail") << r1 + r2 + QByteArray(300, '\0') << QList<int>{1, 2} << 1
                                  << QString();
        QTest::newRow("records after NULs")
            << r1 + QByteArray(64, '\0') + r2 << QList<int>{1, 2} << 0 << QString();
        QTest::newRow("garbage line")
            << r1 + "x\x01\xff=garbage\r\n" + r2 << QList<int>{1, 2} << 1 << QString();
        QTest::newRow("stop line's empty line")
            << r1 + "\r\n" + r2 << QList<int>{1, 2} << 0 << QString();
        QTest::newRow("empty file") << QByteArray() << QList<int>{} << 0 << QString();
        QTest::newRow("not a record file") << QByteArray("[COMPORTS]\r\nNCOM=2\r\n") << QList<int>{}
                                           << 0 << "not a data file of the station";
    }

    void damage()
    {
        QFETCH(QByteArray, bytes);
        QTemporaryDir dir;
        int skipped = 0;
        QString error;
        const auto recs =
            recordfile::readFile(put(dir.filePath("14h15_11.dat"), bytes), &skipped, &error);
        QList<int> numbers;
        for (const auto& r : recs)
            numbers << r.number;
        QTEST(numbers, "numbers");
        QTEST(skipped, "skipped");
        QTEST(error, "error");
        if (numbers.size() >= 2) {
            QCOMPARE(recs[1].raw, 21);
            QCOMPARE(recs[1].zeroPosition, -20);
            QCOMPARE(recs[1].alarm, 1);
        }
    }

    // The date of a record: day and month from the name, the year from the
    // day's "Start=" line or the file's time; midnight moves to the next day.
    void dates_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("records");
        QTest::addColumn<QByteArray>("dayFile"); // "" for none
        QTest::addColumn<QDateTime>("modified");
        QTest::addColumn<QList<QDateTime>>("expected");
        const auto at = [](int y, int mo, int d, int h, int mi, int s) {
            return QDateTime(QDate(y, mo, d), QTime(h, mi, s));
        };
        QTest::newRow("year from the Start= line")
            << "14h15_11.dat" << QByteArray("00001\t14:05:00\t00020\t00000\t0\r\n")
            << QByteArray("Start=15/11/24\r\nStop-14:06:00\r\n") << at(2026, 3, 1, 0, 0, 0)
            << QList<QDateTime>{at(2024, 11, 15, 14, 5, 0)};
        QTest::newRow("year from the file time")
            << "14h15_11.dat" << QByteArray("00001\t14:05:00\t00020\t00000\t0\r\n") << QByteArray()
            << at(2025, 11, 15, 15, 0, 0) << QList<QDateTime>{at(2025, 11, 15, 14, 5, 0)};
        QTest::newRow("written on New Year's Day, the year before")
            << "23h31_12.dat" << QByteArray("00001\t23:59:59\t00020\t00000\t0\r\n") << QByteArray()
            << at(2027, 1, 1, 0, 0, 1) << QList<QDateTime>{at(2026, 12, 31, 23, 59, 59)};
        QTest::newRow("hourly file across midnight")
            << "23h31_12.dat"
            << QByteArray(
                   "00001\t23:59:59\t00020\t00000\t0\r\n00002\t00:00:00\t00021\t00000\t0\r\n")
            << QByteArray("Start=31/12/26\r\n") << at(2027, 1, 1, 0, 0, 1)
            << QList<QDateTime>{at(2026, 12, 31, 23, 59, 59), at(2027, 1, 1, 0, 0, 0)};
        QTest::newRow("chosen file over two midnights")
            << "night.log"
            << QByteArray("00001\t23:00:00\t00020\t00000\t0\r\n00002\t12:00:00\t00021\t00000\t0\r\n"
                          "00003\t01:00:00\t00022\t00000\t0\r\n")
            << QByteArray() << at(2026, 11, 17, 1, 0, 5)
            << QList<QDateTime>{at(2026, 11, 15, 23, 0, 0), at(2026, 11, 16, 12, 0, 0),
                                at(2026, 11, 17, 1, 0, 0)};
    }

    void dates()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, records);
        QFETCH(QByteArray, dayFile);
        QFETCH(QDateTime, modified);
        QFETCH(QList<QDateTime>, expected);
        QTemporaryDir dir;
        if (!dayFile.isEmpty())
            put(dir.filePath(name.mid(3, 5) + "_" + dayFile.mid(12, 2) + ".txt"), dayFile);
        int skipped = 0;
        QString error;
        const auto recs =
            recordfile::readFile(put(dir.filePath(name), records, modified), &skipped, &error);
        QCOMPARE(recs.size(), expected.size());
        for (int i = 0; i < recs.size(); ++i) {
            QCOMPARE(recs[i].localMs, recordfile::localMs(expected[i]));
            QCOMPARE(recs[i].utcMs, expected[i].toMSecsSinceEpoch());
        }
    }

    // Rows in time order across the files of several analyzers, every field in place.
    void csv()
    {
        QTemporaryDir dir;
        const QDateTime t(QDate(2026, 11, 15), QTime(14, 5, 0));
        const QString single =
            put(dir.filePath("14h15_11.dat"),
                DataRecord::bytes(7, t, "00020\r", -20, 10, 80) +
                    DataRecord::bytes(8, t.addSecs(2), "00085\r", -20, 10, 80) + "00009\t14:0");
        const QString line =
            put(dir.filePath("14h15_11_A005.dat"),
                DataRecord::lineRecord(t.addSecs(1), 5, "00051", "04123", 0, 50, 80, true));
        put(dir.filePath("15_11_26.txt"), "Start=15/11/26\r\n");
        QBuffer out;
        out.open(QIODevice::WriteOnly);
        const CsvResult r = exportCsv({single, line, dir.filePath("none.dat")}, out);
        QCOMPARE(r.rows, 3);
        QCOMPARE(r.skipped, 1);
        QCOMPARE(r.errors.size(), 1);
        const auto utc = [](const QDateTime& l) {
            return l.toUTC().toString("yyyy-MM-ddTHH:mm:ssZ").toLatin1();
        };
        QCOMPARE(out.data(),
                 "time,time_utc,record,address,raw,ppm,second_value,zero_position,alarm_level\r\n"
                 "2026-11-15 14:05:00," +
                     utc(t) +
                     ",7,,20,2.0,,-20,1\r\n"
                     "2026-11-15 14:05:01," +
                     utc(t.addSecs(1)) +
                     ",1,5,51,5.1,4123,0,1\r\n"
                     "2026-11-15 14:05:02," +
                     utc(t.addSecs(2)) + ",8,,85,8.5,,-20,3\r\n");
    }

    // A run that is asked to stop ends at its next check, says so, and its
    // progress has counted the bytes read out of all of them.
    void csvStopsWhenAsked()
    {
        QTemporaryDir dir;
        const QDateTime t(QDate(2026, 11, 15), QTime(14, 0, 0));
        QByteArray bytes;
        for (int i = 0; i < 10000; ++i)
            bytes += DataRecord::bytes(i + 1, t.addMSecs(i * 300), "00020\r", 0, 50, 80);
        const QString file = put(dir.filePath("14h15_11.dat"), bytes);
        QBuffer out;
        out.open(QIODevice::WriteOnly);
        CsvProgress progress;
        progress.cancel = true;
        const CsvResult r = exportCsv({file}, out, &progress);
        QVERIFY(r.cancelled);
        QVERIFY(r.rows > 0 && r.rows < 10000);
        QCOMPARE(progress.total.load(), qint64(bytes.size()));
        QVERIFY(progress.done > 0 && progress.done <= progress.total);
        CsvProgress free;
        out.close();
        out.setData({});
        out.open(QIODevice::WriteOnly);
        const CsvResult all = exportCsv({file}, out, &free);
        QVERIFY(!all.cancelled);
        QCOMPARE(all.rows, 10000);
    }
};
