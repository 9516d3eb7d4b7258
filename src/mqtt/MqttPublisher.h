#pragma once

#include "mqtt/MqttLink.h"
#include "mqtt/MqttSettings.h"

#include <QHash>
#include <QObject>
#include <deque>

class Station;

// Publishes every accepted reading, and each change of a channel's alarm
// level, to the MQTT broker of the [MQTT] settings (see MqttMessages for the
// topics). It installs itself as the last sink of the reading path, for the
// single analyzer and for the line. The reading path only puts the message in
// a queue; the queue is handed to the connection from the event loop, at most
// kWindow messages unacknowledged at a time, and a message leaves the queue
// when the broker acknowledges it (QoS 1). While the broker is away the
// messages wait, in order, up to kMaxWaiting; a lost connection sends the
// unacknowledged ones again, so a consumer may see a message twice and tells
// by its record number and time.
class MqttPublisher : public QObject
{
    Q_OBJECT
public:
    static constexpr qsizetype kMaxWaiting = 172800; // two days at one reading a second
    static constexpr int kWindow = 100;

    explicit MqttPublisher(Station& st, QObject* parent = nullptr);
    ~MqttPublisher() override;

    // Publishes with these settings from now on, what waits included; with an
    // empty host it stops. False, with the reason in the state text, when
    // they can't be used (what waits is then given up).
    bool apply(const MqttSettings& settings);
    // Stops publishing: the status turns "offline"; what waits is given up.
    void stop();
    // At a clean exit: while connected, lets what waits reach the broker,
    // for at most `ms`.
    void flush(int ms = 2000);

    const MqttSettings& settings() const { return settings_; }
    bool connected() const { return connected_; }
    QString stateText() const { return state_; }
    qsizetype waiting() const { return qsizetype(queue_.size()); }
    qint64 givenUp() const { return givenUp_; }

    // The reading path's entry: one accepted reading of a channel (-1 the
    // single analyzer), raw in ppm x10 with the zero offset taken off;
    // `second` is the line's second value (-1 none).
    void publishReading(int address, double raw, int second = -1);

Q_SIGNALS:
    // The broker's state for the status bar (stderr headless), when it changes.
    void stateChanged(const QString& text);

private:
    struct Message
    {
        QByteArray subtopic; // behind the prefix of the settings in force when it is sent
        QByteArray payload;
        bool retain = false;
        int mid = -1; // handed to the connection, awaiting its acknowledgement
    };
    void enqueue(QByteArray subtopic, QByteArray payload, bool retain);
    void schedulePump();
    void pump();
    void onConnected();
    void onDelivered(int mid);
    void onLost(const QString& why, bool wasConnected);
    // The connection is gone: nothing is acknowledged any more, all is sent again.
    void forgetInFlight();
    void setState(const QString& text);

    Station& st_;
    MqttLink link_;
    MqttSettings settings_;
    QByteArray prefix_; // "<topic>/<client>/"
    std::deque<Message> queue_;
    size_t inFlight_ = 0; // the first inFlight_ messages of queue_ are handed over
    bool connected_ = false;
    bool pumpScheduled_ = false;
    qint64 givenUp_ = 0;
    QHash<int, qint64> records_; // per channel
    QHash<int, int> levels_;     // per channel
    QString state_;
};
