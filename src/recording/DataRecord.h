#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QFile>
#include <QIODevice>
#include <QString>

// The bytes and names of the station's data files, as pure functions.
namespace DataRecord {

// Data files are opened for appending and unbuffered: every write goes
// straight to the operating system.
inline constexpr QIODevice::OpenMode kAppend =
    QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered;

// Makes what was written to `f` durable on the disk (fdatasync); false when
// the system says it could not.
bool syncToDisk(QFile& f);
inline constexpr int kSyncDelayMs = 1000; // written records reach the disk within this

// Opens `f` at `path` again when the file or its folder has gone away
// (deleted, unmounted): what is written to the old handle would vanish with
// it. False, with the reason, when it can't be opened.
bool reopenIfGone(QFile& f, const QString& path, QString* why);
// Appends all of `bytes` to `f` and flushes; on failure cuts off what part
// of them went in, so no half record stays, and gives the reason.
bool appendWhole(QFile& f, const QByteArray& bytes, QString* why);
// Appends to the file at `path`, opened for this write and synced.
bool appendToPath(const QString& path, const QByteArray& bytes, QString* why);

// The start of the hour of `t`: the hour a data file belongs to.
inline QDateTime hourOf(const QDateTime& t)
{
    return QDateTime(t.date(), QTime(t.time().hour(), 0));
}

// The hourly data file's name: hour "hh", "h", day "dd", "_", month "mm",
// ".dat" (14:05 on 15 November: "14h15_11.dat").
QString dataFileName(const QDateTime& t);

// The daily text file's name: "dd_mm_yy.txt" (15 November 2026: "15_11_26.txt").
QString textFileName(const QDateTime& t);

// One record of the data file: counter "00000", TAB, time "hh:mm:ss", TAB, the
// reply without its last byte, TAB, zero position ("00000", or "-0000" when
// negative), TAB, alarm digit, CR LF. The alarm digit compares the reply's
// value text (before any zero offset) with the two thresholds: "0" at or below
// limit1, "1" above limit1 and at or below limit2, "3" above limit2.
QByteArray bytes(int counter, const QDateTime& t, const QByteArray& reply, int zeroPosition,
                 int limit1, int limit2);

// The alarm digit of a value text compared with the thresholds: "0" at or
// below limit1, "1" above it and at or below limit2, "3" above limit2.
char alarmDigit(const QString& valueText, int limit1, int limit2);
char alarmDigit(double raw, int limit1, int limit2);

// The hourly file of one analyzer on the RS-485 line: the hourly name with
// "_A" and the address in three digits ("14h15_11_A005.dat").
QString lineFileName(const QDateTime& t, int address);

// One record of an analyzer on the line: time "hh:mm:ss", TAB, address
// "000", TAB, first value, TAB, second value, TAB, zero position, TAB, alarm
// digit (of the first value), CR LF. The values are the reply's 5-character
// fields (ppm x10); in the Russian format they are ppm with a decimal comma.
QByteArray lineRecord(const QDateTime& t, int address, const QString& first, const QString& second,
                      int zeroPosition, int limit1, int limit2, bool rus);

// The line that opens a day's text file: "Start=dd/MM/yy" CR LF.
QByteArray startLine(const QDateTime& t);
// The line that ends a spell of recording: "Stop-hh:mm:ss" CR LF, printed as
// one line, so an empty line follows it.
QByteArray stopLine(const QDateTime& t);
// The marks of a gap while the port was away: "Lost-hh:mm:ss" CR LF when it
// went, "Back-hh:mm:ss" CR LF when it came back.
QByteArray lostLine(const QDateTime& t);
QByteArray backLine(const QDateTime& t);
// An operator's comment for the text file: "dd/MM/yy hh:mm:ss-" text CR LF.
QByteArray commentLine(const QDateTime& t, const QString& text);

// The counter of the last complete record in the file at `path`; 0 when the
// file is missing, empty or doesn't end with a record.
int lastNumber(const QString& path);

} // namespace DataRecord
