#include "sim/AnalyzerSim.h"

#include "sim/SimReplies.h"

#include <QMutexLocker>
#include <QRandomGenerator>
#include <algorithm>

using namespace SimReplies;

namespace {
const QByteArray kAck = QByteArrayLiteral("OK\r");
const QByteArray kNak = QByteArrayLiteral("ER\r");

QByteArray serialFor(AnalyzerType type, int address, quint32 seed)
{
    const QByteArray prefix = type == AnalyzerType::ZepC ? "ZC" : "ZD";
    return prefix + QByteArray::number(qMax(0, address)).rightJustified(3, '0') +
           QByteArray::number(seed % 1000).rightJustified(3, '0');
}

// The label a data reply of an analyzer with a line fault carries.
AnalyzerSim::Fault replyFault(LineFault fault)
{
    switch (fault) {
    case LineFault::WrongCheck:
        return AnalyzerSim::Fault::WrongCheck;
    case LineFault::WrongStart:
        return AnalyzerSim::Fault::WrongStart;
    case LineFault::ShortReply:
        return AnalyzerSim::Fault::ShortReply;
    case LineFault::Late:
        return AnalyzerSim::Fault::Late;
    case LineFault::None:
    case LineFault::Silent:
    case LineFault::ShortSerial:
        break;
    }
    return AnalyzerSim::Fault::None;
}
} // namespace

AnalyzerSim::AnalyzerSim(const SimConfig& config, QObject* parent)
    : QObject(parent), config_(config), line_(this), stream_(this)
{
    const quint32 seed = config_.seed ? *config_.seed : QRandomGenerator::global()->generate();
    if (config_.isRs485()) {
        for (int a : config_.addresses)
            units_.emplace_back(a, serialFor(config_.type, a, seed + quint32(a)),
                                seed + quint32(a) * 7919u, config_.profile);
    } else {
        units_.emplace_back(-1, serialFor(config_.type, 0, seed), seed, config_.profile);
    }
    life_.start();
    for (auto it = config_.lineFaults.cbegin(); it != config_.lineFaults.cend(); ++it)
        setLineFault(it.key(), it.value());
    burstSize_ = qMax(1, config_.burstSize);
    answers_ = config_.answers;

    line_.setBaud(config_.baud);
    line_.setListen(config_.listen);
    connect(&line_, &PtyLine::received, this, &AnalyzerSim::onReceived);
    connect(&line_, &PtyLine::pulled, this, &AnalyzerSim::devicePulled);
    connect(&line_, &PtyLine::lineAsked, this, &AnalyzerSim::lineAsked);

    rate_ = std::clamp(config_.readingsPerSecond, kMinSimRate, kMaxRate);
    clocked_ = rate_ >= kClockedRate;
    stream_.setTimerType(Qt::PreciseTimer);
    stream_.setInterval(clocked_ ? 1 : qMax(1, qRound(1000.0 / rate_)));
    connect(&stream_, &QTimer::timeout, this, &AnalyzerSim::onStreamTick);
}

bool AnalyzerSim::start(QString* error)
{
    if (!line_.open(error))
        return false;
    if (config_.silenceAfterMs >= 0)
        QTimer::singleShot(config_.silenceAfterMs, this, [this] { setSilent(true); });
    if (config_.pullAfterMs >= 0)
        QTimer::singleShot(config_.pullAfterMs, this, &AnalyzerSim::pullDevice);
    return true;
}

SimUnit* AnalyzerSim::unitAt(int address)
{
    if (!config_.isRs485())
        return &units_.front();
    auto it = std::find_if(units_.begin(), units_.end(),
                           [address](const SimUnit& u) { return u.address == address; });
    return it == units_.end() ? nullptr : &*it;
}

const SimUnit* AnalyzerSim::unit(int address) const
{
    return const_cast<AnalyzerSim*>(this)->unitAt(address);
}

void AnalyzerSim::setSerialNumber(int address, const QByteArray& serial)
{
    if (SimUnit* u = unitAt(address))
        u->serial = serial.leftJustified(kSerialLen, ' ', true);
}

bool AnalyzerSim::setLineFault(int address, LineFault fault)
{
    SimUnit* u = config_.isRs485() ? unitAt(address) : nullptr;
    if (u)
        u->lineFault = fault;
    return u != nullptr;
}

// --- commands ---------------------------------------------------------------

void AnalyzerSim::onReceived(const QByteArray& bytes)
{
    for (const QByteArray& line : splitter_.feed(bytes))
        handleLine(line);
}

