#pragma once

#include <QList>
#include <QObject>
#include <QStringList>
#include <array>

class Station;

// Polling on the RS-485 line. While the station runs in RS-485 mode, each
// tick of the polling timer HTmr starts one cycle that asks every polled
// analyzer once for its data, in ascending address order, one exchange at a
// time: "#" + address + "DATA?" + CR, a 73-byte reply, CutData. Cycles never
// overlap: a tick during a cycle makes the next one follow at once, and no
// address is skipped. Run starts the first cycle at once. Stop and Exit end
// a cycle after the exchange in progress.
//
// Each accepted reply is a reading of its analyzer (the first value less the
// zero offset) handed to the station's line sinks. One per Station, a child
// of it; created by whoever runs the station (LinePoller::of).
class LinePoller : public QObject
{
    Q_OBJECT
public:
    // Per address: frames sent, replies accepted, replies that never came
    // (no byte within the wait), replies refused (short, long, a wrong start
    // byte or CR, a value that is not a number).
    struct Stats
    {
        qint64 requests = 0;
        qint64 replies = 0;
        qint64 timeouts = 0;
        qint64 rejected = 0;
    };

    static LinePoller& of(Station& station);

    // The addresses a cycle asks: the ones marked for polling, or, when none
    // is marked, every analyzer the scan found.
    QList<int> pollList() const;

    const Stats& stats(int address) const { return stats_[size_t(address & 0xFF)]; }
    void resetStats();
    // "005: 120 sent, 118 replies, 1 time-outs, 1 refused" for each address asked so far.
    QStringList statsLines() const;

    bool inCycle() const { return inCycle_; }
    qint64 cycles() const { return cycles_; }

    // Runs one cycle now (when one is running already, the next is made due
    // and follows it at once).
    void runCycles();

Q_SIGNALS:
    void statsChanged(int address);
    void cycleFinished(qint64 elapsedMs);

private:
    explicit LinePoller(Station& st);
    bool active() const;
    void exchange(int address);

    Station& st_;
    std::array<Stats, 256> stats_{};
    bool inCycle_ = false;
    bool due_ = false;
    qint64 cycles_ = 0;
};
