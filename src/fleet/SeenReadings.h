#pragma once

#include "mqtt/MqttMessages.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>
#include <deque>

// The readings a collector has already taken from one station, so that a
// reading delivered again (a QoS 1 redelivery, a station sending its
// unacknowledged messages again, also across a restart of the collector) is
// written once. A reading is known by its channel, record number and
// `time_utc` together: a station that starts again numbers from 1 but at
// new times, so none of its readings is taken for an old one.
//
// The keys are kept in a journal file beside the station's data files, one
// line per reading written ("005 12 1795631401123"), because the data files
// can't give them back: the line's records carry no record number, and a
// record's time has only seconds. The collector appends each key right after
// its record, in the same ordered write queue. Only the last kKeep keys
// matter: a reading comes again within a few hundred messages of its first
// delivery (the broker's and the station's windows of unacknowledged
// messages), so older keys are dropped, and the journal is cut back to them
// when it has grown to twice that.
class SeenReadings
{
public:
    static constexpr int kKeep = 5000;
    static constexpr char kJournalName[] = "collected.keys";

    // Loads the keys of the journal at `path` (none when it doesn't exist).
    explicit SeenReadings(const QString& journalPath);

    static QByteArray key(const MqttMessages::Reading& r);
    bool contains(const QByteArray& key) const { return keys_.contains(key); }
    // Remembers `key`; returns the journal line to append for it.
    QByteArray add(const QByteArray& key);
    // The journal has grown to twice kKeep lines.
    bool isLong() const { return journalLines_ >= 2 * qint64(kKeep); }
    // After the journal's appends were written: cuts it back to the last
    // kKeep keys when it has grown past twice that. False when it can't be.
    bool compactIfLong(QString* why);

    QString journalPath() const { return path_; }
    int size() const { return int(order_.size()); }

private:
    void remember(const QByteArray& key);

    QString path_;
    QSet<QByteArray> keys_;
    std::deque<QByteArray> order_; // oldest first
    qint64 journalLines_ = 0;
};
