#pragma once

#include <QStringList>
#include <atomic>

class QIODevice;

// The records of data files as CSV (RFC 4180, CR LF line ends, one header
// line): time (local, "YYYY-MM-DD HH:MM:SS"), time_utc (ISO 8601 with Z),
// record, address (empty for the single analyzer), raw (ppm x10), ppm,
// second_value (the line only), zero_position, alarm_level. Rows come in time
// order across the files, streamed: memory does not grow with the input.
struct CsvResult
{
    qint64 rows = 0;
    int skipped = 0;    // damaged lines left out
    QStringList errors; // files that could not be read, with the reason
    bool cancelled = false;
};
// What an export shows of its progress and how it is stopped, for one run on
// another thread: the bytes of the files read so far out of all of them, and
// a request to stop, checked every few thousand rows.
struct CsvProgress
{
    std::atomic<qint64> done{0};
    std::atomic<qint64> total{0};
    std::atomic<bool> cancel{false};
};
CsvResult exportCsv(const QStringList& paths, QIODevice& out, CsvProgress* progress = nullptr);
