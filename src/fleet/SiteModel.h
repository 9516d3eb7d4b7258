#pragma once

#include "mqtt/MqttIncoming.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <deque>
#include <map>

// What the control room knows of a site: every station that published on the
// broker, its channels (the single analyzer "main", or an address of its
// RS-485 line) with their last readings, and the alarms. Fed with the
// messages as they arrive (take()); no widgets.
//
// Ages and staleness run on the time a reading arrived here, so a station
// whose clock is off still shows fresh readings as fresh; the sparkline and
// the alarm list use the readings' own times.
//
// Changes are gathered and announced at most every kNotifyMs, so a site of
// hundreds of channels publishing every second costs a handful of repaints a
// second, not one per message.
class SiteModel : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 kHistoryMs = 10 * 60 * 1000;
    static constexpr qint64 kDefaultPeriodMs = 30 * 1000;
    static constexpr int kStalePeriods = 3;
    static constexpr int kNotifyMs = 250;

    enum class Level
    {
        None,
        First,
        Second
    };
    static Level levelOf(int alarmLevel);

    struct Point
    {
        qint64 utcMs;
        int raw;
    };

    struct Channel
    {
        QString station;
        QByteArray name; // "main" or "005"
        int address = -1;
        int raw = 0; // ppm x10
        int second = -1;
        qint64 utcMs = 0;     // the last reading's own time
        qint64 arrivedMs = 0; // when it arrived here
        qint64 record = 0;
        Level level = Level::None;
        qint64 periodMs = 0; // 0: not known yet
        std::deque<Point> history;

        qint64 effectivePeriodMs() const { return periodMs > 0 ? periodMs : kDefaultPeriodMs; }
        bool stale(qint64 nowMs) const
        {
            return nowMs - arrivedMs >= kStalePeriods * effectivePeriodMs();
        }
        QString key() const { return station + QLatin1Char('/') + QLatin1String(name); }
    };

    struct Station
    {
        QString id;
        bool stateKnown = false;
        bool online = false;
        qint64 changedMs = 0; // when the state last changed, as seen here
        qint64 rejects = 0;
        QList<QByteArray> channels; // in the order they appeared
    };

    struct Alarm
    {
        int id = 0;
        qint64 utcMs = 0;
        QString station;
        QByteArray channel;
        Level level = Level::None;
        int raw = 0;
        bool raised = false;
        bool acknowledged = false;
        bool older = false; // kept by the broker from before this connection
    };

    explicit SiteModel(const QString& topic, QObject* parent = nullptr);
    // The base topic of the messages to come; what is known stays.
    void setTopic(const QString& topic) { topic_ = topic; }

    // One message from the broker; `retained` as the broker marked it.
    void take(const QByteArray& topic, const QByteArray& payload, bool retained);

    const QStringList& stationOrder() const { return order_; }
    const Station* station(const QString& id) const;
    const Channel* channel(const QString& station, const QByteArray& name) const;
    int channelCount() const { return int(channels_.size()); }
    qint64 rejectsTotal() const;

    // Newest first; only those not acknowledged when `unacknowledgedOnly`.
    QList<Alarm> alarms(bool unacknowledgedOnly) const;
    bool acknowledge(int alarmId);
    int unacknowledged() const;

    // Announces what is pending now instead of at the next tick.
    void flush();

Q_SIGNALS:
    // A station or a channel was seen for the first time.
    void layoutChanged();
    // These stations' headings or these channels' tiles have something new.
    void stationsChanged(const QStringList& ids);
    void channelsChanged(const QStringList& keys);
    void alarmsChanged();
    // A raised alarm arrived that the broker didn't keep from before: the
    // moment to sound, at once rather than with the next tick.
    void alarmRaised(const SiteModel::Alarm& alarm);
    // Every reading as it arrives, for the views that draw each one.
    void readingTaken(const QString& key, int raw);
    // A message was rejected; `why` says what was wrong with it.
    void rejected(const QString& station, const QString& why);

private:
    Station& stationOf(const QString& id);
    Channel& channelOf(const QString& station, int address);
    void reading(const MqttIncoming::Message& m);
    void alarm(const MqttIncoming::Message& m, bool retained);
    void status(const MqttIncoming::Message& m);
    void touch();

    QString topic_;
    QStringList order_;
    QHash<QString, Station> stations_;
    std::map<QString, Channel> channels_; // by key()
    QList<Alarm> alarms_;                 // oldest first
    int nextAlarmId_ = 1;
    QSet<QString> dirtyStations_;
    QSet<QString> dirtyChannels_;
    bool dirtyAlarms_ = false;
    bool dirtyLayout_ = false;
    QTimer notify_;
};
