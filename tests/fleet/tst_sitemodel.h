#pragma once

// The site model fed directly: the polling period and staleness, the
// sparkline's history, the alarm list, and how often it makes views repaint.
#include "fleet/SiteModel.h"
#include "mqtt/MqttMessages.h"

#include <QDateTime>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>

class SiteModelTest : public QObject
{
    Q_OBJECT
    static constexpr qint64 kT0 = 1'764'000'000'000;

    static void feed(SiteModel& m, const QString& station, qint64 utcMs, qint64 record, int raw,
                     int level = 0, int address = -1)
    {
        MqttMessages::Reading r;
        r.utcMs = utcMs;
        r.record = record;
        r.raw = raw;
        r.alarmLevel = level;
        r.address = address;
        m.take(MqttMessages::readingTopic(QStringLiteral("velmora"), station, address),
               MqttMessages::readingPayload(r), false);
    }
    static void alarm(SiteModel& m, qint64 utcMs, int level, bool raised, bool retained)
    {
        MqttMessages::Reading r;
        r.utcMs = utcMs;
        r.record = 1;
        r.raw = level ? 900 : 10;
        r.alarmLevel = level;
        QByteArray payload = MqttMessages::alarmPayload(r);
        if (!raised)
            payload.replace("\"raised\"", "\"cleared\"");
        m.take(MqttMessages::alarmTopic(QStringLiteral("velmora"), QStringLiteral("st1"), -1),
               payload, retained);
    }

private Q_SLOTS:
    // Readings given as (ms after the first, record number); the period the
    // channel is then taken to have, and whether it is stale that long after
    // the last one arrived.
    void period_data()
    {
        QTest::addColumn<QList<qint64>>("times");
        QTest::addColumn<QList<qint64>>("records");
        QTest::addColumn<qint64>("period");
        QTest::addColumn<qint64>("quietMs");
        QTest::addColumn<bool>("stale");
        QTest::newRow("one reading: 30 s, fresh at 89 s")
            << QList<qint64>{0} << QList<qint64>{1} << 30000LL << 89000LL << false;
        QTest::newRow("one reading: 30 s, stale at 90 s")
            << QList<qint64>{0} << QList<qint64>{1} << 30000LL << 90000LL << true;
        QTest::newRow("every 4 s: fresh at 11.9 s")
            << QList<qint64>{0, 4000} << QList<qint64>{1, 2} << 4000LL << 11900LL << false;
        QTest::newRow("every 4 s: stale at 12 s")
            << QList<qint64>{0, 4000} << QList<qint64>{1, 2} << 4000LL << 12000LL << true;
        QTest::newRow("the latest interval counts")
            << QList<qint64>{0, 4000, 5000} << QList<qint64>{1, 2, 3} << 1000LL << 3000LL << true;
        QTest::newRow("a restart tells nothing")
            << QList<qint64>{0, 4000, 60000} << QList<qint64>{1, 2, 1} << 4000LL << 11000LL
            << false;
        QTest::newRow("a skipped record tells nothing")
            << QList<qint64>{0, 4000, 5000} << QList<qint64>{1, 2, 4} << 4000LL << 11000LL << false;
    }
    void period()
    {
        QFETCH(QList<qint64>, times);
        QFETCH(QList<qint64>, records);
        QFETCH(qint64, period);
        QFETCH(qint64, quietMs);
        QFETCH(bool, stale);
        SiteModel m(QStringLiteral("velmora"));
        for (qsizetype i = 0; i < times.size(); ++i)
            feed(m, QStringLiteral("st1"), kT0 + times[i], records[i], 10);
        const SiteModel::Channel* c = m.channel(QStringLiteral("st1"), "main");
        QVERIFY(c);
        QCOMPARE(c->effectivePeriodMs(), period);
        QCOMPARE(c->stale(c->arrivedMs + quietMs), stale);
    }

    void history()
    {
        SiteModel m(QStringLiteral("velmora"));
        // 12 minutes at 2 readings a second, a peak in the second of minute 11.
        qint64 rec = 0;
        for (qint64 t = 0; t < 12 * 60 * 1000; t += 500)
            feed(m, QStringLiteral("st1"), kT0 + t, ++rec, t == 11 * 60 * 1000 + 500 ? -700 : 20);
        const SiteModel::Channel* c = m.channel(QStringLiteral("st1"), "main");
        QVERIFY(c->history.size() <= 601); // one point a second, ten minutes
        QVERIFY(c->history.front().utcMs >= c->history.back().utcMs - SiteModel::kHistoryMs);
        QVERIFY(std::any_of(c->history.cbegin(), c->history.cend(),
                            [](const SiteModel::Point& p) { return p.raw == -700; }));
    }

    void alarms()
    {
        SiteModel m(QStringLiteral("velmora"));
        QSignalSpy raised(&m, &SiteModel::alarmRaised);
        alarm(m, kT0, 3, true, true);          // kept by the broker
        alarm(m, kT0 + 5000, 0, false, false); // cleared now
        alarm(m, kT0 + 9000, 1, true, false);  // raised now
        alarm(m, kT0, 3, true, true);          // the kept one again, on a new connection
        QCOMPARE(raised.size(), 1);            // only the new raised one sounds
        QList<SiteModel::Alarm> all = m.alarms(false);
        QCOMPARE(all.size(), 3);
        QCOMPARE(all[0].utcMs, kT0 + 9000); // newest first
        QVERIFY(all[2].older && !all[0].older);
        QCOMPARE(all[2].level, SiteModel::Level::Second);

        QVERIFY(m.acknowledge(all[0].id));
        QVERIFY(!m.acknowledge(all[0].id));
        QCOMPARE(m.unacknowledged(), 2);
        const QList<SiteModel::Alarm> open = m.alarms(true);
        QCOMPARE(open.size(), 2);
        QVERIFY(std::none_of(open.cbegin(), open.cend(),
                             [&](const SiteModel::Alarm& a) { return a.id == all[0].id; }));
    }

    // 800 channels reading once each: the views hear of them together.
    void gathered()
    {
        SiteModel m(QStringLiteral("velmora"));
        QSignalSpy layout(&m, &SiteModel::layoutChanged);
        QSignalSpy channels(&m, &SiteModel::channelsChanged);
        for (int s = 0; s < 100; ++s)
            for (int a = 1; a <= 8; ++a)
                feed(m, QStringLiteral("st%1").arg(s), kT0, 1, a, 0, a);
        QCOMPARE(channels.size(), 0);
        QVERIFY(QTest::qWaitFor([&] { return channels.size() > 0; }, 1000));
        QCOMPARE(channels.size(), 1);
        QCOMPARE(layout.size(), 1);
        QCOMPARE(channels[0][0].toStringList().size(), 800);
        QCOMPARE(m.channelCount(), 800);
    }
};
