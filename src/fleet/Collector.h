#pragma once

#include "fleet/SeenReadings.h"
#include "mqtt/MqttLink.h"
#include "mqtt/MqttSettings.h"
#include "recording/HeldRecords.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <map>
#include <memory>

// The central recorder: takes every station's readings from the broker and
// writes them into the station's own data files, one folder per station (its
// client id) under the record folder, one file per channel and hour, named
// as the station names them (CollectedRecord). Each station folder also gets
// the day's text file with its "Start=" line, which tells the record viewer
// the year of the hourly files.
//
// It connects under a fixed client id with a persistent session, so the
// broker keeps the readings published while it is away and delivers them
// when it comes back. A reading delivered again is written once
// (SeenReadings). What it has taken from the broker is kept in a spool file
// in the record folder until it is dealt with (MessageSpool), so a kill
// loses none of it. Payloads that are not a station's are counted per station
// and reported by rejected(); nothing of them is written.
//
// Records go to the files in the order they arrived, each handed to the
// system at once and synced to the disk within a second. A file that can't
// be written (folder away, disk full) keeps its records, and every one after
// them, in memory (up to HeldRecords::kMax) and is tried again each second.
class Collector : public QObject
{
    Q_OBJECT
public:
    explicit Collector(const QString& recordDir, QObject* parent = nullptr);
    ~Collector() override;

    // The session's client id for `settings`: its client id and "-collector".
    static QString clientId(const MqttSettings& settings);

    // Connects to the broker of `settings` and subscribes; false, with the
    // reason, when the settings can't be used.
    bool start(const MqttSettings& settings, QString* why);
    // Ends the session, writes what is kept, syncs and closes the files.
    void stop();

    // One message from the broker: what start() wires to the connection.
    void take(const QByteArray& topic, const QByteArray& payload);

    // Readings taken for the files: written, or kept until they can be.
    qint64 written() const { return written_; }
    qint64 duplicates() const { return duplicates_; }
    int held() const { return held_.size(); }
    // Rejected payloads per station ("" for a topic without a station).
    const QHash<QString, qint64>& rejects() const { return rejects_; }
    QString recordDir() const { return dir_.path(); }

Q_SIGNALS:
    // The broker connection's state, when it changes.
    void stateChanged(const QString& text);
    // A payload was rejected; `count` is the station's running total.
    void rejected(const QString& station, const QByteArray& topic, const QString& why,
                  qint64 count);
    // A station's retained status changed.
    void stationStatus(const QString& station, bool online);
    // Trouble with the files, and its end.
    void note(const QString& text);

private:
    void reject(const QString& station, const QByteArray& topic, const QString& why);
    SeenReadings& seenOf(const QString& station);
    bool append(const QString& path, const QByteArray& bytes, QString* why);
    static bool endsWith(const QString& path, const QByteArray& bytes);
    void writeHeld();
    void syncFiles();
    void closeFiles();
    void setState(const QString& text);

    QDir dir_;
    QString topic_ = MqttSettings().topic;
    MqttLink link_;
    QString state_;
    HeldRecords held_;
    bool failing_ = false;
    bool replaying_ = false; // dealing with what the spool kept from the last run
    std::map<QString, std::unique_ptr<SeenReadings>> seen_;
    std::map<QString, std::unique_ptr<QFile>> files_;
    QSet<QString> touched_; // files written since the last sync
    QSet<QString> dayFiles_;
    QTimer sync_;
    QTimer retry_;
    QHash<QString, qint64> rejects_;
    qint64 written_ = 0;
    qint64 duplicates_ = 0;
};
