#include "recording/DataRecorder.h"

#include "recording/DataRecord.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QDir>
#include <QFileInfo>

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

bool DataRecorder::openFile(QFile& f, const QString& path)
{
    DataRecord::syncToDisk(f);
    f.close();
    f.setFileName(path);
    if (f.open(kAppend))
        return true;
    st_.notifier().message(QStringLiteral("%1: %2").arg(path, f.errorString()),
                           Notifier::Icon::Exclamation);
    f.setFileName(QString());
    return false;
}

bool DataRecorder::openData(const QString& path)
{
    const int last = DataRecord::lastNumber(path);
    if (!openFile(data_, path))
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

bool DataRecorder::stillThere(QFile& f, const QString& path, QString* why)
{
    if (f.isOpen() && QFileInfo::exists(path))
        return true;
    // The file or its folder went away (deleted, unmounted): what is written
    // to the old handle would vanish with it, so the path is opened again.
    f.close();
    f.setFileName(path);
    if (f.open(kAppend))
        return true;
    *why = f.errorString();
    return false;
}

bool DataRecorder::appendBytes(QFile& f, const QByteArray& bytes, QString* why)
{
    const qint64 at = f.isSequential() ? -1 : f.size();
    qint64 done = 0;
    // A short write is followed by another, which reports the reason.
    while (done < bytes.size()) {
        const qint64 n = f.write(bytes.constData() + done, bytes.size() - done);
        if (n <= 0)
            break;
        done += n;
    }
    if (done == bytes.size() && f.flush()) {
        if (!sync_.isActive())
            sync_.start();
        return true;
    }
    *why = f.errorString();
    f.unsetError();
    if (done > 0 && at >= 0)
        f.resize(at); // no half record stays behind
    return false;
}

bool DataRecorder::writeText(const QByteArray& line)
{
    if (textPath_.isEmpty())
        return false;
    QString why;
    if (stillThere(text_, textPath_, &why) && appendBytes(text_, line, &why))
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
    const QByteArray r =
        DataRecord::bytes(st_.recordCounter, now, reply, st_.zeroPosition, st_.limit1, st_.limit2);
    for (;;) {
        QString why;
        if (stillThere(data_, dataPath_, &why) && appendBytes(data_, r, &why)) {
            ++st_.recordCounter;
            return true;
        }
        const int answer =
            st_.notifier().ask(QStringLiteral("%1: %2").arg(dataPath_, why),
                               Notifier::Retry | Notifier::Cancel, Notifier::Icon::Critical);
        if (answer != Notifier::Retry)
            return false;
    }
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
        st_.recordCounter = 1; // kept when the new file can't be opened
        OpenDataFile(true);
    }
    if (now.date() != textDay_)
        OpenTextFile();
}
