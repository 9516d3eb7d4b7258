// Publishing: topics and payloads byte for byte, then against a real broker:
// what the simulator's readings become, a broker restart, the last will, bad
// settings, and the settings dialog driving the publisher the windows use.
// Receiving: what stations publish read back, and the central recorder.
#include "BrokerRig.h"
#include "TestMain.h"
#include "mqtt/MqttMessages.h"
#include "mqtt/MqttPublisher.h"
#include "mqtt/frmMQTT.h"
#include "station/Notifier.h"
#include "station/Station.h"
#include "tst_collector.h"
#include "tst_incoming.h"

#include <QDateTime>
#include <QLineEdit>
#include <QSet>
#include <QSpinBox>

using namespace mqtt_rig;

class MessagesTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void payloads_data()
    {
        QTest::addColumn<int>("address");
        QTest::addColumn<int>("raw");
        QTest::addColumn<int>("second");
        QTest::addColumn<QByteArray>("topic");
        QTest::addColumn<QByteArray>("reading");
        const QByteArray t = "{\"time_utc\":\"2026-11-24T18:30:01.007Z\",";
        QTest::newRow("single") << -1 << 19 << -1 << QByteArray("site/st1/main/reading")
                                << t + "\"raw\":19,\"ppm\":1.9,\"alarm_level\":1,\"record\":12,"
                                       "\"address\":null}";
        QTest::newRow("line") << 5 << 1234 << 4123 << QByteArray("site/st1/005/reading")
                              << t + "\"raw\":1234,\"ppm\":123.4,\"alarm_level\":1,\"record\":12,"
                                     "\"address\":5,\"second_value\":4123}";
        QTest::newRow("below zero") << 255 << -7 << -1 << QByteArray("site/st1/255/reading")
                                    << t + "\"raw\":-7,\"ppm\":-0.7,\"alarm_level\":1,"
                                           "\"record\":12,\"address\":255}";
    }
    void payloads()
    {
        QFETCH(int, address);
        QFETCH(int, raw);
        QFETCH(int, second);
        QFETCH(QByteArray, topic);
        QFETCH(QByteArray, reading);
        MqttMessages::Reading r;
        r.utcMs = QDateTime(QDate(2026, 11, 24), QTime(18, 30, 1, 7), Qt::UTC).toMSecsSinceEpoch();
        r.raw = raw;
        r.alarmLevel = 1;
        r.record = 12;
        r.address = address;
        r.second = second;
        const QString site = QStringLiteral("site"), id = QStringLiteral("st1");
        QCOMPARE(MqttMessages::readingTopic(site, id, address), topic);
        QCOMPARE(MqttMessages::readingPayload(r), reading);
        QCOMPARE(MqttMessages::alarmPayload(r), reading.chopped(1) + ",\"state\":\"raised\"}");
        QCOMPARE(MqttMessages::alarmTopic(site, id, address), topic.replace("reading", "alarm"));
    }
    void levels()
    {
        // The data files' alarm digit: above a limit, not at it.
        QCOMPARE(MqttMessages::alarmLevel(50, 50, 80), 0);
        QCOMPARE(MqttMessages::alarmLevel(51, 50, 80), 1);
        QCOMPARE(MqttMessages::alarmLevel(80, 50, 80), 1);
        QCOMPARE(MqttMessages::alarmLevel(81, 50, 80), 3);
    }
};

class BrokerTest : public QObject
{
    Q_OBJECT
    // Every reading the station printed arrived once at least, in order, with
    // its value; returns the readings' JSON, duplicates dropped.
    static QList<QJsonObject> checkAllArrived(StationProcess& st, Subscriber& sub)
    {
        const QList<QByteArray> printed = st.out.trimmed().split('\n');
        QList<QJsonObject> readings;
        for (const Message& m : sub.on(QStringLiteral("/main/reading"))) {
            const QJsonObject o = m.json();
            const int record = o.value("record").toInt();
            if (record <= readings.size())
                continue; // sent again after a lost connection
            [&] { QCOMPARE(record, readings.size() + 1); }();
            readings.append(o);
        }
        [&] {
            QCOMPARE(readings.size(), printed.size());
            for (qsizetype i = 0; i < printed.size(); ++i)
                QCOMPARE(readings[i].value("raw").toInt(), printed[i].split(' ').at(1).toInt());
        }();
        return readings;
    }

private Q_SLOTS:
    void initTestCase()
    {
        if (Broker::program().isEmpty())
            QFAIL("mosquitto is missing: scripts/install-deps installs it");
    }

