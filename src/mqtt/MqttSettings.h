#pragma once

#include <QString>

// Where and how the station publishes: the [MQTT] section of Tervala.ini.
// Publishing is off while `host` is empty.
struct MqttSettings
{
    QString host;
    int port = 0; // 0: 1883, or 8883 with TLS
    QString topic = QStringLiteral("velmora");
    QString clientId; // empty: the machine's host name
    QString user;
    QString password;
    QString caFile; // TLS when set

    bool enabled() const { return !host.isEmpty(); }
    bool tls() const { return !caFile.isEmpty(); }
    int effectivePort() const { return port > 0 ? port : (tls() ? 8883 : 1883); }
    QString effectiveClientId() const;
    // "broker.site:1883 (TLS) as user": never the password.
    QString describe() const;

    bool operator==(const MqttSettings&) const = default;

    static MqttSettings read();
    // Writes every key; false when the settings file can't be written.
    bool write() const;
};
