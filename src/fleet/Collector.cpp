#include "fleet/Collector.h"

#include "fleet/CollectedRecord.h"
#include "mqtt/MessageSpool.h"
#include "mqtt/MqttIncoming.h"
#include "platform/Platform.h"
#include "recording/DataRecord.h"

#include <QCoreApplication>
#include <QFileInfo>

Collector::Collector(const QString& recordDir, QObject* parent) : QObject(parent), dir_(recordDir)
{
    sync_.setSingleShot(true);
    sync_.setInterval(DataRecord::kSyncDelayMs);
    connect(&sync_, &QTimer::timeout, this, &Collector::syncFiles);
    retry_.setInterval(1000);
    connect(&retry_, &QTimer::timeout, this, &Collector::writeHeld);
    connect(&link_, &MqttLink::message, this, &Collector::take);
}

Collector::~Collector()
{
    stop();
}

QString Collector::clientId(const MqttSettings& settings)
{
    return settings.effectiveClientId() + QStringLiteral("-collector");
}

bool Collector::start(const MqttSettings& settings, QString* why)
{
    if (!settings.enabled()) {
        *why = QStringLiteral("no broker: the [MQTT] section has no Host");
        return false;
    }
    topic_ = settings.topic;
    MqttLink::Config c = MqttLink::configFor(settings, clientId(settings));
    c.cleanSession = false;
    c.subscriptions = MqttIncoming::subscriptions(settings.topic);
    // What the last run took from the broker but had not dealt with when it
    // was killed comes first; the repeats among it are known by their keys.
    const QString spoolPath = dir_.filePath(c.clientId + QStringLiteral(".spool"));
    replaying_ = true;
    for (const MessageSpool::Message& m : MessageSpool::read(spoolPath))
        take(m.topic, m.payload);
    replaying_ = false;
    c.spool = std::make_shared<MessageSpool>();
    if (!c.spool->open(spoolPath, why)) {
        *why = QStringLiteral("%1: %2").arg(spoolPath, *why);
        return false;
    }
    const QString where = settings.describe();
    const QString id = c.clientId;
    connect(&link_, &MqttLink::connected, this, [this, where] {
        setState(QStringLiteral("MQTT: connected to %1, subscribing").arg(where));
    });
    connect(&link_, &MqttLink::subscribed, this, [this, where, id] {
        setState(QStringLiteral("MQTT: collecting from %1 as %2").arg(where, id));
    });
    connect(&link_, &MqttLink::connectFailed, this, [this, where](const QString& text) {
        setState(QStringLiteral("MQTT: can't reach %1 (%2); trying again").arg(where, text));
    });
    connect(&link_, &MqttLink::disconnected, this, [this, where](const QString& text) {
        setState(QStringLiteral("MQTT: lost %1 (%2); connecting again").arg(where, text));
    });
    if (!link_.start(c, why))
        return false;
    setState(QStringLiteral("MQTT: connecting to %1").arg(where));
    return true;
}

void Collector::stop()
{
    link_.stop();
    // Messages the connection took (and acknowledged) before it ended may
    // still wait in this thread's queue: they are written too.
    QCoreApplication::sendPostedEvents(&link_, QEvent::MetaCall);
    retry_.stop();
    writeHeld();
    retry_.stop();
    if (const qint64 lost = held_.clear())
        Q_EMIT note(QStringLiteral("%1 lines (records, their keys, day marks) could not be written")
                        .arg(lost));
    sync_.stop();
    syncFiles();
    closeFiles();
}

void Collector::reject(const QString& station, const QByteArray& topic, const QString& why)
{
    Q_EMIT rejected(station, topic, why, ++rejects_[station]);
}

SeenReadings& Collector::seenOf(const QString& station)
{
    auto& s = seen_[station];
    if (!s)
        s = std::make_unique<SeenReadings>(
            QDir(dir_.filePath(station)).filePath(QLatin1String(SeenReadings::kJournalName)));
    return *s;
}

