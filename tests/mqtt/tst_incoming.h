#pragma once

// Reading what stations publish: good messages of each kind, and every kind
// of bad input rejected with its reason.
#include "mqtt/MqttIncoming.h"

#include <QTest>

class IncomingTest : public QObject
{
    Q_OBJECT
    static QByteArray good() { return "{\"time_utc\":\"2026-11-24T18:30:01.007Z\",\"raw\":19,"; }

private Q_SLOTS:
    void accepted_data()
    {
        QTest::addColumn<QByteArray>("topic");
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("address");
        QTest::addColumn<int>("second");
        const QByteArray single =
            good() + "\"ppm\":1.9,\"alarm_level\":3,\"record\":12,\"address\":null";
        const QByteArray line = good() + "\"alarm_level\":0,\"record\":12,\"address\":7";
        using K = MqttIncoming::Kind;
        QTest::newRow("single reading")
            << QByteArray("site/a/st1/main/reading") << single + '}' << int(K::Reading) << -1 << -1;
        QTest::newRow("line reading")
            << QByteArray("site/a/st1/007/reading") << line + ",\"second_value\":4123}"
            << int(K::Reading) << 7 << 4123;
        QTest::newRow("line without second value")
            << QByteArray("site/a/st1/007/reading") << line + '}' << int(K::Reading) << 7 << -1;
        QTest::newRow("alarm") << QByteArray("site/a/st1/main/alarm")
                               << single + ",\"state\":\"raised\"}" << int(K::Alarm) << -1 << -1;
        QTest::newRow("status") << QByteArray("site/a/st1/status") << QByteArray("offline")
                                << int(K::Status) << -1 << -1;
    }
    void accepted()
    {
        QFETCH(QByteArray, topic);
        QFETCH(QByteArray, payload);
        QFETCH(int, kind);
        QFETCH(int, address);
        QFETCH(int, second);
        const auto m = MqttIncoming::parse(QStringLiteral("site/a"), topic, payload);
        QCOMPARE(m.why, QString());
        QCOMPARE(int(m.kind), kind);
        QCOMPARE(m.station, QStringLiteral("st1"));
        if (m.kind == MqttIncoming::Kind::Status) {
            QVERIFY(!m.online);
            return;
        }
        QCOMPARE(m.reading.utcMs,
                 QDateTime(QDate(2026, 11, 24), QTime(18, 30, 1, 7), Qt::UTC).toMSecsSinceEpoch());
        QCOMPARE(m.reading.raw, 19);
        QCOMPARE(m.reading.record, 12);
        QCOMPARE(m.reading.address, address);
        QCOMPARE(m.reading.second, second);
        QCOMPARE(m.raised, kind == int(MqttIncoming::Kind::Alarm));
    }

    void rejected_data()
    {
        QTest::addColumn<QByteArray>("topic");
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QString>("station");
        QTest::addColumn<QString>("why");
        const QByteArray t = "velmora/st1/main/reading";
        const QByteArray rest = "\"alarm_level\":0,\"record\":3,\"address\":null}";
        QTest::newRow("not JSON") << t << QByteArray("19 ppm") << "st1"
                                  << "not JSON";
        QTest::newRow("JSON array") << t << QByteArray("[1,2]") << "st1"
                                    << "not a JSON object";
        QTest::newRow("raw as text") << t << good().replace("19", "\"19\"") + rest << "st1"
                                     << "\"raw\" is not an integer";
        QTest::newRow("raw with a fraction") << t << good().replace("19", "1.9") + rest << "st1"
                                             << "\"raw\" is not an integer";
        QTest::newRow("time not UTC") << t << good().replace(".007Z", ".007") + rest << "st1"
                                      << "\"time_utc\"";
        QTest::newRow("missing record") << t << good() + "\"alarm_level\":0,\"address\":null}"
                                        << "st1"
                                        << "missing field \"record\"";
        QTest::newRow("level 2") << t << good() + QByteArray(rest).replace(":0", ":2") << "st1"
                                 << "\"alarm_level\" is 0, 1 or 3";
        QTest::newRow("address of another channel")
            << QByteArray("velmora/st1/005/reading") << good() + rest << "st1"
            << "\"address\" does not match";
        QTest::newRow("alarm without state")
            << QByteArray("velmora/st1/main/alarm") << good() + rest << "st1"
            << "missing field \"state\"";
        QTest::newRow("larger than 64 KiB")
            << t << good() + "\"pad\":\"" + QByteArray(65536, 'x') + "\"," + rest << "st1"
            << "payload larger than 65536 bytes";
        QTest::newRow("channel not an address")
            << QByteArray("velmora/st1/12a/reading") << good() + rest << "st1"
            << "unexpected topic levels";
        QTest::newRow("channel with a space")
            << QByteArray("velmora/st1/ 12/reading") << good() + rest << "st1"
            << "unexpected topic levels";
        QTest::newRow("address past 255")
            << QByteArray("velmora/st1/256/reading") << good() + rest << "st1"
            << "unexpected topic levels";
        QTest::newRow("level too many")
            << QByteArray("velmora/st1/main/x/reading") << good() + rest << "st1"
            << "unexpected topic levels";
        QTest::newRow("other base topic")
            << QByteArray("other/st1/main/reading") << good() + rest << ""
            << "unexpected topic";
        QTest::newRow("unknown status")
            << QByteArray("velmora/st1/status") << QByteArray("up") << "st1"
            << "status neither";
    }
    void rejected()
    {
        QFETCH(QByteArray, topic);
        QFETCH(QByteArray, payload);
        QFETCH(QString, station);
        QFETCH(QString, why);
        const auto m = MqttIncoming::parse(QStringLiteral("velmora"), topic, payload);
        QCOMPARE(int(m.kind), int(MqttIncoming::Kind::Rejected));
        QCOMPARE(m.station, station);
        QVERIFY2(m.why.startsWith(why), qPrintable(m.why));
    }
};
