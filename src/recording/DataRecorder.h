#pragma once

#include "recording/DiskSync.h"
#include "recording/DayLog.h"
#include "recording/HeldRecords.h"

#include <QDate>
#include <QDateTime>
#include <QFile>
#include <QObject>
#include <QTimer>
#include <functional>

class Station;

// Recording of accepted readings: an hourly data file of fixed records
// ("14h15_11.dat") and the day's text file ("15_11_26.txt", DayLog) with start
// and stop marks and the operator's comments, both in the data folder. Each record is
// handed to the operating system as it is written (no user-space buffer), so a
// crash loses at most the record in progress.
//
// Wiring (one DataRecorder per Station, destroyed before the Station):
//   DataRecorder rec(st);                  // follows st.HTmr for rotation
//   rec.start();   // Run Saving / the "Write" toggle / --headless --record
//   rec.end();     // End Saving, Exit, the close box, SIGINT/SIGTERM: "Stop-" line
//   connect(&rec, &DataRecorder::dataFileChanged, ...);   // the frame's caption
//   rec.chooseFile = fileDialogChooser(frame); // DataFileDialog.h; OpenDataFile(false)
// start() opens both files, sets st.recording and installs the data-file sink;
// end() clears both. Every record, and every tick of st.HTmr while
// recording, rotates the files when the hour or the day has changed. What was
// written is synced to the disk within a second, and at every rotation and
// close. Messages and the Retry/Cancel question go through st.notifier().
//
// A record or a mark that can't be written (disk full, folder away, also
// when recording starts) is kept in memory with the file it belongs to, and
// so is every one after it, in order, while the Retry/Cancel question is
// open; the question does not wait, so readings go on. Retry writes what was
// kept; Cancel gives it up.
class DataRecorder : public QObject
{
    Q_OBJECT
public:
    explicit DataRecorder(Station& st, QObject* parent = nullptr);
    ~DataRecorder() override;

    // The clock that names the files and stamps the records; tests replace it.
    std::function<QDateTime()> clock = [] { return QDateTime::currentDateTime(); };

    // Asks the operator for a file (title, filter in "Text|*.ext|..." form,
    // start folder); an empty result means cancelled. Used by OpenDataFile(false);
    // unset, the manual branch ends as if cancelled.
    using FileChooser =
        std::function<QString(const QString& title, const QString& filter, const QString& folder)>;
    FileChooser chooseFile;

    // Starts recording: opens the hourly and the daily file, installs the
    // data-file sink, sets st.recording. A data file that can't be opened is
    // reported, and its records are kept until it can be written, as after
    // a rotation. False if the data file is not open.
    bool start();
    // Ends recording: writes the "Stop-" line, closes both files.
    void end();

    // Opens the hourly data file (automatic name) or one the operator
    // chooses, appending to what it holds. The record counter goes on from
    // the file's last record (1 for a new file).
    bool OpenDataFile(bool automatic);
    // Opens the day's text file for appending and writes its "Start=" line;
    // false when the line is kept for later.
    bool OpenTextFile();
    // Appends the record for `reply` (value digits plus one byte) and counts
    // it; on a write error keeps it and asks Retry/Cancel. False when it was
    // not written now.
    bool WriteToFile(const QByteArray& reply);
    void CloseDataFiles();
    // New hourly file when the hour has changed, new daily file when the day has.
    void rotate();
    void rotate(const QDateTime& now);
    // Appends the operator's comment, dated, to the day's text file (or
    // keeps it with the marks while the file can't be written); false when
    // no text file is open.
    bool WriteComment(const QString& text);

    // The files being written; empty when none.
    QString dataFilePath() const { return dataPath_; }
    QString textFilePath() const { return day_.path(); }

    // Records, and lines of the day's file, waiting for their file to be writable again.
    int heldCount() const { return held_.size(); }
    int heldMarks() const { return day_.heldCount(); }

    static constexpr char kChooserTitle[] = "Open Communications Log File";
    static constexpr char kChooserFilter[] = "Log Files (*.LOG)|*.log|All Files (*.*)|*.*";

Q_SIGNALS:
    // The data file being written changed; empty when none is open.
    void dataFileChanged(const QString& path);

private:
    QString folder() const;
    QString folderPath(const QString& name) const;
    // Opens the data file at `path`; when it can't be, its records are kept
    // for it until it can be written (reported when `report`). False then.
    bool openData(const QString& path, bool report = true);
    // Appends to the data file, opened again if it went away; arms the sync.
    bool appendData(const QByteArray& bytes, QString* why);
    bool writeRecord(const QByteArray& reply, const QDateTime& now);
    // Writes the kept records in order; true when none is left, otherwise
    // *path and *why tell what failed.
    bool writeData(QString* path, QString* why);
    // Writes the kept records and marks; on failure asks Retry/Cancel when
    // `ask`. True when none is left.
    bool writeHeld(bool ask = true);
    // Asks Retry/Cancel about the write failure, without waiting.
    void askRetry(const QString& path, const QString& why);
    void answered(int button);

    Station& st_;
    DiskSync disk_;
    QFile data_;
    QString dataPath_;   // where records go, kept while the file is reopened
    QDateTime dataHour_; // date and hour the data file belongs to
    DayLog day_;
    QTimer sync_;         // started by a write, syncs the data file to the disk when it fires
    HeldRecords held_;    // accepted, not yet written
    bool asking_ = false; // the Retry/Cancel question is open
    bool gaveUp_ = false; // its answer was Cancel
};
