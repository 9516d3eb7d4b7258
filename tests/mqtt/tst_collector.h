#pragma once

// The central recorder against a real broker: readings land in the stations'
// own files (read back as the record viewer reads them), once each across a
// kill, a station's new numbering and bad input.
#include "CollectorRig.h"
#include "fleet/Collector.h"

#include <QTemporaryDir>
#include <ctime>

class CollectorTest : public QObject
{
    Q_OBJECT
    QByteArray savedTz_;
    // 2026-11-24 18:30:01.250 UTC: 20:30:01 on the local clock of the tests.
    static constexpr qint64 kT0 = 1795545001250;

    struct Rig
    {
        mqtt_rig::Broker broker;
        mqtt_rig::Feed feed;
        QTemporaryDir dir;
        Collector collector{dir.path()};
        bool start()
        {
            MqttSettings s;
            s.host = QStringLiteral("127.0.0.1");
            s.port = broker.port;
            s.clientId = QStringLiteral("central");
            QString why;
            QSignalSpy state(&collector, &Collector::stateChanged);
            return broker.start() && feed.start(broker.port) && collector.start(s, &why) &&
                   QTest::qWaitFor(
                       [&] {
                           return !state.isEmpty() &&
                                  state.last().at(0).toString().contains("collecting");
                       },
                       5000);
        }
        QString path(const QString& station, const QString& file) const
        {
            return QDir(dir.path()).filePath(station + '/' + file);
        }
    };

    static QList<qint64> numbers(const QList<RecordFile::Record>& records)
    {
        QList<qint64> out;
        for (const auto& r : records)
            out.append(r.number);
        return out;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (mqtt_rig::Broker::program().isEmpty())
            QFAIL("mosquitto is missing: scripts/install-deps installs it");
        // Two hours east of UTC all year: file names and record times must be local.
        savedTz_ = qgetenv("TZ");
        qputenv("TZ", "EET-2");
        tzset();
    }
    void cleanupTestCase()
    {
        if (savedTz_.isEmpty())
            qunsetenv("TZ");
        else
            qputenv("TZ", savedTz_);
        tzset();
    }

    // Each channel's file holds its readings as published: the station's
    // own time, value, second value and alarm level, whatever the collector's
    // thresholds would say.
    void readingsLandInTheirFiles_data()
    {
        QTest::addColumn<QString>("station");
        QTest::addColumn<int>("address");
        QTest::addColumn<QString>("file");
        QTest::newRow("single analyzer") << "st1" << -1 << "20h24_11.dat";
        QTest::newRow("line 001") << "line1" << 1 << "20h24_11_A001.dat";
        QTest::newRow("line 005") << "line1" << 5 << "20h24_11_A005.dat";
        QTest::newRow("line 200") << "line1" << 200 << "20h24_11_A200.dat";
    }
    void readingsLandInTheirFiles()
    {
        QFETCH(QString, station);
        QFETCH(int, address);
        QFETCH(QString, file);
        Rig rig;
        QVERIFY(rig.start());
        // Two stations at once, interleaved; the one asked about is checked.
        const int raws[] = {19, 55, -7};
        const int levels[] = {3, 0, 1}; // as published: not what any threshold gives
        for (int i = 0; i < 3; ++i) {
            const qint64 t = kT0 + i * 1500;
            rig.feed.reading("st1", mqtt_rig::reading(t, 40 + i, raws[i], levels[i]));
            for (int a : {1, 5, 200})
                rig.feed.reading("line1", mqtt_rig::reading(t, 1 + i, raws[i] + a, levels[i], a,
                                                            i == 1 ? -1 : 4000 + a));
        }
        QVERIFY(rig.feed.settle());
        QTRY_COMPARE_WITH_TIMEOUT(rig.collector.written(), 12, 5000);
        rig.collector.stop();

        const auto got = mqtt_rig::readBack(rig.path(station, file));
        QCOMPARE(got.size(), 3);
        for (int i = 0; i < 3; ++i) {
            const RecordFile::Record& r = got[i];
            QCOMPARE(r.utcMs, (kT0 + i * 1500) / 1000 * 1000); // the file keeps seconds
            QCOMPARE(r.address, address);
            QCOMPARE(r.raw, raws[i] + qMax(address, 0));
            QCOMPARE(r.alarm, levels[i]);
            if (address < 0) {
                QCOMPARE(r.number, 40 + i); // the station's own record number
            } else {
                QVERIFY(r.hasSecond);
                QCOMPARE(r.second, i == 1 ? 0 : 4000 + address);
            }
        }
        // The day's file tells the viewer the year.
        QFile day(rig.path(station, "24_11_26.txt"));
        QVERIFY(day.open(QIODevice::ReadOnly));
        QCOMPARE(day.readAll(), QByteArray("Start=24/11/26\r\n"));
    }

