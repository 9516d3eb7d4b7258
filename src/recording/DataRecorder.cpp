#include "recording/DataRecorder.h"

#include "app/Notifier.h"
#include "app/Station.h"

#include <QDir>

DataRecorder::DataRecorder(Station& st, QObject* parent) : QObject(parent), st_(st)
{
    connect(&st_.HTmr, &QTimer::timeout, this, [this] {
        if (st_.recording)
            rotate();
    });
}

DataRecorder::~DataRecorder()
{
    if (st_.recording)
        end();
}

QString DataRecorder::dataFileName(const QDateTime& t)
{
    return t.toString(QStringLiteral("HH")) + QLatin1Char('h') +
           t.toString(QStringLiteral("dd_MM")) + QStringLiteral(".dat");
}

QString DataRecorder::textFileName(const QDateTime& t)
{
    return t.toString(QStringLiteral("dd_MM_yy")) + QStringLiteral(".txt");
}

QByteArray DataRecorder::record(int counter, const QDateTime& t, const QByteArray& reply,
                                int zeroPosition, int limit1, int limit2)
{
    // The alarm level compares the value as received, before the zero offset.
    const double raw = QString::fromLatin1(reply.left(reply.size() - 1)).toDouble();
    const char level = raw <= limit1 ? '0' : raw <= limit2 ? '1' : '3';
    const QByteArray zero = zeroPosition < 0
                                ? '-' + QByteArray::number(-zeroPosition).rightJustified(4, '0')
                                : QByteArray::number(zeroPosition).rightJustified(5, '0');
    QByteArray r = QByteArray::number(counter).rightJustified(5, '0');
    r += '\t';
    r += t.toString(QStringLiteral("HH:mm:ss")).toLatin1();
    r += '\t';
    r += reply.left(reply.size() - 1); // the terminator's place takes the tab
    r += '\t';
    r += zero;
    r += '\t';
    r += level;
    r += "\r\n";
    return r;
}

QString DataRecorder::folderPath(const QString& name) const
{
    const QString folder = st_.dataFolder.isEmpty() ? QDir::currentPath() : st_.dataFolder;
    return QDir::toNativeSeparators(QDir(folder).filePath(name));
}

bool DataRecorder::openFile(QFile& f, const QString& path)
{
    if (f.isOpen())
        f.close();
    f.setFileName(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Append)) {
        st_.notifier().message(QStringLiteral("%1: %2").arg(path, f.errorString()),
                               Notifier::Icon::Exclamation);
        f.setFileName(QString());
        return false;
    }
    return true;
}

bool DataRecorder::OpenDataFile(bool automatic)
{
    if (!automatic)
        return false; // the station names its data files itself
    const QDateTime now = clock();
    const QString path = folderPath(dataFileName(now));
    const bool sameFile = path == data_.fileName();
    dataHour_ = now.time().hour();
    if (!openFile(data_, path))
        return false;
    // A new file counts from 1; reopening the same hour's file goes on counting.
    if (!sameFile || st_.recordCounter < 1)
        st_.recordCounter = 1;
    Q_EMIT dataFileChanged(path);
    return true;
}

bool DataRecorder::OpenTextFile()
{
    const QDateTime now = clock();
    textDay_ = now.date();
    if (!openFile(text_, folderPath(textFileName(now))))
        return false;
    return writeText("Start=" + now.toString(QStringLiteral("dd/MM/yy")).toLatin1() + "\r\n");
}

bool DataRecorder::writeText(const QByteArray& line)
{
    if (!text_.isOpen())
        return false;
    const bool ok = text_.write(line) == line.size() && text_.flush();
    if (!ok)
        st_.notifier().message(text_.errorString(), Notifier::Icon::Exclamation);
    return ok;
}

bool DataRecorder::WriteToFile(const QByteArray& reply)
{
    if (!data_.isOpen() || reply.isEmpty())
        return false;
    const QByteArray r =
        record(st_.recordCounter, clock(), reply, st_.zeroPosition, st_.limit1, st_.limit2);
    for (;;) {
        const qint64 at = data_.size();
        if (data_.write(r) == r.size() && data_.flush()) {
            ++st_.recordCounter;
            return true;
        }
        const QString why = data_.errorString();
        data_.unsetError();
        data_.resize(at); // no half record stays behind
        if (st_.notifier().ask(QStringLiteral("%1: %2").arg(data_.fileName(), why),
                               Notifier::Retry | Notifier::Cancel,
                               Notifier::Icon::Critical) != Notifier::Retry)
            return false;
    }
}

void DataRecorder::CloseDataFiles()
{
    data_.close();
    text_.close();
}

bool DataRecorder::start()
{
    if (st_.recording)
        return true;
    const bool dataOk = OpenDataFile(true);
    OpenTextFile();
    st_.sinks[Station::DataFileSink] = [this](double, const QByteArray& reply) {
        WriteToFile(reply);
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
    writeText("Stop-" + clock().toString(QStringLiteral("HH:mm:ss")).toLatin1() + "\r\n\r\n");
    CloseDataFiles();
}

void DataRecorder::rotate()
{
    const QDateTime now = clock();
    // The name carries the hour and the day: a new name means a new file.
    if (folderPath(dataFileName(now)) != data_.fileName()) {
        data_.close();
        st_.recordCounter = 1;
        OpenDataFile(true);
    }
    if (now.date() != textDay_) {
        text_.close();
        OpenTextFile();
    }
}
