#include "recording/DataRecorder.h"

#include "recording/DataRecord.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>

using DataRecord::hourOf;
using DataRecord::kAppend;

DataRecorder::DataRecorder(Station& st, QObject* parent)
    : QObject(parent), st_(st), disk_(st.notifier()), day_(st)
{
    // A mark kept for the day's file is retried with the records.
    day_.failed = [this](const QString& path, const QString& why) {
        if (!asking_)
            askRetry(path, why);
    };
    sync_.setSingleShot(true);
    sync_.setInterval(DataRecord::kSyncDelayMs);
    connect(&sync_, &QTimer::timeout, this, [this] { disk_.sync(data_); });
    connect(&st_.HTmr, &QTimer::timeout, this, [this] {
        // On the RS-485 line the line recorder keeps the files.
        if (st_.recording && !st_.rs485Mode)
            rotate();
    });
}

DataRecorder::~DataRecorder()
{
    end();
}

QString DataRecorder::folder() const
{
    return st_.dataFolder.isEmpty() ? QDir::currentPath() : st_.dataFolder;
}

QString DataRecorder::folderPath(const QString& name) const
{
    return QDir::toNativeSeparators(QDir(folder()).filePath(name));
}

bool DataRecorder::openData(const QString& path, bool report)
{
    disk_.sync(data_);
    data_.close();
    // Appending goes on with the file's own numbering; a new file counts from 1.
    st_.recordCounter = DataRecord::lastNumber(path) + 1;
    dataPath_ = path;
    Q_EMIT dataFileChanged(path);
    data_.setFileName(path);
    if (data_.open(kAppend))
        return true;
    // The folder is away or the disk refuses: the records are kept for this
    // file, and the write error's Retry/Cancel question follows.
    if (report)
        st_.notifier().message(QStringLiteral("%1: %2").arg(path, data_.errorString()),
                               Notifier::Icon::Exclamation);
    return false;
}

bool DataRecorder::OpenDataFile(bool automatic)
{
    const QDateTime now = clock();
    dataHour_ = hourOf(now);
    data_.close();
    if (!dataPath_.isEmpty()) {
        dataPath_.clear();
        Q_EMIT dataFileChanged(QString());
    }
    if (automatic)
        return openData(folderPath(DataRecord::dataFileName(now)));

    if (!st_.dataFolder.isEmpty())
        QDir::setCurrent(st_.dataFolder);
    const QString chosen = chooseFile
                               ? chooseFile(QLatin1String(kChooserTitle),
                                            QLatin1String(kChooserFilter), QDir::currentPath())
                               : QString();
    if (chosen.isEmpty())
        return false;
    const QString path = QDir::toNativeSeparators(chosen);
    if (QFileInfo::exists(path)) {
        const int answer =
            st_.notifier().ask(QStringLiteral("Replace existing file - ") + path + QLatin1Char('?'),
                               Notifier::Yes | Notifier::No | Notifier::Cancel);
        QFile old(path);
        if (answer == Notifier::Yes && !old.remove()) {
            st_.notifier().message(old.errorString(), Notifier::Icon::Exclamation);
            return false;
        }
        if (answer != Notifier::Yes && answer != Notifier::No)
            return false; // Cancel: nothing is open
    }
    return openData(path);
}

bool DataRecorder::OpenTextFile()
{
    day_.open(folder(), clock());
    return day_.heldCount() == 0;
}

bool DataRecorder::appendData(const QByteArray& bytes, QString* why)
{
    if (!DataRecord::reopenIfGone(data_, dataPath_, why) ||
        !DataRecord::appendWhole(data_, bytes, why))
        return false;
    if (!sync_.isActive())
        sync_.start();
    return true;
}

bool DataRecorder::WriteToFile(const QByteArray& reply)
{
    return writeRecord(reply, clock());
}

bool DataRecorder::writeRecord(const QByteArray& reply, const QDateTime& now)
{
    if (dataPath_.isEmpty() || reply.isEmpty())
        return false;
    held_.add(dataPath_, DataRecord::bytes(st_.recordCounter++, now, reply, st_.zeroPosition,
                                           st_.limit1, st_.limit2));
    // While the question is open the record waits behind the others.
    if (asking_)
        return false;
    gaveUp_ = false;
    writeHeld();
    // A notifier that answers at once has written it, or given it up, already.
    return held_.empty() && !gaveUp_;
}