void Collector::take(const QByteArray& topic, const QByteArray& payload)
{
    const MqttIncoming::Message m = MqttIncoming::parse(topic_, topic, payload);
    if (m.kind == MqttIncoming::Kind::Rejected)
        return reject(m.station, topic, m.why);
    if (!CollectedRecord::usableFolderName(m.station))
        return reject(m.station, topic, QStringLiteral("the client id can't be a folder name"));
    if (m.kind == MqttIncoming::Kind::Status)
        return Q_EMIT stationStatus(m.station, m.online);
    if (m.kind != MqttIncoming::Kind::Reading)
        return; // an alarm repeats a reading, which carries the level itself

    SeenReadings& seen = seenOf(m.station);
    const QByteArray key = SeenReadings::key(m.reading);
    if (seen.contains(key)) {
        ++duplicates_;
        return;
    }
    const QDir folder(dir_.filePath(m.station));
    const QDateTime local = CollectedRecord::localTime(m.reading);
    const QString day = folder.filePath(DataRecord::textFileName(local));
    if (!dayFiles_.contains(day)) {
        dayFiles_.insert(day);
        if (!QFileInfo::exists(day))
            held_.add(day, DataRecord::startLine(local));
    }
    // The key follows its record: a key in the journal means a written record.
    const QString path = folder.filePath(CollectedRecord::fileName(m.reading));
    const QByteArray record = CollectedRecord::bytes(m.reading);
    // A kill between a record and its key leaves the record last in its
    // file, its key missing, and the message in the spool: it is not written again.
    if (replaying_ && held_.empty() && endsWith(path, record)) {
        held_.add(seen.journalPath(), seen.add(key));
        ++duplicates_;
        writeHeld();
        return;
    }
    held_.add(path, record);
    held_.add(seen.journalPath(), seen.add(key));
    ++written_;
    writeHeld();
}

bool Collector::endsWith(const QString& path, const QByteArray& bytes)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly) || f.size() < bytes.size())
        return false;
    f.seek(f.size() - bytes.size());
    return f.read(bytes.size()) == bytes;
}

bool Collector::append(const QString& path, const QByteArray& bytes, QString* why)
{
    auto& f = files_[path];
    if (!f)
        f = std::make_unique<QFile>();
    if (!f->isOpen() && !QDir().mkpath(QFileInfo(path).absolutePath())) {
        *why = QStringLiteral("the folder can't be made");
        return false;
    }
    if (!DataRecord::reopenIfGone(*f, path, why) || !DataRecord::appendWhole(*f, bytes, why))
        return false;
    touched_.insert(path);
    return true;
}

void Collector::writeHeld()
{
    QString path, why;
    const bool done = held_.writeAll([this](const QString& to, const QByteArray& bytes,
                                            QString* failed) { return append(to, bytes, failed); },
                                     &path, &why);
    if (!done) {
        if (!failing_)
            Q_EMIT note(
                QStringLiteral("%1: %2; records are kept until it can be written").arg(path, why));
        failing_ = true;
        if (!retry_.isActive())
            retry_.start();
        return;
    }
    retry_.stop();
    if (failing_) {
        failing_ = false;
        Q_EMIT note(QStringLiteral("the records kept are written now"));
        if (const qint64 lost = held_.takeOverflow())
            Q_EMIT note(QStringLiteral("%1 older records had to be given up").arg(lost));
    }
    if (!touched_.isEmpty() && !sync_.isActive())
        sync_.start();
}

void Collector::syncFiles()
{
    for (auto it = files_.begin(); it != files_.end();) {
        QString why;
        if (it->second->isOpen() && !platform::syncFile(*it->second, &why))
            Q_EMIT note(QStringLiteral("%1: not synced to the disk: %2").arg(it->first, why));
        // A file not written since the last sync (an hour gone by) is closed.
        if (!touched_.contains(it->first))
            it = files_.erase(it);
        else
            ++it;
    }
    touched_.clear();
    // Journals are cut back while nothing waits for them.
    if (!held_.empty())
        return;
    for (auto& [station, seen] : seen_) {
        if (!seen->isLong())
            continue;
        files_.erase(seen->journalPath()); // the cut journal is a new file
        QString why;
        if (!seen->compactIfLong(&why))
            Q_EMIT note(QStringLiteral("%1: %2").arg(seen->journalPath(), why));
    }
}

void Collector::closeFiles()
{
    files_.clear();
    touched_.clear();
}

void Collector::setState(const QString& text)
{
    if (text == state_)
        return;
    state_ = text;
    Q_EMIT stateChanged(text);
}
