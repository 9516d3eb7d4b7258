#pragma once

#include "mqtt/MqttMessages.h"

#include <QByteArray>
#include <QString>

// What a station's message says, read back from its topic and payload as pure
// functions: the receiving side of MqttMessages. Anything that is not what a
// station publishes is rejected with a reason; nothing is guessed.
namespace MqttIncoming {

inline constexpr qsizetype kMaxPayload = 64 * 1024;

enum class Kind
{
    Rejected,
    Reading,
    Alarm,
    Status
};

struct Message
{
    Kind kind = Kind::Rejected;
    // The station's client id (the topic's level after the base topic); empty
    // when the topic doesn't have one.
    QString station;
    MqttMessages::Reading reading; // Reading and Alarm
    bool raised = false;           // Alarm: "raised", else "cleared"
    bool online = false;           // Status
    QString why;                   // Rejected: the reason, readable
};

// The filters that take in every station under `topic`: its status, its
// readings and its alarms.
QList<QByteArray> subscriptions(const QString& topic);

// Reads one message that arrived under `topic` (the [MQTT] base topic).
Message parse(const QString& topic, const QByteArray& fullTopic, const QByteArray& payload);

} // namespace MqttIncoming
