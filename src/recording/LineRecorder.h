#pragma once

#include "recording/DataRecorder.h"
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
// gets a file the operator chooses at start (no rotation). Every record is
// handed to the operating system as it is written.
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

    // Opens the files of `addresses`; true (and st.recording set) when at
    // least one is open.
    bool start(const QList<int>& addresses);
    void end();
    // Appends one record to its analyzer's file; false when it has none or
    // the write failed (said in the status bar).
    bool write(const Station::LineReading& r);

    QString pathOf(int address) const;
    int openFiles() const;

private:
    struct Channel
    {
        QFile file;
        QDateTime hour; // of an automatic name; invalid for a chosen file
    };
    bool open(int address, const QString& path, const QDateTime& hour);

    Station& st_;
    std::array<std::unique_ptr<Channel>, 256> channels_;
    QTimer sync_; // started by a write, syncs the files to the disk when it fires
    void syncAll();
};