bool DataRecorder::writeData(QString* path, QString* why)
{
    const int had = held_.size();
    const bool done = held_.writeAll(
        [this](const QString& to, const QByteArray& bytes, QString* failed) {
            // An earlier hour's records go to their own file.
            return to == dataPath_ ? appendData(bytes, failed)
                                   : DataRecord::appendToPath(to, bytes, failed);
        },
        path, why);
    if (done && had > 1)
        st_.notifier().note(held_.writtenNote(had, QStringLiteral("the data file")));
    return done;
}

bool DataRecorder::writeHeld(bool ask)
{
    QString path, why, dayPath, dayWhy;
    const bool dataDone = writeData(&path, &why);
    const bool dayDone = day_.writeHeld(&dayPath, &dayWhy);
    if (dataDone && dayDone)
        return true;
    if (ask)
        askRetry(dataDone ? dayPath : path, dataDone ? dayWhy : why);
    return false;
}

void DataRecorder::askRetry(const QString& path, const QString& why)
{
    asking_ = true;
    QPointer<DataRecorder> self(this);
    st_.notifier().askLater(
        QStringLiteral("%1: %2").arg(path, why), Notifier::Retry | Notifier::Cancel,
        [self](int button) {
            if (self)
                self->answered(button);
        },
        Notifier::Icon::Critical);
}

void DataRecorder::answered(int button)
{
    asking_ = false;
    if (button == Notifier::Retry) {
        writeHeld();
        return;
    }
    gaveUp_ = true;
    if (const qint64 n = held_.clear())
        st_.notifier().note(QStringLiteral("%1 records not written").arg(n));
    if (const qint64 n = day_.clearHeld())
        st_.notifier().note(QStringLiteral("%1 lines not written to %2").arg(n).arg(day_.path()));
}

bool DataRecorder::WriteComment(const QString& text)
{
    if (!day_.isOpen())
        return false;
    // One that can't be written now waits with the marks, and is retried with them.
    day_.write(DataRecord::commentLine(clock(), text));
    return true;
}

void DataRecorder::CloseDataFiles()
{
    const bool hadData = !dataPath_.isEmpty();
    sync_.stop();
    disk_.sync(data_);
    data_.close();
    day_.close();
    dataPath_.clear();
    if (hadData)
        Q_EMIT dataFileChanged(QString());
}

bool DataRecorder::start()
{
    if (st_.recording)
        return data_.isOpen();
    const bool dataOk = OpenDataFile(true);
    OpenTextFile();
    st_.sinks[Station::DataFileSink] = [this](double, const QByteArray& reply) {
        // Each record looks for a new hour or day itself before it is written,
        // so that every hour's file holds exactly its hour's records whatever
        // the order of ticks and readings (and with no tick at all in "From
        // Device" mode). The record is stamped with the same moment.
        const QDateTime now = clock();
        rotate(now);
        writeRecord(reply, now);
    };
    st_.recording = true;
    return dataOk;
}

void DataRecorder::end()
{
    if (!st_.recording)
        return;
    st_.recording = false;
    st_.sinks[Station::DataFileSink] = nullptr;
    // Recording ends: what is still kept gets one last try.
    asking_ = false;
    QString path, why;
    if (!writeData(&path, &why))
        st_.notifier().message(
            QStringLiteral("%1 records not written to %2").arg(held_.clear()).arg(path),
            Notifier::Icon::Exclamation);
    const QString dayPath = day_.path();
    qint64 lost = 0;
    if (!day_.stop(clock(), &lost))
        st_.notifier().message(QStringLiteral("%1 lines not written to %2").arg(lost).arg(dayPath),
                               Notifier::Icon::Exclamation);
    CloseDataFiles();
}

void DataRecorder::rotate()
{
    rotate(clock());
}

void DataRecorder::rotate(const QDateTime& now)
{
    if (hourOf(now) != dataHour_) {
        dataHour_ = hourOf(now);
        openData(folderPath(DataRecord::dataFileName(now)), false);
    }
    day_.rotate(now);
}
