#pragma once

#include <QByteArray>
#include <QString>

// Topics and payloads of what the station publishes, as pure functions.
//   <topic>/<client>/status               "online" / "offline", retained
//   <topic>/<client>/<channel>/reading    one per accepted reading
//   <topic>/<client>/<channel>/alarm      on each change of the alarm level, retained
// The channel is "main" for the single analyzer and the address in three
// digits ("005") on the RS-485 line. Payloads are compact JSON.
namespace MqttMessages {

// One accepted reading. `address` is -1 for the single analyzer; `second`
// (the line's second value) is left out when negative.
struct Reading
{
    qint64 utcMs = 0;
    int raw = 0; // ppm x10, zero offset taken off
    int alarmLevel = 0;
    qint64 record = 0; // the channel's count of readings since the station started
    int address = -1;
    int second = -1;
};

QByteArray channel(int address);
// "<topic>/<client>/": what every topic starts with.
QByteArray prefix(const QString& topic, const QString& clientId);
// What follows the prefix: "main/reading", "005/alarm".
QByteArray readingSubtopic(int address);
QByteArray alarmSubtopic(int address);
QByteArray statusTopic(const QString& topic, const QString& clientId);
QByteArray readingTopic(const QString& topic, const QString& clientId, int address);
QByteArray alarmTopic(const QString& topic, const QString& clientId, int address);

// {"time_utc":"2026-11-24T18:30:01.123Z","raw":19,"ppm":1.9,"alarm_level":0,
//  "record":12,"address":null}; on the line "address":5 and "second_value".
QByteArray readingPayload(const Reading& r);
// The reading that changed the level, with "state":"raised" or "cleared".
QByteArray alarmPayload(const Reading& r);

// The alarm level of a reading, as the data files' alarm digit gives it:
// 0 at or below limit1, 1 above it and at or below limit2, 3 above limit2.
int alarmLevel(int raw, int limit1, int limit2);

} // namespace MqttMessages
