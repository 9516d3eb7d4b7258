#include "recording/DataRecorder.h"

#include "recording/DataRecord.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QDir>
#include <QFileInfo>
#include <QPointer>

using DataRecord::hourOf;
using DataRecord::kAppend;

DataRecorder::DataRecorder(Station& st, QObject* parent) : QObject(parent), st_(st)
{
    // A gap in the readings because the port was away shows in the day's file.
    connect(&st_, &Station::portLost, this, [this](const QDateTime& at) {
        if (st_.recording && !st_.rs485Mode)
            writeText("Lost-" + at.toString(QStringLiteral("HH:mm:ss")).toLatin1() + "\r\n");
    });
    connect(&st_, &Station::portBack, this, [this](const QDateTime& at) {
        if (st_.recording && !st_.rs485Mode)
            writeText("Back-" + at.toString(QStringLiteral("HH:mm:ss")).toLatin1() + "\r\n");
    });
    sync_.setSingleShot(true);
    sync_.setInterval(DataRecord::kSyncDelayMs);
    connect(&sync_, &QTimer::timeout, this, [this] {
        DataRecord::syncToDisk(data_);
        DataRecord::syncToDisk(text_);
    });
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

QString DataRecorder::folderPath(const QString& name) const
{
    const QString folder = st_.dataFolder.isEmpty() ? QDir::currentPath() : st_.dataFolder;
    return QDir::toNativeSeparators(QDir(folder).filePath(name));
}

bool DataRecorder::openFile(QFile& f, const QString& path, bool report)
{
    DataRecord::syncToDisk(f);
    f.close();
    f.setFileName(path);
    if (f.open(kAppend))
        return true;
    if (report)
        st_.notifier().message(QStringLiteral("%1: %2").arg(path, f.errorString()),
                               Notifier::Icon::Exclamation);
    f.setFileName(QString());
    return false;
}

bool DataRecorder::openData(const QString& path, bool report)
{
    const int last = DataRecord::lastNumber(path);
    if (!openFile(data_, path, report))
        return false;
    dataPath_ = path;
    // Appending goes on with the file's own numbering; a new file counts from 1.
    st_.recordCounter = last + 1;
    Q_EMIT dataFileChanged(path);
    return true;
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
    const QDateTime now = clock();
    textDay_ = now.date();
    textPath_.clear();
    const QString path = folderPath(DataRecord::textFileName(now));
    if (!openFile(text_, path))
        return false;
    textPath_ = path;
    return writeText(DataRecord::startLine(now));
}

bool DataRecorder::appendBytes(QFile& f, const QString& path, const QByteArray& bytes,
                               QString* why)
{
    if (!DataRecord::reopenIfGone(f, path, why) || !DataRecord::appendWhole(f, bytes, why))
        return false;
    if (!sync_.isActive())
        sync_.start();
    return true;
}

bool DataRecorder::writeText(const QByteArray& line)
{
    if (textPath_.isEmpty())
        return false;
    QString why;
    if (appendBytes(text_, textPath_, line, &why))
        return true;
    st_.notifier().message(QStringLiteral("%1: %2").arg(textPath_, why),
                           Notifier::Icon::Exclamation);
    return false;
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
    return !asking_ && writeHeld();
}

bool DataRecorder::writeHeld(bool ask)
{
    const int had = held_.size();
    QString path, why;
    const bool done = held_.writeAll(
        [this](const QString& to, const QByteArray& bytes, QString* failed) {
            // An earlier hour's records go to their own file.
            return to == dataPath_ ? appendBytes(data_, dataPath_, bytes, failed)
                                   : DataRecord::appendToPath(to, bytes, failed);
        },
        &path, &why);
    if (done) {
        if (had > 1)
            st_.notifier().note(held_.writtenNote(had, QStringLiteral("the data file")));
        return true;
    }
    if (!ask)
        return false;
    asking_ = true;
    gaveUp_ = false;
    QPointer<DataRecorder> self(this);
    st_.notifier().askLater(
        QStringLiteral("%1: %2").arg(path, why), Notifier::Retry | Notifier::Cancel,
        [self](int button) {
            if (self)
                self->answered(button);
        },
        Notifier::Icon::Critical);
    // A notifier that answers at once has written them, or given them up, already.
    return held_.empty() && !gaveUp_;
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
}

bool DataRecorder::WriteComment(const QString& text)
{
    return writeText(DataRecord::commentLine(clock(), text));
}

void DataRecorder::CloseDataFiles()
{
    const bool hadData = !dataPath_.isEmpty();
    sync_.stop();
    DataRecord::syncToDisk(data_);
    DataRecord::syncToDisk(text_);
    data_.close();
    text_.close();
    dataPath_.clear();
    textPath_.clear();
    if (hadData)
        Q_EMIT dataFileChanged(QString());
}

bool DataRecorder::start()
{
    if (st_.recording)
        return !dataPath_.isEmpty();
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
    if (!held_.empty() && !writeHeld(false)) {
        const QString path = held_.firstPath();
        st_.notifier().message(
            QStringLiteral("%1 records not written to %2").arg(held_.clear()).arg(path),
            Notifier::Icon::Exclamation);
    }
    writeText(DataRecord::stopLine(clock()));
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
        const QString path = folderPath(DataRecord::dataFileName(now));
        if (!openData(path, false)) {
            // The folder is away: the hour's records are kept for this file,
            // and the write error's Retry/Cancel question follows.
            dataPath_ = path;
            st_.recordCounter = 1;
            Q_EMIT dataFileChanged(path);
        }
    }
    if (now.date() != textDay_)
        OpenTextFile();
}
