#include "mqtt/MqttPublisher.h"

#include "mqtt/MqttMessages.h"
#include "station/Station.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QTime>

MqttPublisher::MqttPublisher(Station& st, QObject* parent) : QObject(parent), st_(st)
{
    st_.sinks[Station::PublishSink] = [this](double value, const QByteArray&) {
        publishReading(-1, value);
    };
    st_.lineSinks[Station::LinePublishSink] = [this](const Station::LineReading& r) {
        bool ok = false;
        const int second = r.second.trimmed().toInt(&ok);
        publishReading(r.address, r.value, ok ? second : -1);
    };
    connect(&link_, &MqttLink::connected, this, &MqttPublisher::onConnected);
    connect(&link_, &MqttLink::delivered, this, &MqttPublisher::onDelivered);
    connect(&link_, &MqttLink::connectFailed, this,
            [this](const QString& why) { onLost(why, false); });
    connect(&link_, &MqttLink::disconnected, this,
            [this](const QString& why) { onLost(why, true); });
}

MqttPublisher::~MqttPublisher()
{
    st_.sinks[Station::PublishSink] = nullptr;
    st_.lineSinks[Station::LinePublishSink] = nullptr;
    link_.stop();
}

bool MqttPublisher::apply(const MqttSettings& settings)
{
    if (settings == settings_ && link_.running())
        return true;
    if (!settings.enabled()) {
        stop();
        settings_ = settings;
        return true;
    }
    // Another broker or name: what waits goes there, sent again from the start.
    link_.stop();
    forgetInFlight();
    settings_ = settings;
    const QString clientId = settings.effectiveClientId();
    prefix_ = MqttMessages::prefix(settings.topic, clientId);
    // Each process connects under its own id, so two stations that share a
    // name don't keep taking the connection from each other.
    MqttLink::Config c = MqttLink::configFor(
        settings, QStringLiteral("%1-%2").arg(clientId).arg(QCoreApplication::applicationPid()));
    c.statusTopic = MqttMessages::statusTopic(settings.topic, clientId);
    QString why;
    if (!link_.start(c, &why)) {
        queue_.clear();
        setState(QStringLiteral("MQTT: %1; not publishing").arg(why));
        return false;
    }
    setState(QStringLiteral("MQTT: connecting to %1").arg(settings.describe()));
    return true;
}

void MqttPublisher::stop()
{
    link_.stop();
    connected_ = false;
    inFlight_ = 0;
    queue_.clear();
    setState(QString());
}

void MqttPublisher::flush(int ms)
{
    const QDeadlineTimer deadline(ms);
    while (connected_ && !queue_.empty() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents, 20);
}

void MqttPublisher::publishReading(int address, double raw, int second)
{
    if (!link_.running())
        return;
    MqttMessages::Reading r;
    r.utcMs = QDateTime::currentMSecsSinceEpoch();
    r.raw = qRound(raw);
    r.alarmLevel = MqttMessages::alarmLevel(r.raw, st_.limit1, st_.limit2);
    r.record = ++records_[address];
    r.address = address;
    r.second = second;
    enqueue(MqttMessages::readingSubtopic(address), MqttMessages::readingPayload(r), false);
    int& level = levels_[address];
    if (r.alarmLevel != level) {
        level = r.alarmLevel;
        enqueue(MqttMessages::alarmSubtopic(address), MqttMessages::alarmPayload(r), true);
    }
}

void MqttPublisher::enqueue(QByteArray subtopic, QByteArray payload, bool retain)
{
    if (queue_.size() >= size_t(kMaxWaiting)) {
        // The oldest message not yet handed over gives way.
        queue_.erase(queue_.begin() + std::ptrdiff_t(inFlight_));
        if (givenUp_++ == 0)
            setState(QStringLiteral("MQTT: more than %1 messages waiting, the oldest are given up")
                         .arg(kMaxWaiting));
    }
    queue_.push_back(Message{std::move(subtopic), std::move(payload), retain});
    schedulePump();
}

void MqttPublisher::schedulePump()
{
    if (pumpScheduled_ || !connected_ || inFlight_ >= size_t(kWindow))
        return;
    pumpScheduled_ = true;
    QMetaObject::invokeMethod(this, &MqttPublisher::pump, Qt::QueuedConnection);
}

void MqttPublisher::pump()
{
    pumpScheduled_ = false;
    while (connected_ && inFlight_ < queue_.size() && inFlight_ < size_t(kWindow)) {
        Message& m = queue_[inFlight_];
        m.mid = link_.publish(prefix_ + m.subtopic, m.payload, 1, m.retain);
        if (m.mid < 0)
            break; // the connection is going; its end sends everything again
        ++inFlight_;
    }
}

void MqttPublisher::onConnected()
{
    connected_ = true;
    givenUp_ = 0;
    setState(QStringLiteral("MQTT: connected to %1").arg(settings_.describe()));
    pump();
}

void MqttPublisher::onDelivered(int mid)
{
    for (size_t i = 0; i < inFlight_; ++i) {
        if (queue_[i].mid == mid) {
            queue_.erase(queue_.begin() + std::ptrdiff_t(i));
            --inFlight_;
            break;
        }
    }
    pump();
}

void MqttPublisher::forgetInFlight()
{
    connected_ = false;
    for (size_t i = 0; i < inFlight_; ++i)
        queue_[i].mid = -1;
    inFlight_ = 0;
}

void MqttPublisher::onLost(const QString& why, bool wasConnected)
{
    forgetInFlight();
    const QString where = settings_.describe();
    setState(
        wasConnected
            ? QStringLiteral("MQTT: lost %1 at %2 (%3); readings wait in memory")
                  .arg(where, QTime::currentTime().toString(QStringLiteral("HH:mm:ss")), why)
            : QStringLiteral("MQTT: can't reach %1 (%2); trying again, readings wait in memory")
                  .arg(where, why));
}

void MqttPublisher::setState(const QString& text)
{
    if (text == state_)
        return;
    state_ = text;
    Q_EMIT stateChanged(text);
}