    // A reading delivered again is written once; a station that starts again
    // and numbers from 1 at new times loses none of its readings.
    void repeatsOnceRestartedStationWhole()
    {
        Rig rig;
        QVERIFY(rig.start());
        for (int i = 1; i <= 3; ++i)
            rig.feed.reading("st1", mqtt_rig::reading(kT0 + i * 1000, i, i, 0));
        rig.feed.reading("st1", mqtt_rig::reading(kT0 + 2000, 2, 2, 0)); // sent again
        // Restarted: record numbers from 1 again, and again within the same second.
        for (int i = 1; i <= 3; ++i)
            rig.feed.reading("st1", mqtt_rig::reading(kT0 + 9000 + i, i, 10 + i, 0));
        rig.feed.reading("st1", mqtt_rig::reading(kT0 + 9001, 1, 11, 0)); // sent again
        QVERIFY(rig.feed.settle());
        QTRY_COMPARE_WITH_TIMEOUT(rig.collector.written() + rig.collector.duplicates(), 8, 5000);
        QCOMPARE(rig.collector.duplicates(), 2);
        rig.collector.stop();
        const auto got = mqtt_rig::readBack(rig.path("st1", "20h24_11.dat"));
        QCOMPARE(numbers(got), (QList<qint64>{1, 2, 3, 1, 2, 3}));
        QCOMPARE(got[4].raw, 12);
    }

    // Each kind of bad payload is counted for its station and nothing of it
    // is written; the good reading after it is.
    void badPayloadsCountedAndSkipped()
    {
        Rig rig;
        QVERIFY(rig.start());
        QSignalSpy rejected(&rig.collector, &Collector::rejected);
        const QByteArray t = "velmora/st1/main/reading";
        const QByteArray good = MqttMessages::readingPayload(mqtt_rig::reading(kT0, 1, 19, 0));
        rig.feed.send(t, "not json at all");
        rig.feed.send(t, QByteArray(good).replace("\"raw\":19", "\"raw\":\"19\""));
        rig.feed.send(t, QByteArray(good).replace("\"record\":1,", ""));
        rig.feed.send(t, good.chopped(1) + ",\"pad\":\"" + QByteArray(70000, 'x') + "\"}");
        rig.feed.send("velmora/st1/mainx/reading", good);
        rig.feed.send("velmora/st2/status", "maybe");
        rig.feed.send(t, good);
        QVERIFY(rig.feed.settle());
        QTRY_COMPARE_WITH_TIMEOUT(rig.collector.written(), 1, 5000);
        QCOMPARE(rig.collector.rejects().value("st1"), 5);
        QCOMPARE(rig.collector.rejects().value("st2"), 1);
        QCOMPARE(rejected.size(), 6);
        QCOMPARE(rejected.at(4).at(2).toString(), QStringLiteral("unexpected topic levels"));
        rig.collector.stop();
        const auto got = mqtt_rig::readBack(rig.path("st1", "20h24_11.dat"));
        QCOMPARE(got.size(), 1);
        QCOMPARE(got[0].raw, 19);
    }

