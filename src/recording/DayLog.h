#pragma once

#include "recording/DiskSync.h"
#include "recording/HeldRecords.h"

#include <QDate>
#include <QDateTime>
#include <QFile>
#include <QObject>
#include <QTimer>
#include <functional>

class Station;

// The day's text file ("15_11_26.txt" in the data folder), shared by the
// single analyzer's recorder and the RS-485 line's: it tells when recording
// ran. "Start=dd/MM/yy" opens each day's file, "Stop-hh:mm:ss" ends a spell
// of recording, "Lost-hh:mm:ss" and "Back-hh:mm:ss" mark a gap while the port
// was away, and the operator's comments go between them.
//
// A line that can't be written (folder away, disk full) is kept in memory
// with every line after it, in order, and each later line or retry writes
// them when the file can be written again: the record viewer takes the year
// from "Start=", so no mark may go missing. `failed` tells the owner, which
// says so to the operator and retries in its own way (writeHeld).
class DayLog : public QObject
{
    Q_OBJECT
public:
    explicit DayLog(Station& st, QObject* parent = nullptr);
    ~DayLog() override;

    // Called when a line is kept because the file can't be written, with the
    // file and the reason.
    std::function<void(const QString& path, const QString& why)> failed;

    // Opens the day's file of `now` in `folder` and writes its "Start=" line
    // (or keeps it). Lost/Back lines are written while it is open.
    void open(const QString& folder, const QDateTime& now);
    // When the day of `now` is not the open file's: the new day's file.
    void rotate(const QDateTime& now);
    // Writes the "Stop-" line, then closes the file. False when lines were
    // still kept and could not be written: *lost tells how many were given up.
    bool stop(const QDateTime& now, qint64* lost);
    // Closes the file, giving up what is kept; how many lines that was.
    qint64 close();

    // Appends `line` after the lines kept; false when it is kept too.
    bool write(const QByteArray& line);
    // Writes the kept lines in order; true when none is left, otherwise
    // *path and *why tell what failed.
    bool writeHeld(QString* path = nullptr, QString* why = nullptr);
    // Gives up the kept lines; how many they were.
    qint64 clearHeld() { return held_.clear(); }

    bool isOpen() const { return !path_.isEmpty(); }
    QString path() const { return path_; }
    int heldCount() const { return held_.size(); }
    // Makes what was written durable on the disk.
    void sync();

private:
    Station& st_;
    DiskSync disk_;
    QFile file_;
    QString folder_;
    QString path_; // where the lines go, kept while the file is away
    QDate day_;
    QTimer sync_; // started by a write, syncs the file to the disk when it fires
    HeldRecords held_;
};
