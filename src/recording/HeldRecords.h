#pragma once

#include <QByteArray>
#include <QString>
#include <deque>
#include <functional>
#include <utility>

// Records accepted but not yet written, oldest first, each with the file it
// belongs to: what a recorder keeps while its folder or disk is away. At most
// kMax are kept (two days at one reading a second); beyond that the oldest
// are given up, and counted.
class HeldRecords
{
public:
    static constexpr int kMax = 2 * 24 * 3600;

    // Appends `bytes` to the file at `path`; false, with the reason, when it can't.
    using Append = std::function<bool(const QString& path, const QByteArray& bytes, QString* why)>;

    void add(const QString& path, const QByteArray& bytes)
    {
        held_.push_back({path, bytes});
        if (held_.size() > size_t(kMax)) {
            held_.pop_front();
            ++overflow_;
        }
    }

    // Writes the records in order, the run bound for one file in one write.
    // True when none is left; otherwise *path and *why tell where it stopped.
    bool writeAll(const Append& append, QString* path, QString* why)
    {
        while (!held_.empty()) {
            *path = held_.front().path;
            QByteArray run;
            auto end = held_.begin();
            for (; end != held_.end() && end->path == *path; ++end)
                run += end->bytes;
            if (!append(*path, run, why))
                return false;
            held_.erase(held_.begin(), end);
        }
        return true;
    }

    int size() const { return int(held_.size()); }
    bool empty() const { return held_.empty(); }
    QString firstPath() const { return held_.empty() ? QString() : held_.front().path; }
    // Records given up for room since the last take.
    qint64 takeOverflow() { return std::exchange(overflow_, 0); }
    // Gives all up; returns how many, with those given up for room.
    qint64 clear()
    {
        const qint64 n = qint64(held_.size()) + takeOverflow();
        held_.clear();
        return n;
    }

    // The line that says a backlog of `written` records went out.
    QString writtenNote(int written, const QString& where)
    {
        QString text = QStringLiteral("%1 records held while %2 was not writable are written now")
                           .arg(written)
                           .arg(where);
        if (const qint64 lost = takeOverflow())
            text += QStringLiteral("; %1 older records had to be given up").arg(lost);
        return text;
    }

private:
    struct Held
    {
        QString path;
        QByteArray bytes;
    };
    std::deque<Held> held_;
    qint64 overflow_ = 0;
};