    // The journal of keys is cut back to the last kKeep while in use: the
    // keys after the cut go to the new file, and a collector started on it
    // knows them.
    void journalCutBackStaysInUse()
    {
        QTemporaryDir dir;
        const QString journal = QDir(dir.path()).filePath("st1/collected.keys");
        auto lines = [&journal] {
            QFile f(journal);
            return f.open(QIODevice::ReadOnly) ? f.readAll().split('\n') : QList<QByteArray>();
        };
        auto feed = [](Collector& c, int record) {
            c.take("velmora/st1/main/reading", MqttMessages::readingPayload(mqtt_rig::reading(
                                                   kT0 + record * 1000, record, 1, 0)));
        };
        const int n = 2 * SeenReadings::kKeep;
        {
            Collector c(dir.path());
            for (int i = 1; i <= n; ++i)
                feed(c, i);
            QTRY_COMPARE_WITH_TIMEOUT(lines().size(), SeenReadings::kKeep + 1, 5000);
            feed(c, n + 1);
        }
        QCOMPARE(lines().size(), SeenReadings::kKeep + 2); // the last line is empty
        Collector again(dir.path());
        feed(again, n + 1);
        feed(again, n + 2 - SeenReadings::kKeep); // the oldest key kept
        QCOMPARE(again.duplicates(), 2);
        QCOMPARE(again.written(), 0);
    }

    // A station's folder that can't be made (a file stands in its place)
    // keeps the records in memory, in order, until it can.
    void recordsWaitForTheirFolder()
    {
        QTemporaryDir dir;
        QFile blocker(QDir(dir.path()).filePath("st1"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        Collector c(dir.path());
        QSignalSpy notes(&c, &Collector::note);
        for (int i = 1; i <= 3; ++i)
            c.take("velmora/st1/main/reading",
                   MqttMessages::readingPayload(mqtt_rig::reading(kT0 + i * 1000, i, i, 0)));
        QCOMPARE(c.written(), 3);
        QVERIFY(c.held() > 0);
        QCOMPARE(notes.size(), 1); // said once, not for every record
        QVERIFY(blocker.remove());
        QTRY_COMPARE_WITH_TIMEOUT(c.held(), 0, 3000);
        c.stop();
        QCOMPARE(numbers(mqtt_rig::readBack(QDir(dir.path()).filePath("st1/20h24_11.dat"))),
                 (QList<qint64>{1, 2, 3}));
    }

    // Killed (SIGKILL) during a burst and started again: what it had taken
    // but not written is dealt with first, the readings published meanwhile
    // come from the session the broker kept, those sent again are not written
    // twice, and the file holds each once, in order.
    void killedCollectorLosesNothing()
    {
        mqtt_rig::Broker broker;
        QVERIFY(broker.start());
        mqtt_rig::Feed feed;
        QVERIFY(feed.start(broker.port));
        QTemporaryDir dir;
        const QString file = QDir(dir.path()).filePath("st1/20h24_11.dat");
        auto send = [&](int from, int to) {
            for (int i = from; i <= to; ++i)
                feed.reading("st1", mqtt_rig::reading(kT0 + i * 100, i, i, 0));
        };
        mqtt_rig::CollectorProcess collector;
        collector.dir = dir.path();
        collector.start(broker.port);
        const int n = 3000;
        send(1, n);
        QTRY_VERIFY_WITH_TIMEOUT(mqtt_rig::readBack(file).size() >= 2, 5000);
        collector.proc.kill();
        QVERIFY(collector.proc.waitForFinished(5000));
        send(n + 1, n + 5);
        send(1, 2); // the station sends what it thinks unacknowledged again
        QVERIFY(feed.settle());
        collector.start(broker.port);
        send(n + 5, n + 6);
        QTRY_COMPARE_WITH_TIMEOUT(mqtt_rig::readBack(file).size(), n + 6, 10000);
        QVERIFY(collector.stop());
        QList<qint64> all;
        for (qint64 i = 1; i <= n + 6; ++i)
            all.append(i);
        QCOMPARE(numbers(mqtt_rig::readBack(file)), all);
    }
};
