#include "recording/DataRecord.h"

#include "platform/Platform.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>

namespace {
constexpr int kCounterDigits = 5;
constexpr qint64 kTailBytes = 512; // longer than any record

QByteArray latin1(const QDateTime& t, const char* format)
{
    return t.toString(QLatin1String(format)).toLatin1();
}

QByteArray zeroField(int zeroPosition)
{
    // A negative position keeps the width: the sign and four digits.
    if (zeroPosition < 0)
        return '-' + QByteArray::number(-qint64(zeroPosition)).rightJustified(4, '0');
    return QByteArray::number(zeroPosition).rightJustified(5, '0');
}
} // namespace

namespace DataRecord {

bool syncToDisk(QFile& f)
{
    return platform::syncFile(f);
}

bool reopenIfGone(QFile& f, const QString& path, QString* why)
{
    if (f.isOpen() && QFileInfo::exists(path))
        return true;
    f.close();
    f.setFileName(path);
    if (f.open(kAppend))
        return true;
    *why = f.errorString();
    return false;
}

bool appendWhole(QFile& f, const QByteArray& bytes, QString* why)
{
    const qint64 at = f.isSequential() ? -1 : f.size();
    qint64 done = 0;
    // A short write is followed by another, which reports the reason.
    while (done < bytes.size()) {
        const qint64 n = f.write(bytes.constData() + done, bytes.size() - done);
        if (n <= 0)
            break;
        done += n;
    }
    if (done == bytes.size() && f.flush())
        return true;
    *why = f.errorString();
    f.unsetError();
    if (done > 0 && at >= 0)
        f.resize(at);
    return false;
}

bool appendToPath(const QString& path, const QByteArray& bytes, QString* why)
{
    QFile f(path);
    if (!f.open(kAppend)) {
        *why = f.errorString();
        return false;
    }
    const bool ok = appendWhole(f, bytes, why);
    syncToDisk(f);
    return ok;
}

QString dataFileName(const QDateTime& t)
{
    return t.toString(QStringLiteral("HH")) + QLatin1Char('h') +
           t.toString(QStringLiteral("dd_MM")) + QStringLiteral(".dat");
}

QString textFileName(const QDateTime& t)
{
    return t.toString(QStringLiteral("dd_MM_yy")) + QStringLiteral(".txt");
}

QByteArray bytes(int counter, const QDateTime& t, const QByteArray& reply, int zeroPosition,
                 int limit1, int limit2)
{
    const QByteArray value = reply.left(reply.size() - 1);
    const char level = alarmDigit(QString::fromLatin1(value), limit1, limit2);
    QByteArray r = QByteArray::number(counter).rightJustified(kCounterDigits, '0');
    r += '\t';
    r += latin1(t, "HH:mm:ss");
    r += '\t';
    r += value; // the tab below takes the place of the reply's last byte
    r += '\t';
    r += zeroField(zeroPosition);
    r += '\t';
    r += level;
    r += "\r\n";
    return r;
}

char alarmDigit(const QString& valueText, int limit1, int limit2)
{
    return alarmDigit(valueText.trimmed().toDouble(), limit1, limit2);
}

char alarmDigit(double raw, int limit1, int limit2)
{
    return raw <= limit1 ? '0' : raw <= limit2 ? '1' : '3';
}

QString lineFileName(const QDateTime& t, int address)
{
    return t.toString(QStringLiteral("HH")) + QLatin1Char('h') +
           t.toString(QStringLiteral("dd_MM")) + QStringLiteral("_A") +
           QString::number(address).rightJustified(3, QLatin1Char('0')) + QStringLiteral(".dat");
}

namespace {
// A value field as ppm with a decimal comma ("00019" is "1,9").
QByteArray rusValue(const QString& field)
{
    bool ok = false;
    const double ppm = field.trimmed().toDouble(&ok) / 10.0;
    if (!ok)
        return field.toLatin1();
    return QByteArray::number(ppm, 'f', 1).replace('.', ',');
}
} // namespace

QByteArray lineRecord(const QDateTime& t, int address, const QString& first, const QString& second,
                      int zeroPosition, int limit1, int limit2, bool rus)
{
    QByteArray r = latin1(t, "HH:mm:ss");
    r += '\t';
    r += QByteArray::number(address).rightJustified(3, '0');
    r += '\t';
    r += rus ? rusValue(first) : first.toLatin1();
    r += '\t';
    r += rus ? rusValue(second) : second.toLatin1();
    r += '\t';
    r += zeroField(zeroPosition);
    r += '\t';
    r += alarmDigit(first, limit1, limit2);
    r += "\r\n";
    return r;
}

QByteArray startLine(const QDateTime& t)
{
    return "Start=" + latin1(t, "dd/MM/yy") + "\r\n";
}

QByteArray stopLine(const QDateTime& t)
{
    return "Stop-" + latin1(t, "HH:mm:ss") + "\r\n\r\n";
}

QByteArray lostLine(const QDateTime& t)
{
    return "Lost-" + latin1(t, "HH:mm:ss") + "\r\n";
}

QByteArray backLine(const QDateTime& t)
{
    return "Back-" + latin1(t, "HH:mm:ss") + "\r\n";
}

QByteArray commentLine(const QDateTime& t, const QString& text)
{
    // The platform's 8-bit text: UTF-8 here, the ANSI code page on Windows.
    return latin1(t, "dd/MM/yy HH:mm:ss") + '-' + text.toLocal8Bit() + "\r\n";
}

int lastNumber(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly) || f.size() == 0)
        return 0;
    f.seek(qMax<qint64>(0, f.size() - kTailBytes));
    const QByteArray tail = f.readAll();
    if (!tail.endsWith("\r\n"))
        return 0;
    const qsizetype from = tail.lastIndexOf('\n', tail.size() - 2) + 1;
    // The counter has five digits, more once an hour holds 100,000 records
    // or more: it is read up to its tab.
    const QByteArray line = tail.mid(from);
    const qsizetype tab = line.indexOf('\t');
    if (tab < kCounterDigits)
        return 0;
    const QByteArray digits = line.left(tab);
    if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return 0;
    bool ok = false;
    const int n = digits.toInt(&ok);
    return ok ? n : 0;
}

} // namespace DataRecord
