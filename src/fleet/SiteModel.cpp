#include "fleet/SiteModel.h"

#include <QDateTime>
#include <algorithm>

namespace {

// Intervals outside this are not a polling period: a restart, a gap, a burst.
constexpr qint64 kMinPeriodMs = 50;
constexpr qint64 kMaxPeriodMs = 10 * 60 * 1000;
// The list keeps the newest alarms; older ones fall off the end.
constexpr int kMaxAlarms = 5000;

qint64 now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace

SiteModel::Level SiteModel::levelOf(int alarmLevel)
{
    // The data files' alarm digit: 0 none, 1 above the first threshold,
    // 3 (anything higher) above the second.
    if (alarmLevel <= 0)
        return Level::None;
    return alarmLevel == 1 ? Level::First : Level::Second;
}

SiteModel::SiteModel(const QString& topic, QObject* parent) : QObject(parent), topic_(topic)
{
    notify_.setSingleShot(true);
    notify_.setInterval(kNotifyMs);
    connect(&notify_, &QTimer::timeout, this, &SiteModel::flush);
}

void SiteModel::take(const QByteArray& topic, const QByteArray& payload, bool retained)
{
    const MqttIncoming::Message m = MqttIncoming::parse(topic_, topic, payload);
    switch (m.kind) {
    case MqttIncoming::Kind::Rejected: {
        Station& s = stationOf(m.station);
        ++s.rejects;
        dirtyStations_.insert(s.id);
        touch();
        Q_EMIT rejected(m.station, m.why);
        return;
    }
    case MqttIncoming::Kind::Reading:
        return reading(m);
    case MqttIncoming::Kind::Alarm:
        return alarm(m, retained);
    case MqttIncoming::Kind::Status:
        return status(m);
    }
}

SiteModel::Station& SiteModel::stationOf(const QString& id)
{
    auto it = stations_.find(id);
    if (it == stations_.end()) {
        it = stations_.insert(id, Station{});
        it->id = id;
        order_.append(id);
        dirtyLayout_ = true;
    }
    return *it;
}

SiteModel::Channel& SiteModel::channelOf(const QString& station, int address)
{
    const QByteArray name = MqttMessages::channel(address);
    const QString key = station + QLatin1Char('/') + QLatin1String(name);
    auto it = channels_.find(key);
    if (it == channels_.end()) {
        Channel c;
        c.station = station;
        c.name = name;
        c.address = address;
        it = channels_.emplace(key, std::move(c)).first;
        stationOf(station).channels.append(name);
        dirtyLayout_ = true;
    }
    return it->second;
}

void SiteModel::reading(const MqttIncoming::Message& m)
{
    const MqttMessages::Reading& r = m.reading;
    Channel& c = channelOf(m.station, r.address);
    // The period is the interval between two readings in a row, on the
    // station's own clock; a station that restarted (record 1 again) or
    // skipped readings tells nothing about it.
    if (c.record > 0 && r.record == c.record + 1) {
        const qint64 interval = r.utcMs - c.utcMs;
        if (interval >= kMinPeriodMs && interval <= kMaxPeriodMs)
            c.periodMs = interval;
    }
    c.raw = r.raw;
    c.second = r.second;
    c.utcMs = r.utcMs;
    c.arrivedMs = now();
    c.record = r.record;
    c.level = levelOf(r.alarmLevel);

    // One point per second of the station's clock, the one farthest from
    // zero, so a fast channel keeps its peaks within a bounded history.
    if (!c.history.empty() && c.history.back().utcMs / 1000 == r.utcMs / 1000) {
        if (qAbs(r.raw) > qAbs(c.history.back().raw))
            c.history.back().raw = r.raw;
    } else if (c.history.empty() || r.utcMs > c.history.back().utcMs) {
        c.history.push_back({r.utcMs, r.raw});
    } else {
        c.history.clear(); // the station's clock went back: start again
        c.history.push_back({r.utcMs, r.raw});
    }
    while (c.history.front().utcMs < r.utcMs - kHistoryMs)
        c.history.pop_front();
    dirtyChannels_.insert(c.key());
    touch();
    Q_EMIT readingTaken(c.key(), c.raw);
}

void SiteModel::alarm(const MqttIncoming::Message& m, bool retained)
{
    const MqttMessages::Reading& r = m.reading;
    const QByteArray name = MqttMessages::channel(r.address);
    // A new connection finds the kept alarms again: each is listed once.
    if (retained && std::any_of(alarms_.cbegin(), alarms_.cend(), [&](const Alarm& a) {
            return a.station == m.station && a.channel == name && a.utcMs == r.utcMs &&
                   a.raised == m.raised;
        }))
        return;
    Channel& c = channelOf(m.station, r.address);
    if (r.utcMs >= c.utcMs) {
        c.level = levelOf(r.alarmLevel);
        dirtyChannels_.insert(c.key());
    }
    Alarm a;
    a.id = nextAlarmId_++;
    a.utcMs = r.utcMs;
    a.station = m.station;
    a.channel = c.name;
    a.level = levelOf(r.alarmLevel);
    a.raw = r.raw;
    a.raised = m.raised;
    a.older = retained;
    alarms_.append(a);
    if (alarms_.size() > kMaxAlarms)
        alarms_.removeFirst();
    dirtyAlarms_ = true;
    touch();
    if (a.raised && !a.older)
        Q_EMIT alarmRaised(a);
}

void SiteModel::status(const MqttIncoming::Message& m)
{
    Station& s = stationOf(m.station);
    if (s.stateKnown && s.online == m.online)
        return;
    s.stateKnown = true;
    s.online = m.online;
    s.changedMs = now();
    dirtyStations_.insert(s.id);
    touch();
}

void SiteModel::touch()
{
    if (!notify_.isActive())
        notify_.start();
}

void SiteModel::flush()
{
    notify_.stop();
    if (dirtyLayout_) {
        dirtyLayout_ = false;
        Q_EMIT layoutChanged();
    }
    if (!dirtyStations_.isEmpty()) {
        const QStringList ids(dirtyStations_.begin(), dirtyStations_.end());
        dirtyStations_.clear();
        Q_EMIT stationsChanged(ids);
    }
    if (!dirtyChannels_.isEmpty()) {
        const QStringList keys(dirtyChannels_.begin(), dirtyChannels_.end());
        dirtyChannels_.clear();
        Q_EMIT channelsChanged(keys);
    }
    if (dirtyAlarms_) {
        dirtyAlarms_ = false;
        Q_EMIT alarmsChanged();
    }
}

const SiteModel::Station* SiteModel::station(const QString& id) const
{
    const auto it = stations_.constFind(id);
    return it == stations_.cend() ? nullptr : &*it;
}

const SiteModel::Channel* SiteModel::channel(const QString& station, const QByteArray& name) const
{
    const auto it = channels_.find(station + QLatin1Char('/') + QLatin1String(name));
    return it == channels_.end() ? nullptr : &it->second;
}

qint64 SiteModel::rejectsTotal() const
{
    qint64 n = 0;
    for (const Station& s : stations_)
        n += s.rejects;
    return n;
}

QList<SiteModel::Alarm> SiteModel::alarms(bool unacknowledgedOnly) const
{
    QList<Alarm> out;
    for (auto it = alarms_.crbegin(); it != alarms_.crend(); ++it)
        if (!unacknowledgedOnly || !it->acknowledged)
            out.append(*it);
    // Newest first by the alarms' own times; arrival order breaks ties.
    std::stable_sort(out.begin(), out.end(),
                     [](const Alarm& a, const Alarm& b) { return a.utcMs > b.utcMs; });
    return out;
}

bool SiteModel::acknowledge(int alarmId)
{
    for (Alarm& a : alarms_) {
        if (a.id == alarmId && !a.acknowledged) {
            a.acknowledged = true;
            dirtyAlarms_ = true;
            touch();
            return true;
        }
    }
    return false;
}

int SiteModel::unacknowledged() const
{
    return int(std::count_if(alarms_.cbegin(), alarms_.cend(),
                             [](const Alarm& a) { return !a.acknowledged; }));
}
