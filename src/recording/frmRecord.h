#pragma once

#include "recording/RecordFile.h"

#include <QTimer>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

class QLabel;
class QPushButton;
class RecordPlot;
class Station;

// The record viewer: a window of its own that shows data files the station
// wrote (hourly files of the single analyzer, per-analyzer files of the
// RS-485 line, several at once) in a RecordPlot, one trace per analyzer.
// "Open..." (cmdOpen) chooses the files, starting in the folder last used or
// the data folder, and keeps the choice in Tervala.ini ([Viewer]); "Export
// CSV..." (cmdExport) writes the open files as CSV; "Show All" (cmdShowAll)
// shows everything. lblStatus says per file how many records were read and how
// many damaged lines skipped, or why a file could not be read; lblReadout
// shows the record under the pointer. Every two seconds the files are read on
// from where reading stopped, so a file the station is writing grows in view;
// its last line, still without its line end, waits to be completed. Once a
// file has not changed for kSettledMs, such a line counts as damage. An open
// hourly file (automatic name) is followed by the next hour's file of the
// same analyzer as soon as the station starts it.
class QThread;

class frmRecord : public QWidget
{
    Q_OBJECT
public:
    explicit frmRecord(Station& st, QWidget* parent = nullptr);
    ~frmRecord() override;

    // Asks for the files to open, starting in `folder` with the files `names`
    // selected; an empty list means cancelled. Tests replace it.
    using OpenChooser = std::function<QStringList(const QString& folder, const QStringList& names)>;
    OpenChooser chooseFiles;
    // Asks where to write the CSV file, proposing `suggested`; empty when cancelled.
    using SaveChooser = std::function<QString(const QString& suggested)>;
    SaveChooser chooseSaveFile;

    // Asks for files and shows them; false when the operator cancelled.
    bool cmdOpen_Click();
    void cmdExport_Click();
    // Shows these files instead of those shown, and remembers them.
    void openFiles(const QStringList& paths);
    // Reads what the open files gained since the last read.
    void pollFiles();

    QStringList files() const;
    RecordPlot* plot() const { return picRecord_; }
    QString statusText() const;

    static constexpr int kPollMs = 2000;
    // A file not written to for this long is taken as complete.
    static constexpr qint64 kSettledMs = 10000;

    // The files last opened, as kept in Tervala.ini: their folder, their paths.
    // The hourly file after `path` ("14h15_11.dat" → "15h15_11.dat", with the
    // address of a line's file kept), when its name is an automatic one;
    // empty otherwise. The year is the file's own.
    static QString nextHourFile(const QString& path);

    static QString rememberedFolder();
    static QStringList rememberedFiles();

private:
    struct Source
    {
        std::unique_ptr<RecordFile::Reader> reader;
        bool ok = false;
        bool finished = false; // the file is complete: a last line without its end is damage
    };
    // Reads on in every readable file; true when records came.
    bool readNew();
    // Opens the next hour's files that have appeared; true when one did.
    bool followHours();
    void addSource(const QString& path);
    void showStatus();
    static void remember(const QStringList& paths);

    Station& st_;
    std::vector<Source> sources_;
    RecordPlot* picRecord_;
    QPushButton* cmdOpen_;
    QPushButton* cmdExport_;
    QPushButton* cmdShowAll_;
    QLabel* lblReadout_;
    QLabel* lblStatus_;
    QTimer poll_;

    // An export running on its own thread: its file, progress and result.
    struct ExportJob;
    std::shared_ptr<ExportJob> export_;
    QThread* exportThread_ = nullptr;
    void finishExport(const QString& target);
};
