#pragma once

#include "recording/DiskSync.h"
#include "recording/DataRecorder.h"
#include "recording/DayLog.h"
#include "recording/HeldRecords.h"
#include "station/Station.h"

#include <QDateTime>
#include <QFile>
#include <QObject>
#include <QTimer>
#include <array>
#include <memory>

// Recording on the RS-485 line: one data file per polled analyzer. A channel
// with "Auto File Name" gets an hourly file named by the clock and its
// address ("14h15_11_A005.dat"), changed at each new hour; any other channel
// gets a file the operator chooses at start (no rotation). The day's text
// file (DayLog) tells when the line was recorded: "Start=", "Stop-", and the
// "Lost-"/"Back-" of a gap while the port was away. Every record is handed to
// the operating system as it is written. A record or mark that can't be
// written (folder away, disk full, also when recording starts) is kept in
// memory, in order, with the ones after it, and written by the next record
// that finds the file writable again; the status bar (stderr headless) says
// when it starts and when it ends. Nothing waits on the operator.
//
//   LineRecorder rec(st);  // installs the station's line file sink
//   rec.start(addresses);  // "&Run Saving" on the line
//   rec.end();             // "&End Saving": closes all files
class LineRecorder : public QObject
{
    Q_OBJECT
public:
    explicit LineRecorder(Station& st, QObject* parent = nullptr);
    ~LineRecorder() override;

    std::function<QDateTime()> clock = [] { return QDateTime::currentDateTime(); };
    // Asks for the file of a channel without an automatic name; an empty
    // answer ends the asking (the channels left get no file).
    DataRecorder::FileChooser chooseFile;

    static constexpr char kChooserTitle[] = "OK-for Next Channel; CANCEL-for Exit";
    static constexpr char kChooserFilter[] = "Data (*.dat;*.dt)|*.dat;*.dt|All Files (*.*)|*.*";

    // Opens the files of `addresses` and the day's text file; true (and
    // st.recording set) when at least one analyzer is recorded. A file that
    // can't be opened is reported and its records are kept for it.
    bool start(const QList<int>& addresses);
    void end();
    // Appends one record to its analyzer's file; false when it has none or
    // the record is kept for later.
    bool write(const Station::LineReading& r);
    // Records of the channel waiting for their file.
    int heldCount(int address) const;
    // Lines waiting for the day's text file.
    int heldMarks() const { return day_.heldCount(); }
    QString textFilePath() const { return day_.path(); }

    QString pathOf(int address) const;
    int openFiles() const;

private:
    struct Channel
    {
        QFile file;
        QString path;   // where records go now, kept while the file is away
        QDateTime hour; // of an automatic name; invalid for a chosen file
        HeldRecords held;
    };
    bool open(int address, const QString& path, const QDateTime& hour);
    // Writes the channel's kept records in order; true when none is left.
    bool writeHeld(Channel& c);

    Station& st_;
    DiskSync disk_;
    std::array<std::unique_ptr<Channel>, 256> channels_;
    DayLog day_;
    QTimer sync_; // started by a write, syncs the files to the disk when it fires
    void syncAll();
};
