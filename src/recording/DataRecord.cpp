#include "recording/DataRecord.h"

#include <QFile>

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
    const double raw = QString::fromLatin1(value).trimmed().toDouble();
    const char level = raw <= limit1 ? '0' : raw <= limit2 ? '1' : '3';
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

QByteArray startLine(const QDateTime& t)
{
    return "Start=" + latin1(t, "dd/MM/yy") + "\r\n";
}

QByteArray stopLine(const QDateTime& t)
{
    return "Stop-" + latin1(t, "HH:mm:ss") + "\r\n\r\n";
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
    const QByteArray line = tail.mid(from);
    if (line.size() <= kCounterDigits || line[kCounterDigits] != '\t')
        return 0;
    bool ok = false;
    const int n = line.left(kCounterDigits).toInt(&ok);
    return ok ? n : 0;
}

} // namespace DataRecord
