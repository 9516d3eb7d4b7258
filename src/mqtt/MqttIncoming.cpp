#include "mqtt/MqttIncoming.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>
#include <QList>
#include <algorithm>
#include <cmath>
#include <limits>

namespace MqttIncoming {

namespace {

Message rejected(const QString& station, const QString& why)
{
    Message m;
    m.station = station;
    m.why = why;
    return m;
}

// "main" is the single analyzer (-1), three digits an address on the line.
bool channelAddress(const QByteArray& level, int* address)
{
    if (level == "main") {
        *address = -1;
        return true;
    }
    if (level.size() != 3 ||
        !std::all_of(level.begin(), level.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return false;
    *address = level.toInt();
    return *address <= 255;
}

// An integer of JSON: a number without a fraction, within `min`..`max`.
bool integerField(const QJsonObject& o, const char* key, qint64 min, qint64 max, qint64* out,
                  QString* why)
{
    const QJsonValue v = o.value(QLatin1String(key));
    if (v.isUndefined()) {
        *why = QStringLiteral("missing field \"%1\"").arg(QLatin1String(key));
        return false;
    }
    const double d = v.toDouble(std::nan(""));
    if (!v.isDouble() || d != std::floor(d) || d < double(min) || d > double(max)) {
        *why = QStringLiteral("\"%1\" is not an integer from %2 to %3")
                   .arg(QLatin1String(key))
                   .arg(min)
                   .arg(max);
        return false;
    }
    *out = qint64(d);
    return true;
}

bool readingFields(const QJsonObject& o, int address, MqttMessages::Reading* r, QString* why)
{
    const QJsonValue time = o.value(QLatin1String("time_utc"));
    if (time.isUndefined()) {
        *why = QStringLiteral("missing field \"time_utc\"");
        return false;
    }
    const QDateTime t = QDateTime::fromString(time.toString(), Qt::ISODateWithMs);
    if (!time.isString() || !t.isValid() || t.timeSpec() != Qt::UTC) {
        *why = QStringLiteral("\"time_utc\" is not a UTC time (2026-11-24T18:30:01.123Z)");
        return false;
    }
    qint64 raw = 0, level = 0, record = 0;
    // What a data file's number and value fields hold.
    constexpr qint64 kMaxRaw = 999999999;
    if (!integerField(o, "raw", -kMaxRaw, kMaxRaw, &raw, why) ||
        !integerField(o, "alarm_level", 0, 3, &level, why) ||
        !integerField(o, "record", 1, kMaxRaw, &record, why))
        return false;
    if (level == 2) {
        *why = QStringLiteral("\"alarm_level\" is 0, 1 or 3, not 2");
        return false;
    }
    const QJsonValue addressValue = o.value(QLatin1String("address"));
    if (addressValue.isUndefined()) {
        *why = QStringLiteral("missing field \"address\"");
        return false;
    }
    const bool matches = address < 0
                             ? addressValue.isNull()
                             : addressValue.isDouble() && addressValue.toDouble() == address;
    if (!matches) {
        *why = QStringLiteral("\"address\" does not match the topic's channel");
        return false;
    }
    qint64 second = -1;
    if (o.contains(QLatin1String("second_value")) &&
        !integerField(o, "second_value", 0, kMaxRaw, &second, why))
        return false;
    r->utcMs = t.toMSecsSinceEpoch();
    r->raw = int(raw);
    r->alarmLevel = int(level);
    r->record = record;
    r->address = address;
    r->second = int(second);
    return true;
}

} // namespace

QList<QByteArray> subscriptions(const QString& topic)
{
    const QByteArray base = topic.toUtf8();
    return {base + "/+/status", base + "/+/+/reading", base + "/+/+/alarm"};
}

Message parse(const QString& topic, const QByteArray& fullTopic, const QByteArray& payload)
{
    const QByteArray base = topic.toUtf8() + '/';
    const QList<QByteArray> levels =
        fullTopic.startsWith(base) ? fullTopic.mid(base.size()).split('/') : QList<QByteArray>();
    const QString station = levels.isEmpty() ? QString() : QString::fromUtf8(levels.front());
    const bool statusTopic = levels.size() == 2 && levels[1] == "status";
    const bool channelTopic =
        levels.size() == 3 && (levels[2] == "reading" || levels[2] == "alarm");
    int address = -1;
    if (station.isEmpty() || (!statusTopic && !channelTopic) ||
        (channelTopic && !channelAddress(levels[1], &address)))
        return rejected(station, QStringLiteral("unexpected topic levels"));
    if (payload.size() > kMaxPayload)
        return rejected(station, QStringLiteral("payload larger than %1 bytes").arg(kMaxPayload));

    if (statusTopic) {
        if (payload != "online" && payload != "offline")
            return rejected(station, QStringLiteral("status neither \"online\" nor \"offline\""));
        Message m;
        m.kind = Kind::Status;
        m.station = station;
        m.online = payload == "online";
        return m;
    }

    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(payload, &error);
    if (error.error != QJsonParseError::NoError)
        return rejected(station, QStringLiteral("not JSON: %1").arg(error.errorString()));
    if (!doc.isObject())
        return rejected(station, QStringLiteral("not a JSON object"));
    const QJsonObject o = doc.object();
    Message m;
    m.station = station;
    if (!readingFields(o, address, &m.reading, &m.why))
        return m;
    if (levels[2] == "alarm") {
        const QJsonValue state = o.value(QLatin1String("state"));
        if (state.isUndefined())
            return rejected(station, QStringLiteral("missing field \"state\""));
        if (state != QJsonValue(QLatin1String("raised")) &&
            state != QJsonValue(QLatin1String("cleared")))
            return rejected(station,
                            QStringLiteral("\"state\" neither \"raised\" nor \"cleared\""));
        m.raised = state.toString() == QLatin1String("raised");
        m.kind = Kind::Alarm;
    } else {
        m.kind = Kind::Reading;
    }
    return m;
}

} // namespace MqttIncoming
