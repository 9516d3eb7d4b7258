#include "mqtt/MqttMessages.h"

#include "recording/DataRecord.h"

#include <QDateTime>

namespace MqttMessages {

namespace {
// "-1.5", "0.0", "12.3": one decimal of a value in tenths, exact.
QByteArray tenths(int raw)
{
    const int a = raw < 0 ? -raw : raw;
    return (raw < 0 ? "-" : "") + QByteArray::number(a / 10) + '.' + QByteArray::number(a % 10);
}

QByteArray fields(const Reading& r)
{
    QByteArray out;
    out.reserve(128);
    out += "{\"time_utc\":\"";
    out += QDateTime::fromMSecsSinceEpoch(r.utcMs, Qt::UTC)
               .toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzzZ"))
               .toLatin1();
    out += "\",\"raw\":" + QByteArray::number(r.raw);
    out += ",\"ppm\":" + tenths(r.raw);
    out += ",\"alarm_level\":" + QByteArray::number(r.alarmLevel);
    out += ",\"record\":" + QByteArray::number(r.record);
    out += ",\"address\":" + (r.address < 0 ? QByteArray("null") : QByteArray::number(r.address));
    if (r.second >= 0)
        out += ",\"second_value\":" + QByteArray::number(r.second);
    return out;
}
} // namespace

QByteArray channel(int address)
{
    return address < 0 ? QByteArray("main") : QByteArray::number(address).rightJustified(3, '0');
}

QByteArray prefix(const QString& topic, const QString& clientId)
{
    return topic.toUtf8() + '/' + clientId.toUtf8() + '/';
}

QByteArray readingSubtopic(int address)
{
    return channel(address) + "/reading";
}

QByteArray alarmSubtopic(int address)
{
    return channel(address) + "/alarm";
}

QByteArray statusTopic(const QString& topic, const QString& clientId)
{
    return prefix(topic, clientId) + "status";
}

QByteArray readingTopic(const QString& topic, const QString& clientId, int address)
{
    return prefix(topic, clientId) + readingSubtopic(address);
}

QByteArray alarmTopic(const QString& topic, const QString& clientId, int address)
{
    return prefix(topic, clientId) + alarmSubtopic(address);
}

QByteArray readingPayload(const Reading& r)
{
    return fields(r) + '}';
}

QByteArray alarmPayload(const Reading& r)
{
    return fields(r) + ",\"state\":\"" + (r.alarmLevel > 0 ? "raised" : "cleared") + "\"}";
}

int alarmLevel(int raw, int limit1, int limit2)
{
    return DataRecord::alarmDigit(double(raw), limit1, limit2) - '0';
}

} // namespace MqttMessages
