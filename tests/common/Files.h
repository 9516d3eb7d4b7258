// Whole files read and written by tests.
#pragma once

#include <QDateTime>
#include <QDir>
#include <QFile>

// The bytes of a file; empty when it can't be read.
inline QByteArray contents(const QString& path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

// Makes `bytes` the whole of the file at `path`, last modified at `modified`
// when that is valid; the path, or empty when it can't be written.
inline QString put(const QString& path, const QByteArray& bytes, const QDateTime& modified = {})
{
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size() ||
        !f.flush()) // before the time is set, or the write would set it again
        return {};
    if (modified.isValid())
        f.setFileTime(modified, QFileDevice::FileModificationTime);
    return path;
}

// The one file in `folder` whose name matches `pattern`; empty when there is
// none or more than one.
inline QString onlyFile(const QString& folder, const QString& pattern)
{
    const QStringList names = QDir(folder).entryList({pattern}, QDir::Files);
    return names.size() == 1 ? QDir(folder).filePath(names.first()) : QString();
}