void AnalyzerSim::handleLine(const QByteArray& line)
{
    if (line.isEmpty())
        return;
    {
        QMutexLocker lock(&logLock_);
        commands_ << line;
    }
    Q_EMIT commandReceived(line);
    if (silent_)
        return;

    if (!config_.isRs485()) {
        answer(units_.front(), line);
        return;
    }
    // On the bus only the addressed analyzer answers; the others keep quiet.
    const auto address = frameAddress(line);
    if (!address)
        return;
    SimUnit* u = unitAt(*address);
    if (!u || u->lineFault == LineFault::Silent)
        return;
    if (u->lineFault != LineFault::Late) {
        answer(*u, line.mid(3));
        return;
    }
    // Held back on a timer: the line and the other analyzers go on meanwhile.
    QTimer::singleShot(kLateMs, Qt::PreciseTimer, this,
                       [this, at = u->address, command = line.mid(3)] {
                           SimUnit* late = unitAt(at);
                           if (late && late->lineFault != LineFault::Silent && !silent_)
                               answer(*late, command);
                       });
}

void AnalyzerSim::answer(SimUnit& u, const QByteArray& command)
{
    const QByteArray c = command.trimmed();
    const bool bus = config_.isRs485();

    if (c == "XDAT?" && !bus) {
        startStreaming();
    } else if (c == "CDAT?" && !bus) {
        stopStreaming();
    } else if (c == "DATA?") {
        deliver(bus ? makeDataReply(u) : makeRecord(u), false);
    } else if (c == "SRAL?") {
        const int len = u.lineFault == LineFault::ShortSerial ? kShortSerialLen : kSerialLen;
        reply(u.serial.leftJustified(kSerialLen, ' ', true).left(len) + kCR);
    } else if (c == "ZERO" || c == "INIT") {
        // Acknowledged only: the simulated readings stay as they are, the
        // station applies its own zero offset.
        reply(kAck);
    } else if (c.startsWith("CALB")) {
        bool ok = false;
        const double conc = c.mid(4).trimmed().toDouble(&ok);
        const bool takes = answers_ != AnswerFault::Refuse;
        reply(takes && command.startsWith("CALB ") && ok && conc > 0.0 && conc <= 100.0 ? kAck
                                                                                        : kNak);
    } else if (c == "CUST?") {
        reply(u.userId + kCR);
    } else if (command.startsWith("CUST ")) {
        // The identifier is stored as sent, blanks included; no answer, the
        // station reads it back with "CUST?".
        u.userId = command.mid(5).leftJustified(kUserIdLen, ' ', true);
    } else if (c == "AMB?") {
        reply(ambReply(u.zero, u.lastCh4));
    } else if (c.startsWith("AMB ")) {
        const QByteArray arg = c.mid(4).trimmed();
        bool ok = false;
        const int z = arg.toInt(&ok);
        if (ok && arg.size() <= 4 && z >= 0 && answers_ != AnswerFault::Refuse)
            u.zero = z;
        reply(ambReply(u.zero, u.lastCh4));
    }
    // Anything else is not a command of this analyzer: no answer.
}

void AnalyzerSim::reply(const QByteArray& bytes)
{
    if (answers_ == AnswerFault::Silent)
        return;
    QByteArray out = bytes;
    if (answers_ == AnswerFault::Malformed && !out.isEmpty())
        out[0] = '?';
    line_.send(out);
}

// --- records ----------------------------------------------------------------

void AnalyzerSim::startStreaming()
{
    if (stream_.isActive())
        return;
    streamClock_.start();
    streamReadings_ = 0;
    stream_.start();
    onStreamTick(); // the first record goes out at once
}

void AnalyzerSim::stopStreaming()
{
    stream_.stop();
    // Records held back for a burst never leave the analyzer.
    heldBytes_.clear();
    held_.clear();
    burstOnce_ = 0;
}

void AnalyzerSim::onStreamTick()
{
    if (silent_ || pulled_)
        return;
    // One reading a tick, skipped while the previous record is still on the
    // line; clocked, every reading whose time has come: the line paces them
    // out, and skips those it can't carry when it is too slow for the rate.
    const qint64 due = clocked_ ? qint64(double(streamClock_.nsecsElapsed()) * rate_ / 1e9) + 1
                                : streamReadings_ + 1;
    const auto slackNs = kLineSlackNs + qint64(1e9 / rate_);
    for (; streamReadings_ < due; ++streamReadings_) {
        if (clocked_ ? line_.busyForNs() <= slackNs : line_.pendingBytes() < kRecordLen)
            deliver(makeRecord(units_.front()), true);
    }
}

