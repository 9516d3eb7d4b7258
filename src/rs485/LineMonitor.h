#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QObject>

class Station;

// Every frame that goes out on the RS-485 line and every reply read back,
// with its time to the millisecond, kept for the line monitor window. It
// holds the newest kCapacity frames; older ones are dropped (and counted).
// One per Station, a child of it.
class LineMonitor : public QObject
{
    Q_OBJECT
public:
    static constexpr int kCapacity = 2000;

    struct Frame
    {
        QDateTime time;
        bool sent = false; // false: received
        QByteArray bytes;
    };

    static LineMonitor& of(Station& station);

    void sent(const QByteArray& bytes) { add(true, bytes); }
    void received(const QByteArray& bytes) { add(false, bytes); }

    const QList<Frame>& frames() const { return frames_; }
    qint64 dropped() const { return dropped_; }
    void clear();

    // "12:00:01.250 > #05DATA?<CR>" (">" sent, "<" received).
    static QString describe(const Frame& f);

Q_SIGNALS:
    void frameAdded();

private:
    explicit LineMonitor(QObject* parent) : QObject(parent) {}
    void add(bool sent, const QByteArray& bytes);

    QList<Frame> frames_;
    qint64 dropped_ = 0;
};
