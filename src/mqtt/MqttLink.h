#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <memory>

struct MqttSettings;

class MessageSpool;

// The connection to the broker: libmosquitto, driven on a thread of its own,
// so that name look-ups, connecting and the network never hold up the
// station's thread. It connects, and after a failure or a lost connection
// connects again (1 s, doubling to 10 s). With a status topic, on every
// connection it publishes `onlinePayload` there (retained), and it leaves
// `offlinePayload` there as its last will; stop() publishes it too. On every
// connection it subscribes to `subscriptions`; what arrives on them comes as
// message(), in the order the broker sent it.
//
// Everything it reports arrives as a signal in the thread that owns it.
// publish() may be called only between connected() and the next
// disconnected(); it hands the message to libmosquitto and returns at once.
class MqttLink : public QObject
{
    Q_OBJECT
public:
    struct Config
    {
        QString host;
        int port = 1883;
        QString clientId; // the session's client id, unique per connection
        QString user;
        QString password;
        QString caFile; // TLS when set
        QByteArray statusTopic;
        QByteArray onlinePayload = "online";
        QByteArray offlinePayload = "offline";
        int keepaliveSeconds = 20;
        // Off: the broker keeps the session of `clientId` (its subscriptions
        // and the QoS 1 messages for them) while the client is away.
        bool cleanSession = true;
        QList<QByteArray> subscriptions; // topic filters, subscribed at QoS 1
        // Set: each message is kept there until message() has returned.
        std::shared_ptr<MessageSpool> spool;
        int connectTimeoutMs = 10000;
    };
    // The broker, account and TLS of the [MQTT] section, connecting as `clientId`.
    static Config configFor(const MqttSettings& settings, const QString& clientId);

    explicit MqttLink(QObject* parent = nullptr);
    ~MqttLink() override;

    // Checks the settings that can be checked here (the CA file) and starts
    // the thread; false, with the reason, when they are wrong.
    bool start(const Config& config, QString* why);
    // Publishes the offline status when connected, disconnects, and waits at
    // most `waitMs` for the thread (a look-up of a dead name server may take
    // longer; the thread then ends by itself). Messages that arrived until
    // then are still queued to this object's thread as message().
    void stop(int waitMs = 2000);
    bool running() const;

    // The message id, or -1 when it could not be handed over (no connection).
    int publish(const QByteArray& topic, const QByteArray& payload, int qos, bool retain);

    struct Shared; // between this object and its thread

Q_SIGNALS:
    void connected();
    // A connection attempt failed: the name, the connection, or the broker refused.
    void connectFailed(const QString& why);
    void disconnected(const QString& why);
    // The broker acknowledged the message with this id (QoS 1).
    void delivered(int mid);
    // The broker confirmed the subscriptions of this connection.
    void subscribed();
    // A message arrived on one of the subscriptions; `retained` when the
    // broker kept it from before this connection.
    void message(const QByteArray& topic, const QByteArray& payload, bool retained);

private:
    std::shared_ptr<Shared> shared_;
};
