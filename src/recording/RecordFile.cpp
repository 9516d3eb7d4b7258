#include "recording/RecordFile.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
#include <algorithm>
#include <cstdlib>

namespace RecordFile {

namespace {
constexpr qint64 kChunk = 1 << 20;
constexpr int kPeekLines = 50; // lines looked at to tell a record file from another
// A time more than this earlier than the last is the next day; a smaller step
// back is a clock set back (the end of summer time).
constexpr int kBackJump = 2 * 3600;

// The fields of one line, before any date is known.
struct Fields
{
    int number = -1; // -1 on the line
    int seconds = 0; // of the day
    int address = -1;
    int raw = 0;
    int second = 0;
    bool hasSecond = false;
    int zero = 0;
    int alarm = 0;
};

bool digitsValue(const char* p, const char* e, int maxDigits, int* v)
{
    if (p == e || e - p > maxDigits)
        return false;
    int n = 0;
    for (; p < e; ++p) {
        if (*p < '0' || *p > '9')
            return false;
        n = n * 10 + (*p - '0');
    }
    *v = n;
    return true;
}

bool signedValue(const char* p, const char* e, int* v)
{
    const bool minus = p < e && *p == '-';
    if (!digitsValue(p + minus, e, 9, v))
        return false;
    if (minus)
        *v = -*v;
    return true;
}

// A line's value in ppm x10: the raw digits, or ppm with one decimal after a
// comma (the Russian format of the line's files).
bool lineValue(const char* p, const char* e, int* v)
{
    const char* comma = std::find(p, e, ',');
    if (comma == e)
        return signedValue(p, e, v);
    int whole = 0, tenth = 0;
    const bool minus = p < e && *p == '-';
    if (!digitsValue(p + minus, comma, 8, &whole) || !digitsValue(comma + 1, e, 1, &tenth))
        return false;
    *v = (whole * 10 + tenth) * (minus ? -1 : 1);
    return true;
}

bool timeOfDay(const char* p, const char* e, int* seconds)
{
    int h = 0, m = 0, s = 0;
    if (e - p != 8 || p[2] != ':' || p[5] != ':' || !digitsValue(p, p + 2, 2, &h) ||
        !digitsValue(p + 3, p + 5, 2, &m) || !digitsValue(p + 6, p + 8, 2, &s) || h > 23 ||
        m > 59 || s > 59)
        return false;
    *seconds = h * 3600 + m * 60 + s;
    return true;
}

bool parseFields(const char* p, const char* end, Fields& f)
{
    while (p < end && *p == '\0') // a power cut can leave NULs before the next record
        ++p;
    while (end > p && (end[-1] == '\r' || end[-1] == '\0'))
        --end;
    const char* cut[8];
    int n = 0;
    cut[n++] = p;
    for (const char* q = p; q < end && n < 8; ++q) {
        if (*q == '\t')
            cut[n++] = q + 1;
    }
    if (n != 5 && n != 6)
        return false;
    cut[n] = end + 1;
    const auto field = [&](int i, const char** b, const char** e) {
        *b = cut[i];
        *e = cut[i + 1] - 1;
    };
    const char *b, *e;
    field(n - 1, &b, &e);
    if (e - b != 1 || (*b != '0' && *b != '1' && *b != '3'))
        return false;
    f.alarm = *b - '0';
    field(n - 2, &b, &e);
    if (!signedValue(b, e, &f.zero))
        return false;
    if (n == 5) {
        field(0, &b, &e);
        if (!digitsValue(b, e, 9, &f.number))
            return false;
        field(1, &b, &e);
        if (!timeOfDay(b, e, &f.seconds))
            return false;
        field(2, &b, &e);
        f.address = -1;
        f.hasSecond = false;
        return signedValue(b, e, &f.raw); // below zero once a zero offset is off
    }
    field(0, &b, &e);
    if (!timeOfDay(b, e, &f.seconds))
        return false;
    field(1, &b, &e);
    if (e - b != 3 || !digitsValue(b, e, 3, &f.address) || f.address > 255)
        return false;
    field(2, &b, &e);
    if (!lineValue(b, e, &f.raw))
        return false;
    field(3, &b, &e);
    f.hasSecond = lineValue(b, e, &f.second);
    f.number = -1;
    return f.hasSecond;
}
} // namespace

std::optional<NameInfo> parseName(const QString& fileName)
{
    static const QRegularExpression re(
        QStringLiteral(R"(^(\d{1,2})h(\d\d)_(\d\d)(?:_A(\d{3}))?\.dat$)"),
        QRegularExpression::CaseInsensitiveOption);
    const auto m = re.match(fileName);
    if (!m.hasMatch())
        return std::nullopt;
    NameInfo n;
    n.hour = m.captured(1).toInt();
    n.day = m.captured(2).toInt();
    n.month = m.captured(3).toInt();
    n.address = m.captured(4).isEmpty() ? -1 : m.captured(4).toInt();
    if (n.hour > 23 || n.day < 1 || n.day > 31 || n.month < 1 || n.month > 12 || n.address > 255)
        return std::nullopt;
    return n;
}

int yearFor(const QString& folder, int day, int month, const QDateTime& modified)
{
    const QDate seen = modified.isValid() ? modified.date() : QDate::currentDate();
    const QString dd = QStringLiteral("%1").arg(day, 2, 10, QLatin1Char('0'));
    const QString mm = QStringLiteral("%1").arg(month, 2, 10, QLatin1Char('0'));
    const QByteArray mark = "Start=" + dd.toLatin1() + '/' + mm.toLatin1() + '/';
    const QDir dir(folder);
    int best = 0;
    for (const QString& name : dir.entryList({dd + '_' + mm + QStringLiteral("_??.txt")})) {
        QFile f(dir.filePath(name));
        if (!f.open(QIODevice::ReadOnly))
            continue;
        const QByteArray head = f.read(4096);
        const qsizetype at = head.indexOf(mark);
        int yy = 0;
        if (at < 0 || !digitsValue(head.constData() + at + mark.size(),
                                   head.constData() + std::min(head.size(), at + mark.size() + 2),
                                   2, &yy))
            continue;
        // Of the days' files that match, the year nearest the file's time.
        const int year = 2000 + yy;
        if (best == 0 || std::abs(year - seen.year()) < std::abs(best - seen.year()))
            best = year;
    }
    if (best != 0)
        return best;
    const int year = seen.year();
    const QDate inYear(year, month, day);
    return inYear.isValid() && inYear > seen ? year - 1 : year;
}

Reader::Reader(const QString& path) : path_(path), file_(path) {}

void Reader::startDay(const QDate& d)
{
    date_ = d;
    dayLocalMs_ = QDateTime(d, QTime(0, 0), Qt::UTC).toMSecsSinceEpoch();
    for (int h = 0; h < 24; ++h)
        hourUtcMs_[h] = QDateTime(d, QTime(h, 0), Qt::LocalTime).toMSecsSinceEpoch();
}

// A file with a name of its own: the last record is of the day the file was
// last written (the day before when its time lies after that moment), and
// each midnight crossed between the records counts one day back.
bool Reader::dateFromModified()
{
    const QDateTime modified = QFileInfo(file_).lastModified();
    int crossings = 0, last = -1;
    QByteArray part;
    for (bool more = true; more;) {
        const QByteArray chunk = file_.read(kChunk);
        more = !chunk.isEmpty();
        part += chunk;
        qsizetype at = 0;
        for (qsizetype nl; (nl = part.indexOf('\n', at)) >= 0 || (!more && at < part.size());
             at = nl + 1) {
            if (nl < 0)
                nl = part.size();
            Fields f;
            if (parseFields(part.constData() + at, part.constData() + nl, f)) {
                if (last >= 0 && f.seconds < last - kBackJump)
                    ++crossings;
                last = f.seconds;
            }
        }
        part.remove(0, std::min(at, part.size()));
    }
    file_.seek(0);
    QDate day = modified.date();
    if (last >= 0 && last > modified.time().msecsSinceStartOfDay() / 1000 + 60)
        day = day.addDays(-1);
    startDay(day.addDays(-crossings));
    return true;
}

bool Reader::open()
{
    if (!file_.open(QIODevice::ReadOnly)) {
        error_ = file_.errorString();
        return false;
    }
    name_ = parseName(QFileInfo(path_).fileName());
    if (name_) {
        address_ = name_->address;
        const QFileInfo info(path_);
        const int year = yearFor(info.absolutePath(), name_->day, name_->month, info.lastModified());
        const QDate d(year, name_->month, name_->day);
        if (!d.isValid()) {
            error_ = QStringLiteral("no such day in %1").arg(year);
            return false;
        }
        startDay(d);
    } else {
        dateFromModified();
    }
    fill();
    // A file whose first lines are all something else is not a data file.
    int lines = 0, records = 0;
    for (qsizetype at = 0; at < buffer_.size() && lines < kPeekLines;) {
        const qsizetype nl = buffer_.indexOf('\n', at);
        const qsizetype end = nl < 0 ? buffer_.size() : nl;
        Fields f;
        if (end > at) {
            ++lines;
            records += parseFields(buffer_.constData() + at, buffer_.constData() + end, f);
            if (records == 1 && address_ < 0)
                address_ = f.address;
        }
        at = end + 1;
    }
    if (lines > 0 && records == 0) {
        error_ = QStringLiteral("not a data file of the station");
        return false;
    }
    return true;
}

bool Reader::fill()
{
    if (at_ > 0) {
        buffer_.remove(0, at_);
        at_ = 0;
    }
    const QByteArray more = file_.read(kChunk);
    buffer_ += more;
    return !more.isEmpty();
}

bool Reader::next(Record& out)
{
    for (;;) {
        qsizetype nl = buffer_.indexOf('\n', at_);
        if (nl < 0 && fill())
            continue;
        if (nl < 0) {
            if (!finished_ || at_ >= buffer_.size())
                return false; // a last line still being written waits for its end
            nl = buffer_.size();
        }
        const char* p = buffer_.constData() + at_;
        const char* e = buffer_.constData() + nl;
        at_ = nl + 1;
        if (e == p || (e - p == 1 && *p == '\r'))
            continue; // the empty line after a stop mark
        if (parse(p, e, out))
            return true;
        ++skipped_; // cut short, NUL padding a power cut left, or anything else

    }
}

bool Reader::parse(const char* p, const char* end, Record& out)
{
    Fields f;
    if (!parseFields(p, end, f))
        return false;
    if (lastSecondOfDay_ < 0) {
        if (name_ && f.seconds < name_->hour * 3600)
            startDay(date_.addDays(1)); // the hour's file holds the next midnight
    } else if (f.seconds < lastSecondOfDay_ - kBackJump) {
        startDay(date_.addDays(1));
    }
    lastSecondOfDay_ = f.seconds;
    ++count_;
    out.utcMs = hourUtcMs_[f.seconds / 3600] + qint64(f.seconds % 3600) * 1000;
    out.localMs = dayLocalMs_ + qint64(f.seconds) * 1000;
    out.number = f.number >= 0 ? f.number : count_;
    out.address = f.address;
    out.raw = f.raw;
    out.second = f.second;
    out.hasSecond = f.hasSecond;
    out.zeroPosition = f.zero;
    out.alarm = f.alarm;
    return true;
}

QVector<Record> readAll(const QStringList& paths, int* skipped, QStringList* errors)
{
    QVector<Record> all;
    int damaged = 0;
    for (const QString& path : paths) {
        Reader r(path);
        if (!r.open()) {
            if (errors)
                *errors << QStringLiteral("%1: %2").arg(path, r.error());
            continue;
        }
        r.finish();
        Record rec;
        while (r.next(rec))
            all.append(rec);
        damaged += r.skipped();
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Record& a, const Record& b) { return a.utcMs < b.utcMs; });
    if (skipped)
        *skipped = damaged;
    return all;
}

} // namespace RecordFile
