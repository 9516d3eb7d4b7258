#include "rs485/LinePoller.h"

#include "rs485/Waits.h"
#include "rs485/mdRS485.h"
#include "station/Station.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>

LinePoller& LinePoller::of(Station& station)
{
    auto* p = station.findChild<LinePoller*>(QString(), Qt::FindDirectChildrenOnly);
    if (p == nullptr)
        p = new LinePoller(station);
    return *p;
}

LinePoller::LinePoller(Station& st) : QObject(&st), st_(st)
{
    // Queued: a cycle waits for replies in nested event loops, which must not
    // run inside the timer's signal.
    connect(&st_.HTmr, &QTimer::timeout, this, &LinePoller::runCycles, Qt::QueuedConnection);
    connect(&st_, &Station::runningChanged, this, [this](bool running) {
        if (running && st_.rs485Mode)
            QTimer::singleShot(0, this, &LinePoller::runCycles);
    });
}

QList<int> LinePoller::pollList() const
{
    QList<int> marked;
    QList<int> found;
    for (int a = 0; a < Station::kAddresses; ++a) {
        if (st_.polled[size_t(a)])
            marked << a;
        if (!st_.serialNumbers[size_t(a)].isEmpty())
            found << a;
    }
    return marked.isEmpty() ? found : marked;
}

void LinePoller::resetStats()
{
    stats_.fill(Stats{});
}

QStringList LinePoller::statsLines() const
{
    QStringList out;
    for (int a = 0; a < Station::kAddresses; ++a) {
        const Stats& s = stats_[size_t(a)];
        if (s.requests == 0)
            continue;
        out << QStringLiteral("%1: %2 sent, %3 replies, %4 time-outs, %5 refused")
                   .arg(a, 3, 10, QLatin1Char('0'))
                   .arg(s.requests)
                   .arg(s.replies)
                   .arg(s.timeouts)
                   .arg(s.rejected);
    }
    return out;
}

bool LinePoller::active() const
{
    return st_.running && st_.rs485Mode && !st_.stopRequest && !st_.exitFlag;
}

void LinePoller::runCycles()
{
    if (inCycle_) {
        due_ = true;
        return;
    }
    if (!active())
        return;
    inCycle_ = true;
    due_ = false;
    QElapsedTimer t;
    t.start();
    for (int a : pollList()) {
        if (!active())
            break;
        exchange(a);
    }
    ++cycles_;
    inCycle_ = false;
    Q_EMIT cycleFinished(t.elapsed());
    // The next cycle, when one is due already, starts from the event loop:
    // whoever waits in the loop that ran this one gets control back between
    // cycles.
    if (due_)
        QTimer::singleShot(0, this, &LinePoller::runCycles);
}

void LinePoller::exchange(int address)
{
    // A maintenance exchange in progress keeps the line until it is done.
    if (st_.lineBusy())
        WaitUntil([&] { return !st_.lineBusy(); }, 3000, [&] { return st_.exitFlag; });
    const LineExchange line(st_, false);
    if (!line.owns())
        return;
    CommPort& port = st_.myComm;
    Stats& s = stats_[size_t(address)];
    const QString frame =
        QStringLiteral("#%1DATA?\r").arg(QString::fromLatin1(ByteToFF(quint8(address))));
    ++s.requests;
    if (!SendVal(st_, frame, port)) {
        ++s.timeouts;
        Q_EMIT statsChanged(address);
        return;
    }
    const bool ok = ReplyIsOK(st_, RS485ReplyLen, port);
    if (!ok && st_.exitFlag)
        return; // the station is closing: no verdict on this analyzer
    const QByteArray reply = ReadReply(st_, port);
    if (!ok && reply.isEmpty()) {
        ++s.timeouts;
    } else {
        Station::LineReading r;
        r.address = address;
        r.reply = reply;
        bool number = false;
        if (ok && CutData(reply, r.first, r.second))
            r.value = r.first.trimmed().toDouble(&number) - st_.zeroOffset;
        if (number) {
            ++s.replies;
            st_.deliverLine(r);
        } else {
            ++s.rejected;
        }
    }
    Q_EMIT statsChanged(address);
}
