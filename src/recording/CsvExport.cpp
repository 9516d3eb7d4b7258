#include "recording/CsvExport.h"

#include "recording/RecordFile.h"

#include <QFileInfo>
#include <QIODevice>
#include <memory>
#include <queue>
#include <vector>

namespace {
using RecordFile::Reader;
using RecordFile::Record;

constexpr char kHeader[] =
    "time,time_utc,record,address,raw,ppm,second_value,zero_position,alarm_level\r\n";
constexpr qsizetype kFlushAt = 1 << 20;
constexpr qint64 kProgressRows = 4096;

// The calendar date of a count of days since 1970-01-01 (proleptic Gregorian).
void civil(qint64 days, int* y, int* m, int* d)
{
    days += 719468;
    const qint64 era = (days >= 0 ? days : days - 146096) / 146097;
    const qint64 doe = days - era * 146097;
    const qint64 yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const qint64 doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const qint64 mp = (5 * doy + 2) / 153;
    *d = int(doy - (153 * mp + 2) / 5 + 1);
    *m = int(mp < 10 ? mp + 3 : mp - 9);
    *y = int(yoe + era * 400 + (*m <= 2));
}

// Appends the digits of `v`, at least `width` of them.
void digits(QByteArray& out, qint64 v, int width = 1)
{
    char tmp[24];
    int n = 0;
    const bool minus = v < 0;
    quint64 u = minus ? quint64(-v) : quint64(v);
    do {
        tmp[n++] = char('0' + u % 10);
        u /= 10;
    } while (u);
    while (n < width)
        tmp[n++] = '0';
    if (minus)
        out += '-';
    while (n)
        out += tmp[--n];
}

// "YYYY-MM-DD HH:MM:SS" (sep ' ') or "YYYY-MM-DDTHH:MM:SSZ" (sep 'T').
void stamp(QByteArray& out, qint64 ms, char sep)
{
    qint64 s = ms >= 0 ? ms / 1000 : (ms - 999) / 1000;
    qint64 days = s >= 0 ? s / 86400 : (s - 86399) / 86400;
    const int sod = int(s - days * 86400);
    int y, m, d;
    civil(days, &y, &m, &d);
    digits(out, y, 4);
    out += '-';
    digits(out, m, 2);
    out += '-';
    digits(out, d, 2);
    out += sep;
    digits(out, sod / 3600, 2);
    out += ':';
    digits(out, sod / 60 % 60, 2);
    out += ':';
    digits(out, sod % 60, 2);
    if (sep == 'T')
        out += 'Z';
}

// ppm from ppm x10, one decimal: -15 is "-1.5", -5 is "-0.5".
void ppm(QByteArray& out, int raw)
{
    if (raw < 0)
        out += '-';
    const int a = raw < 0 ? -raw : raw;
    digits(out, a / 10);
    out += '.';
    out += char('0' + a % 10);
}

void row(QByteArray& out, const Record& r)
{
    stamp(out, r.localMs, ' ');
    out += ',';
    stamp(out, r.utcMs, 'T');
    out += ',';
    digits(out, r.number);
    out += ',';
    if (r.address >= 0)
        digits(out, r.address);
    out += ',';
    digits(out, r.raw);
    out += ',';
    ppm(out, r.raw);
    out += ',';
    if (r.hasSecond)
        digits(out, r.second);
    out += ',';
    digits(out, r.zeroPosition);
    out += ',';
    digits(out, r.alarm);
    out += "\r\n";
}

// One file's place in the merge: its reader and the record it offers next.
struct Source
{
    std::unique_ptr<Reader> reader;
    Record head;
    int order = 0; // files given first win a tie
};

bool advance(Source& s)
{
    if (s.reader->next(s.head))
        return true;
    s.reader->finish(); // the files are read as they stand: a cut last line counts
    return s.reader->next(s.head);
}
} // namespace

CsvResult exportCsv(const QStringList& paths, QIODevice& out, CsvProgress* progress)
{
    CsvResult result;
    if (progress) {
        qint64 total = 0;
        for (const QString& path : paths)
            total += QFileInfo(path).size();
        progress->total = total;
    }
    std::vector<Source> sources;
    sources.reserve(size_t(paths.size()));
    for (const QString& path : paths) {
        Source s{std::make_unique<Reader>(path), {}, int(sources.size())};
        if (!s.reader->open()) {
            result.errors << QStringLiteral("%1: %2").arg(path, s.reader->error());
            continue;
        }
        if (!advance(s)) {
            result.skipped += s.reader->skipped();
            result.errors << QStringLiteral("%1: no records").arg(path);
            continue;
        }
        sources.push_back(std::move(s));
    }
    // The oldest head first; the files stay open side by side and each gives
    // one record at a time, so memory holds a record per file, not the files.
    const auto later = [&](int a, int b) {
        const Source& x = sources[size_t(a)];
        const Source& y = sources[size_t(b)];
        return x.head.utcMs != y.head.utcMs ? x.head.utcMs > y.head.utcMs : x.order > y.order;
    };
    std::priority_queue<int, std::vector<int>, decltype(later)> heap(later);
    for (int i = 0; i < int(sources.size()); ++i)
        heap.push(i);

    QByteArray buf;
    buf.reserve(kFlushAt + 256);
    buf += kHeader;
    while (!heap.empty()) {
        const int i = heap.top();
        heap.pop();
        Source& s = sources[size_t(i)];
        row(buf, s.head);
        ++result.rows;
        if (buf.size() >= kFlushAt) {
            out.write(buf);
            buf.clear();
        }
        if (progress && result.rows % kProgressRows == 0) {
            qint64 done = 0;
            for (const Source& x : sources)
                done += x.reader->bytesRead();
            progress->done = done;
            if (progress->cancel) {
                result.cancelled = true;
                break;
            }
        }
        if (advance(s))
            heap.push(i);
    }
    out.write(buf);
    for (const Source& s : sources)
        result.skipped += s.reader->skipped();
    return result;
}
