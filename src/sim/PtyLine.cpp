#include "sim/PtyLine.h"

#include "platform/Platform.h"
#include "sim/NetLineEnd.h"

namespace {
constexpr int kTickMs = 2;
} // namespace

PtyLine::PtyLine(QObject* parent) : QObject(parent), tick_(this)
{
    tick_.setTimerType(Qt::PreciseTimer);
    tick_.setInterval(kTickMs);
    connect(&tick_, &QTimer::timeout, this, &PtyLine::onTick);
}

PtyLine::~PtyLine()
{
    closeFds();
}

bool PtyLine::open(QString* error)
{
    if (isOpen())
        return true;
    // Without pseudo-terminals (Windows) the line is served on loopback, and
    // the station opens its address instead of a tty.
    if (!listen_.isNetwork() && !platform::Pty::available())
        PortAddress::parse(QStringLiteral("tcp://127.0.0.1:0"), &listen_, nullptr, true);
    if (listen_.isNetwork()) {
        net_ = new NetLineEnd(this);
        if (!net_->listen(listen_, error)) {
            delete net_;
            net_ = nullptr;
            return false;
        }
        path_ = net_->url();
        connect(net_, &NetLineEnd::received, this, &PtyLine::received);
        connect(net_, &NetLineEnd::lineAsked, this, [this](const QString& settings, int baud) {
            setBaud(baud);
            Q_EMIT lineAsked(settings);
        });
        return true;
    }
    pty_ = new platform::Pty(this);
    if (!pty_->open(error)) {
        closeFds();
        return false;
    }
    path_ = pty_->ttyPath();
    connect(pty_, &platform::Pty::readyRead, this, &PtyLine::onReadable);
    return true;
}

void PtyLine::closeFds()
{
    tick_.stop();
    delete net_;
    net_ = nullptr;
    delete pty_;
    pty_ = nullptr;
}

void PtyLine::pull()
{
    if (!isOpen())
        return;
    queue_.clear();
    closeFds();
    Q_EMIT pulled();
}

void PtyLine::onReadable()
{
    const QByteArray data = pty_->readAll();
    if (!data.isEmpty())
        Q_EMIT received(data);
}

void PtyLine::send(const QByteArray& bytes, std::function<void()> sent)
{
    enqueue({bytes, 0, false, std::move(sent)});
}

void PtyLine::sendBurst(const QByteArray& bytes, std::function<void()> sent)
{
    enqueue({bytes, 0, true, std::move(sent)});
}

void PtyLine::enqueue(Chunk chunk)
{
    if (!isOpen() || chunk.bytes.isEmpty())
        return;
    if (queue_.empty()) {
        // The line was idle: the first bit goes out now.
        lineClock_.start();
        lineBytes_ = 0;
    }
    queue_.push_back(std::move(chunk));
    if (!tick_.isActive())
        tick_.start();
}

void PtyLine::discardPending()
{
    queue_.clear();
    tick_.stop();
}

qsizetype PtyLine::pendingBytes() const
{
    qsizetype n = 0;
    for (const Chunk& c : queue_)
        n += c.bytes.size() - c.done;
    return n;
}

qint64 PtyLine::busyForNs() const
{
    if (queue_.empty())
        return 0;
    const auto lineEnd = qint64(double(lineBytes_ + pendingBytes()) * 1e10 / baud_);
    return qMax<qint64>(0, lineEnd - lineClock_.nsecsElapsed());
}

qsizetype PtyLine::writeHead(qsizetype max)
{
    Chunk& head = queue_.front();
    if (net_ != nullptr) {
        const qint64 n = net_->write(head.bytes.constData() + head.done, max);
        head.done += n;
        return n;
    }
    const qint64 n = pty_->write(head.bytes.constData() + head.done, max);
    if (n >= 0) {
        head.done += n;
        return n;
    }
    // Nobody is reading and the line's buffer is full (or the line broke):
    // what is still queued is lost, as on a real line without a listener.
    dropped_ += pendingBytes();
    discardPending();
    return -1;
}

void PtyLine::finishHead()
{
    std::function<void()> sent = std::move(queue_.front().sent);
    queue_.pop_front();
    if (sent)
        sent();
}

void PtyLine::onTick()
{
    while (isOpen() && !queue_.empty()) {
        Chunk& head = queue_.front();
        const qsizetype left = head.bytes.size() - head.done;
        if (head.burst) {
            if (writeHead(left) < 0)
                return;
            if (head.done < head.bytes.size())
                return; // the rest goes with the next tick
            // Pacing starts afresh after a burst.
            lineClock_.start();
            lineBytes_ = 0;
        } else {
            // Bytes whose 10 bit times have passed since the line turned busy.
            const auto due = qint64(double(lineClock_.nsecsElapsed()) * baud_ / 1e10) - lineBytes_;
            if (due <= 0)
                return;
            const qsizetype n = writeHead(qMin<qsizetype>(due, left));
            if (n < 0)
                return;
            lineBytes_ += n;
            if (head.done < head.bytes.size())
                return;
        }
        finishHead();
    }
    tick_.stop();
}