    void readingsAndAlarms()
    {
        Site site;
        QVERIFY(site.start());
        auto& [broker, sub] = site;
        StationProcess st;
        // The simulator's baseline of 1.9 to 2.1 ppm crosses both limits.
        st.start(mqttIni(broker.port, "[LIMIT]\nLimit1=19\nLimit2=20\n"));
        const qint64 begun = QDateTime::currentMSecsSinceEpoch();
        // Until the level has changed twice: a drift may keep the baseline
        // on one side of the limits for a while.
        auto& subscriber = sub; // a structured binding can't be captured by every compiler
        QVERIFY(QTest::qWaitFor(
            [&] {
                return st.readings() >= 25 &&
                       subscriber.on(QStringLiteral("st1/main/alarm")).size() >= 2;
            },
            30000));
        QVERIFY(st.stop());
        QVERIFY(sub.waitFor(QStringLiteral("st1/status"), "offline"));
        QCOMPARE(sub.on(QStringLiteral("st1/status")).first().payload, QByteArray("online"));

        const QList<QJsonObject> readings = checkAllArrived(st, sub);
        QVERIFY(!QTest::currentTestFailed());
        QList<QJsonObject> expectedAlarms;
        int level = 0;
        for (const QJsonObject& r : readings) {
            const int raw = r.value("raw").toInt();
            QCOMPARE(r.value("ppm").toDouble(), raw / 10.0);
            QCOMPARE(r.value("alarm_level").toInt(), raw > 20 ? 3 : raw > 19 ? 1 : 0);
            QVERIFY(r.value("address").isNull());
            const qint64 t =
                QDateTime::fromString(r.value("time_utc").toString(), Qt::ISODateWithMs)
                    .toMSecsSinceEpoch();
            QVERIFY(t >= begun && t <= QDateTime::currentMSecsSinceEpoch());
            if (r.value("alarm_level").toInt() != level) {
                level = r.value("alarm_level").toInt();
                expectedAlarms.append(r);
            }
        }
        const QList<Message> alarms = sub.on(QStringLiteral("st1/main/alarm"));
        QVERIFY(expectedAlarms.size() >= 2);
        QCOMPARE(alarms.size(), expectedAlarms.size());
        for (qsizetype i = 0; i < alarms.size(); ++i) {
            const QJsonObject a = alarms[i].json();
            QCOMPARE(a.value("record"), expectedAlarms[i].value("record"));
            QCOMPARE(a.value("alarm_level"), expectedAlarms[i].value("alarm_level"));
            QCOMPARE(a.value("state").toString(), a.value("alarm_level").toInt() > 0
                                                      ? QStringLiteral("raised")
                                                      : QStringLiteral("cleared"));
        }
        // The last alarm state stays on the broker for whoever subscribes later.
        QProcess retained;
        retained.start(QStringLiteral("mosquitto_sub"),
                       {"-p", QString::number(broker.port), "-t", "velmora/st1/main/alarm", "-C",
                        "1", "-W", "5"});
        QVERIFY(retained.waitForFinished(8000));
        QCOMPARE(retained.readAllStandardOutput().trimmed(), alarms.last().payload);
    }

    void brokerRestartLosesNothing()
    {
        Site site;
        QVERIFY(site.start());
        auto& [broker, sub] = site;
        StationProcess st;
        st.start(mqttIni(broker.port));
        QVERIFY(sub.waitFor(QStringLiteral("/main/reading"), {}));
        broker.stop();
        QVERIFY(QTest::qWaitFor([&] { return st.errors().contains("MQTT: lost"); }, 5000));
        const int during = st.readings();
        QTest::qWait(2500); // readings go on with the broker away
        QVERIFY(st.readings() >= during + 15);
        QVERIFY(broker.start());
        QVERIFY(QTest::qWaitFor([&] { return st.errors().count("MQTT: connected") == 2; }, 15000));
        QVERIFY(st.stop()); // what still waits goes out before the station ends
        // The broker's shutdown already told the subscriber "offline" (the
        // station's will), so that is no sign the rest has come: wait for
        // every reading the station printed, each record number once.
        const qsizetype printed = st.out.trimmed().split('\n').size();
        (void)QTest::qWaitFor(
            [&] {
                QSet<int> records;
                for (const Message& m : site.sub.on(QStringLiteral("/main/reading")))
                    records.insert(m.json().value("record").toInt());
                return records.size() >= printed;
            },
            10000);
        checkAllArrived(st, sub);
    }

