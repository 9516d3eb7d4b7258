#pragma once

#include <QByteArray>
#include <QDate>
#include <QFile>
#include <QString>
#include <QVector>
#include <optional>

// Reading back the data files the station wrote: the single analyzer's hourly
// files ("14h15_11.dat", "00001<TAB>14:05:00<TAB>00020<TAB>00000<TAB>0") and the
// RS-485 line's per-analyzer files ("14h15_11_A005.dat",
// "14:05:09<TAB>005<TAB>00019<TAB>04123<TAB>00000<TAB>0", values with a decimal
// comma in the Russian format). A file is read up to and around damage: a line
// that is not a record (cut short, NUL bytes, garbage) is skipped and counted.
namespace RecordFile {

// One record as read, with its date and time resolved.
struct Record
{
    qint64 utcMs = 0;   // the moment, milliseconds since 1970 UTC
    qint64 localMs = 0; // the same moment on the local wall clock, counted as if UTC
    int number = 0;     // the record counter; on the line, the line's record ordinal
    int address = -1;   // -1 for the single analyzer, else 0..255
    int raw = 0;        // the value in ppm x10
    int second = 0;     // the line's second value in ppm x10 (0 for the single analyzer)
    bool hasSecond = false;
    int zeroPosition = 0;
    int alarm = 0; // the alarm digit: 0, 1 or 3
};

// What a data file's name tells: the hour and day it belongs to and, on the
// line, the analyzer's address. Empty for a name of another form (a file the
// operator chose).
struct NameInfo
{
    int hour = 0;
    int day = 0;
    int month = 0;
    int address = -1;
};
std::optional<NameInfo> parseName(const QString& fileName);

// The year of a file named for `day`.`month`: from the "Start=dd/MM/yy" line of
// that day's text file in `folder` when there is one, otherwise from the file's
// modification time `modified` (the year before when that day would lie after it).
int yearFor(const QString& folder, int day, int month, const QDateTime& modified);

// Reads a data file record by record, as it grows: next() returns records
// until the end of what is complete; a later next() picks up what was
// appended since (a last line without its line end waits to be completed).
class Reader
{
public:
    explicit Reader(const QString& path);

    // False when the file can't be opened, or holds no record and something
    // that is not a record; error() says why.
    bool open();
    bool next(Record& out);
    // Takes what follows the last line end as a last line: for a file that is
    // no longer written (a power cut leaves a record cut short, or NULs).
    void finish() { finished_ = true; }
    QString path() const { return path_; }
    QString error() const { return error_; }
    // The analyzer of the file: -1 single, else the line address (from the
    // name, or from the first record).
    int address() const { return address_; }
    // Lines skipped as damaged so far.
    int skipped() const { return skipped_; }
    // Records returned so far.
    int records() const { return count_; }
    // Bytes of the file read so far (for a progress bar).
    qint64 bytesRead() const { return file_.isOpen() ? file_.pos() : 0; }

private:
    bool fill();
    bool parse(const char* p, const char* end, Record& out);
    void startDay(const QDate& d);
    bool dateFromModified();

    QString path_;
    QFile file_;
    QByteArray buffer_;
    qsizetype at_ = 0;
    QString error_;
    int address_ = -1;
    int skipped_ = 0;
    int count_ = 0;
    bool finished_ = false;
    std::optional<NameInfo> name_;
    // The date the next record's time belongs to; a time earlier than the
    // previous record's means midnight was crossed.
    QDate date_;
    int lastSecondOfDay_ = -1;
    qint64 dayLocalMs_ = 0;     // local midnight of date_, counted as if UTC
    qint64 hourUtcMs_[24] = {}; // the UTC moment of each local hour of date_
};

// All records of `paths`, merged in time order (files of several analyzers side
// by side), for the viewer; *skipped gets the damaged lines and *errors the
// files that could not be read.
QVector<Record> readAll(const QStringList& paths, int* skipped = nullptr,
                        QStringList* errors = nullptr);

} // namespace RecordFile
