#include "recording/LineRecorder.h"

#include "recording/DataRecord.h"
#include "station/Notifier.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

using DataRecord::hourOf;
using DataRecord::kAppend;

namespace {
QString keptNote(const QString& path, const QString& why, const char* what)
{
    return QStringLiteral("%1: %2; %3 are kept until it can be written").arg(path, why, what);
}
} // namespace

LineRecorder::LineRecorder(Station& st, QObject* parent)
    : QObject(parent), st_(st), disk_(st.notifier()), day_(st)
{
    day_.failed = [this](const QString& path, const QString& why) {
        if (day_.heldCount() == 1) // the first line that fails: later ones are kept quietly
            st_.notifier().note(keptNote(path, why, "its lines"));
    };
    sync_.setSingleShot(true);
    sync_.setInterval(DataRecord::kSyncDelayMs);
    connect(&sync_, &QTimer::timeout, this, &LineRecorder::syncAll);
    st_.lineSinks[Station::LineFileSink] = [this](const Station::LineReading& r) { write(r); };
}

LineRecorder::~LineRecorder()
{
    end();
    st_.lineSinks[Station::LineFileSink] = nullptr;
}

bool LineRecorder::open(int address, const QString& path, const QDateTime& hour)
{
    auto c = std::make_unique<Channel>();
    c->file.setFileName(path);
    c->path = path;
    c->hour = hour;
    const bool opened = c->file.open(kAppend);
    // A file that can't be opened now (folder away, disk full) is opened by
    // the first record that can write it; until then its records are kept.
    if (!opened)
        st_.notifier().message(keptNote(path, c->file.errorString(), "its records"),
                               Notifier::Icon::Exclamation);
    channels_[size_t(address)] = std::move(c);
    return opened;
}

bool LineRecorder::start(const QList<int>& addresses)
{
    end();
    const QString folder = st_.dataFolder.isEmpty() ? QDir::currentPath() : st_.dataFolder;
    const QDateTime now = clock();
    bool asking = true;
    for (int a : addresses) {
        if (a < 0 || a >= Station::kAddresses)
            continue;
        if (st_.lineAutoName[size_t(a)]) {
            open(a, QDir(folder).filePath(DataRecord::lineFileName(now, a)), hourOf(now));
            continue;
        }
        if (!asking || !chooseFile)
            continue;
        // The suggested name tells the operator which channel the dialog is for.
        const QString suggested =
            QDir(folder).filePath(QStringLiteral("A%1.dat").arg(a, 3, 10, QLatin1Char('0')));
        const QString path =
            chooseFile(QLatin1String(kChooserTitle), QLatin1String(kChooserFilter), suggested);
        if (path.isEmpty())
            asking = false;
        else
            open(a, path, QDateTime());
    }
    st_.recording = openFiles() > 0;
    if (st_.recording)
        day_.open(folder, now);
    return st_.recording;
}

void LineRecorder::syncAll()
{
    for (auto& c : channels_) {
        if (c)
            disk_.sync(c->file);
    }
}

void LineRecorder::end()
{
    sync_.stop();
    syncAll();
    for (auto& c : channels_) {
        if (c && !writeHeld(*c))
            st_.notifier().message(
                QStringLiteral("%1 records not written to %2").arg(c->held.clear()).arg(c->path),
                Notifier::Icon::Exclamation);
        c.reset();
    }
    const QString dayPath = day_.path();
    qint64 lost = 0;
    if (!day_.stop(clock(), &lost))
        st_.notifier().message(QStringLiteral("%1 lines not written to %2").arg(lost).arg(dayPath),
                               Notifier::Icon::Exclamation);
    st_.recording = false;
}

int LineRecorder::openFiles() const
{
    return int(std::count_if(channels_.begin(), channels_.end(),
                             [](const auto& c) { return c != nullptr; }));
}

QString LineRecorder::pathOf(int address) const
{
    if (address < 0 || address >= Station::kAddresses || !channels_[size_t(address)])
        return {};
    return channels_[size_t(address)]->path;
}

int LineRecorder::heldCount(int address) const
{
    if (address < 0 || address >= Station::kAddresses || !channels_[size_t(address)])
        return 0;
    return channels_[size_t(address)]->held.size();
}

bool LineRecorder::write(const Station::LineReading& r)
{
    if (r.address < 0 || r.address >= Station::kAddresses || !channels_[size_t(r.address)])
        return false;
    Channel& c = *channels_[size_t(r.address)];
    const QDateTime now = clock();
    if (c.hour.isValid() && hourOf(now) != c.hour) {
        // A new hour: the channel's file changes with it, as the single analyzer's does.
        disk_.sync(c.file);
        c.file.close();
        c.path = QDir(QFileInfo(c.path).absolutePath())
                     .filePath(DataRecord::lineFileName(now, r.address));
        c.hour = hourOf(now);
    }
    day_.rotate(now);
    if (day_.heldCount() > 0) // marks kept while the folder was away go with the records
        day_.writeHeld();
    c.held.add(c.path,
               DataRecord::lineRecord(now, r.address, r.first, r.second, st_.zeroPosition,
                                      st_.limit1, st_.limit2, st_.lineRus[size_t(r.address)]));
    return writeHeld(c);
}

bool LineRecorder::writeHeld(Channel& c)
{
    const int had = c.held.size();
    QString path, why;
    const bool done = c.held.writeAll(
        [&c](const QString& to, const QByteArray& bytes, QString* failed) {
            if (to != c.path) // an earlier hour's records
                return DataRecord::appendToPath(to, bytes, failed);
            return DataRecord::reopenIfGone(c.file, c.path, failed) &&
                   DataRecord::appendWhole(c.file, bytes, failed);
        },
        &path, &why);
    if (!done) {
        if (had == 1) // the first record that fails: later ones are kept quietly
            st_.notifier().note(keptNote(path, why, "records"));
        return false;
    }
    if (had > 1)
        st_.notifier().note(c.held.writtenNote(had, c.path));
    if (!sync_.isActive())
        sync_.start();
    return true;
}
