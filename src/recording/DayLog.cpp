#include "recording/DayLog.h"

#include "recording/DataRecord.h"
#include "station/Station.h"

#include <QDir>

DayLog::DayLog(Station& st, QObject* parent) : QObject(parent), st_(st), disk_(st.notifier())
{
    // A gap in the readings because the port was away shows in the day's file.
    connect(&st_, &Station::portLost, this, [this](const QDateTime& at) {
        if (isOpen())
            write(DataRecord::lostLine(at));
    });
    connect(&st_, &Station::portBack, this, [this](const QDateTime& at) {
        if (isOpen())
            write(DataRecord::backLine(at));
    });
    sync_.setSingleShot(true);
    sync_.setInterval(DataRecord::kSyncDelayMs);
    connect(&sync_, &QTimer::timeout, this, &DayLog::sync);
}

DayLog::~DayLog()
{
    sync();
}

void DayLog::sync()
{
    disk_.sync(file_);
}

void DayLog::open(const QString& folder, const QDateTime& now)
{
    sync();
    file_.close();
    folder_ = folder;
    day_ = now.date();
    path_ = QDir::toNativeSeparators(QDir(folder).filePath(DataRecord::textFileName(now)));
    // A file that can't be opened now is opened by the first write that can.
    file_.setFileName(path_);
    (void)file_.open(DataRecord::kAppend);
    write(DataRecord::startLine(now));
}

void DayLog::rotate(const QDateTime& now)
{
    if (isOpen() && now.date() != day_)
        open(folder_, now);
}

bool DayLog::stop(const QDateTime& now, qint64* lost)
{
    *lost = 0;
    if (!isOpen())
        return true;
    // The last try: the owner's retry ends with the recording.
    held_.add(path_, DataRecord::stopLine(now));
    writeHeld();
    *lost = close();
    return *lost == 0;
}

qint64 DayLog::close()
{
    sync_.stop();
    sync();
    file_.close();
    path_.clear();
    return held_.clear();
}

bool DayLog::write(const QByteArray& line)
{
    if (!isOpen())
        return false;
    held_.add(path_, line);
    QString path, why;
    if (writeHeld(&path, &why))
        return true;
    if (failed)
        failed(path, why);
    return false;
}

bool DayLog::writeHeld(QString* path, QString* why)
{
    const bool had = !held_.empty();
    QString where, reason;
    const bool done = held_.writeAll(
        [this](const QString& to, const QByteArray& bytes, QString* failed) {
            // An earlier day's lines go to their own file.
            if (to != path_)
                return DataRecord::appendToPath(to, bytes, failed);
            return DataRecord::reopenIfGone(file_, path_, failed) &&
                   DataRecord::appendWhole(file_, bytes, failed);
        },
        &where, &reason);
    if (done && had && !sync_.isActive())
        sync_.start();
    if (path)
        *path = where;
    if (why)
        *why = reason;
    return done;
}
