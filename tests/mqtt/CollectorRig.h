#pragma once

// What the collector's tests stand on: a station feed that publishes chosen
// messages through the program's own MQTT connection, the collector run as
// a program (so it can be killed), and the collected files read back as the
// record viewer reads them.
#include "BrokerRig.h"
#include "mqtt/MqttLink.h"
#include "mqtt/MqttMessages.h"
#include "recording/RecordFile.h"

#include <QDir>
#include <QSet>
#include <QSignalSpy>

namespace mqtt_rig {

// Publishes at QoS 1 as a station would, and waits for the broker's acknowledgements.
class Feed
{
public:
    MqttLink link;
    QSet<int> pending;
    bool up = false;

    bool start(int port)
    {
        QObject::connect(&link, &MqttLink::connected, [this] { up = true; });
        QObject::connect(&link, &MqttLink::delivered, [this](int mid) { pending.remove(mid); });
        MqttLink::Config c;
        c.host = QStringLiteral("127.0.0.1");
        c.port = port;
        c.clientId = QStringLiteral("test-feed");
        QString why;
        return link.start(c, &why) && QTest::qWaitFor([this] { return up; }, 5000);
    }
    void send(const QByteArray& topic, const QByteArray& payload)
    {
        const int mid = link.publish(topic, payload, 1, false);
        QVERIFY(mid >= 0);
        pending.insert(mid);
    }
    void reading(const QString& station, const MqttMessages::Reading& r)
    {
        send(MqttMessages::readingTopic(QStringLiteral("velmora"), station, r.address),
             MqttMessages::readingPayload(r));
    }
    bool settle()
    {
        return QTest::qWaitFor([this] { return pending.isEmpty(); }, 5000);
    }
};

inline MqttMessages::Reading reading(qint64 utcMs, qint64 record, int raw, int level,
                                     int address = -1, int second = -1)
{
    MqttMessages::Reading r;
    r.utcMs = utcMs;
    r.record = record;
    r.raw = raw;
    r.alarmLevel = level;
    r.address = address;
    r.second = second;
    return r;
}

// The records of one collected file, as the record viewer reads them.
inline QList<RecordFile::Record> readBack(const QString& path)
{
    QList<RecordFile::Record> out;
    RecordFile::Reader r(path);
    if (!r.open())
        return out;
    r.finish();
    for (RecordFile::Record rec; r.next(rec);)
        out.append(rec);
    return out;
}

// velmora --headless --collect with a settings file of its own.
class CollectorProcess
{
public:
    QTemporaryDir cfg;
    QString dir;
    QProcess proc;
    QByteArray err;

    void start(int port)
    {
        QFile f(cfg.filePath(QStringLiteral("Tervala.ini")));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("[MQTT]\nHost=127.0.0.1\nPort=" + QByteArray::number(port) +
                "\nClientId=central\n");
        f.close();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
        proc.setProcessEnvironment(env);
        err.clear();
        proc.start(QStringLiteral(VELMORA_BIN), {"--headless", "--collect", "--record-dir", dir});
        QVERIFY(proc.waitForStarted(5000));
        QVERIFY2(QTest::qWaitFor([this] { return errors().contains("MQTT: collecting"); }, 10000),
                 qPrintable(errors()));
    }
    QString errors()
    {
        err += proc.readAllStandardError();
        return QString::fromUtf8(err);
    }
    bool stop()
    {
        proc.terminate();
        const bool ok = proc.waitForFinished(5000) && proc.exitCode() == 0;
        errors();
        return ok;
    }
    ~CollectorProcess()
    {
        proc.kill();
        proc.waitForFinished(2000);
    }
};

} // namespace mqtt_rig