int AnalyzerSim::takeReading(SimUnit& u)
{
    ++u.readings;
    u.lastCh4 = u.ch4.next(double(life_.elapsed()) / 1000.0);
    return u.lastCh4;
}

AnalyzerSim::SentRecord AnalyzerSim::makeRecord(SimUnit& u)
{
    SentRecord r;
    r.value = takeReading(u);
    r.bytes = streamRecord(config_.type, r.value);
    applyFaults(r, 0);
    return r;
}

AnalyzerSim::SentRecord AnalyzerSim::makeDataReply(SimUnit& u)
{
    SentRecord r;
    r.address = u.address;
    r.value = takeReading(u);
    r.second = u.co2.next();
    DataBody b;
    b.serial = u.serial;
    b.counter = u.readings;
    b.zero = u.zero;
    b.temperature = 200 + u.address % 30;
    b.userId = u.userId;
    b.ch4 = r.value;
    b.co2 = r.second;
    r.bytes = dataReply(b);
    spoilDataReply(r.bytes, u.lineFault);
    applyFaults(r, kFirstValueAt);
    // Line noise may come on top; the analyzer's own fault names the reply.
    if (const Fault own = replyFault(u.lineFault); own != Fault::None)
        r.fault = own;
    return r;
}

void AnalyzerSim::applyFaults(SentRecord& r, int digitsAt)
{
    ++recordNo_;
    const bool garbleNow =
        garbleNext_ || (config_.garbleEvery > 0 && recordNo_ % config_.garbleEvery == 0);
    const bool shiftNow =
        shiftNext_ > 0 || (config_.shiftEvery > 0 && recordNo_ % config_.shiftEvery == 0);
    if (garbleNow) {
        // After the check value is formed, as noise on the line would do.
        garble(r.bytes, digitsAt + recordNo_ % 5);
        r.fault = Fault::Garbled;
    }
    if (shiftNow) {
        // A few stray digits ahead of the record put it out of step.
        const int n = std::clamp(shiftNext_ > 0 ? shiftNext_ : 3, 1, 5);
        r.bytes.prepend(r.bytes.mid(digitsAt, n));
        r.fault = Fault::OutOfStep;
    }
    garbleNext_ = false;
    shiftNext_ = 0;
}

void AnalyzerSim::deliver(const SentRecord& r, bool mayHold)
{
    const int size = burstOnce_ > 0 ? burstOnce_ : burstSize_;
    if (!mayHold || size <= 1) {
        line_.send(r.bytes, [this, r] { logSent(r); });
        return;
    }
    heldBytes_ += r.bytes;
    held_ << r;
    if (held_.size() < size)
        return;
    const QList<SentRecord> batch = held_;
    line_.sendBurst(heldBytes_, [this, batch] {
        for (const SentRecord& s : batch)
            logSent(s);
    });
    heldBytes_.clear();
    held_.clear();
    burstOnce_ = 0;
}

void AnalyzerSim::logSent(const SentRecord& r)
{
    {
        QMutexLocker lock(&logLock_);
        sent_ << r;
    }
    Q_EMIT recordSent(r.address, r.value);
}

// --- faults -----------------------------------------------------------------

void AnalyzerSim::injectGarble()
{
    garbleNext_ = true;
}

void AnalyzerSim::injectOutOfStep(int bytes)
{
    shiftNext_ = std::clamp(bytes, 1, 5);
}

void AnalyzerSim::injectBurst(int records)
{
    burstOnce_ = qMax(2, records);
}

void AnalyzerSim::setBurstSize(int records)
{
    burstSize_ = qMax(1, records);
}

void AnalyzerSim::setSilent(bool silent)
{
    silent_ = silent;
    if (silent)
        line_.discardPending();
}

void AnalyzerSim::pullDevice()
{
    if (pulled_)
        return;
    pulled_ = true;
    stopStreaming();
    line_.pull();
}

// --- logs -------------------------------------------------------------------

QList<QByteArray> AnalyzerSim::commands() const
{
    QMutexLocker lock(&logLock_);
    return commands_;
}

QList<AnalyzerSim::SentRecord> AnalyzerSim::records() const
{
    QMutexLocker lock(&logLock_);
    return sent_;
}

int AnalyzerSim::recordCount() const
{
    QMutexLocker lock(&logLock_);
    return int(sent_.size());
}

void AnalyzerSim::clearLogs()
{
    QMutexLocker lock(&logLock_);
    commands_.clear();
    sent_.clear();
}
