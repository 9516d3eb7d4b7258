#include "mqtt/MqttSettings.h"

#include "station/IniFile.h"
#include "station/SettingsKeys.h"

#include <QSysInfo>

namespace {
QString readKey(const char* key)
{
    return ReadIni(QLatin1String(Ini::SecMQTT), QLatin1String(key), QLatin1String(Ini::File))
        .trimmed();
}

bool writeKey(const char* key, const QString& value)
{
    return WriteIni(QLatin1String(Ini::SecMQTT), QLatin1String(key), value,
                    QLatin1String(Ini::File));
}
} // namespace

QString MqttSettings::effectiveClientId() const
{
    if (!clientId.isEmpty())
        return clientId;
    const QString host = QSysInfo::machineHostName();
    return host.isEmpty() ? QStringLiteral("velmora") : host;
}

QString MqttSettings::describe() const
{
    QString text = QStringLiteral("%1:%2").arg(host).arg(effectivePort());
    if (tls())
        text += QStringLiteral(" (TLS)");
    if (!user.isEmpty())
        text += QStringLiteral(" as ") + user;
    return text;
}

MqttSettings MqttSettings::read()
{
    MqttSettings s;
    s.host = readKey(Ini::MqttHost);
    s.port = readKey(Ini::MqttPort).toInt();
    if (const QString t = readKey(Ini::MqttTopic); !t.isEmpty())
        s.topic = t;
    s.clientId = readKey(Ini::MqttClientId);
    s.user = readKey(Ini::MqttUser);
    s.password = readKey(Ini::MqttPassword);
    s.caFile = readKey(Ini::MqttCAFile);
    return s;
}

bool MqttSettings::write() const
{
    bool ok = writeKey(Ini::MqttHost, host);
    ok = writeKey(Ini::MqttPort, port > 0 ? QString::number(port) : QString()) && ok;
    ok = writeKey(Ini::MqttTopic, topic) && ok;
    ok = writeKey(Ini::MqttClientId, clientId) && ok;
    ok = writeKey(Ini::MqttUser, user) && ok;
    ok = writeKey(Ini::MqttPassword, password) && ok;
    return writeKey(Ini::MqttCAFile, caFile) && ok;
}