    void lastWillOnKill()
    {
        Site site;
        QVERIFY(site.start());
        auto& [broker, sub] = site;
        StationProcess st;
        st.start(mqttIni(broker.port));
        QVERIFY(sub.waitFor(QStringLiteral("st1/status"), "online"));
        st.proc.kill(); // SIGKILL: no goodbye of its own
        QVERIFY(sub.waitFor(QStringLiteral("st1/status"), "offline", 5000));
    }

    void badSettings_data()
    {
        QTest::addColumn<QByteArray>("ini");
        QTest::addColumn<QString>("said");
        const int closed = freePort();
        QTest::newRow("nobody on the port")
            << mqttIni(closed)
            << QStringLiteral("MQTT: can't reach 127.0.0.1:%1 as operator (Connection refused)")
                   .arg(closed);
        QTest::newRow("unknown host") << QByteArray("[MQTT]\nHost=no-such-broker.invalid\n")
                                      << QStringLiteral("MQTT: can't reach no-such-broker.invalid");
        QTest::newRow("unreadable CA file")
            << mqttIni(closed, "CAFile=/nonexistent/ca.pem\n")
            << QStringLiteral("MQTT: CA file /nonexistent/ca.pem can't be read");
    }
    void badSettings()
    {
        QFETCH(QByteArray, ini);
        QFETCH(QString, said);
        StationProcess st;
        st.start(ini + "User=operator\nPassword=s3cret-pw\n");
        QVERIFY2(QTest::qWaitFor([&] { return st.errors().contains(said); }, 8000),
                 qPrintable(st.errors()));
        // Readings go on, at their rate, and the secret stays out of the log.
        const int now = st.readings();
        QVERIFY(QTest::qWaitFor([&] { return st.readings() >= now + 10; }, 3000));
        QVERIFY(st.stop());
        QVERIFY(!st.errors().contains(QStringLiteral("s3cret-pw")));
        QCOMPARE(st.errors().count(said), 1); // said once, not at every retry
    }

    // The windows' path: Set > MQTT writes [MQTT] and the publisher connects.
    void dialogStartsPublishing()
    {
        Site site;
        QVERIFY(site.start());
        auto& [broker, sub] = site;
        QTemporaryDir cfg;
        qputenv("XDG_CONFIG_HOME", cfg.path().toLocal8Bit());
        HeadlessNotifier notifier;
        Station st(notifier);
        MqttPublisher publisher(st);
        // Readings taken while the broker was the wrong one go to the right one.
        MqttSettings wrong;
        wrong.host = QStringLiteral("127.0.0.1");
        wrong.port = freePort();
        publisher.apply(wrong);
        st.deliver(24, "00024\r");
        QCOMPARE(publisher.waiting(), 1);
        frmMQTT dialog(publisher);
        dialog.findChild<QLineEdit*>(QStringLiteral("txtHost"))->setText("127.0.0.1");
        dialog.findChild<QSpinBox*>(QStringLiteral("txtPort"))->setValue(broker.port);
        dialog.findChild<QLineEdit*>(QStringLiteral("txtClientId"))->setText("gui1");
        dialog.accept();
        QCOMPARE(MqttSettings::read(), dialog.settings());
        QTRY_VERIFY_WITH_TIMEOUT(publisher.connected(), 5000);
        st.deliver(25, "00025\r");
        QTRY_COMPARE_WITH_TIMEOUT(sub.on(QStringLiteral("gui1/main/reading")).size(), 2, 5000);
        const QList<Message> got = sub.on(QStringLiteral("gui1/main/reading"));
        QCOMPARE(got[0].json().value("raw").toInt(), 24);
        QCOMPARE(got[1].json().value("record").toInt(), 2);
        QTRY_COMPARE(publisher.waiting(), 0);
    }
};

VELMORA_TEST_MAIN(MessagesTest, BrokerTest, IncomingTest, CollectorTest)
#include "tst_mqtt.moc"
