#pragma once

#include <QDateTime>
#include <QFile>
#include <QObject>
#include <functional>

class Station;

// Recording of accepted readings: an hourly data file of fixed records
// ("hhHdd_mm.dat") and a daily text file ("dd_mm_yy.txt") with start and stop
// marks, both in the data folder. Every record is handed to the operating
// system as it is written, so a crash loses at most the record in progress.
//
// The main frame's Run Saving / End Saving call start() / end(); the polling
// timer's tick calls rotate() through the station's HTmr.
class DataRecorder : public QObject
{
    Q_OBJECT
public:
    explicit DataRecorder(Station& st, QObject* parent = nullptr);
    ~DataRecorder() override;

    // The clock that names files and stamps records; tests replace it.
    std::function<QDateTime()> clock = [] { return QDateTime::currentDateTime(); };

    // Opens both files, installs the data-file sink and sets st.recording.
    bool start();
    // Writes the "Stop-" line and closes both files.
    void end();

    bool OpenDataFile(bool automatic);
    bool OpenTextFile();
    // Appends one record for `reply` (value digits plus one byte); asks
    // Retry/Cancel on a write error.
    bool WriteToFile(const QByteArray& reply);
    void CloseDataFiles();
    // New hourly and daily files when the hour or the day has changed.
    void rotate();

    QString dataFilePath() const { return data_.fileName(); }
    QString textFilePath() const { return text_.fileName(); }

    static QString dataFileName(const QDateTime& t);
    static QString textFileName(const QDateTime& t);
    // The record's bytes: counter, time, reply, zero position, alarm digit.
    static QByteArray record(int counter, const QDateTime& t, const QByteArray& reply,
                             int zeroPosition, int limit1, int limit2);

Q_SIGNALS:
    void dataFileChanged(const QString& path);

private:
    QString folderPath(const QString& name) const;
    bool openFile(QFile& f, const QString& path);
    bool writeText(const QByteArray& line);

    Station& st_;
    QFile data_;
    QFile text_;
    int dataHour_ = -1;
    QDate textDay_;
};
