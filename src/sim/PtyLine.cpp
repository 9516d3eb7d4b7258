#include "sim/PtyLine.h"

#include "sim/NetLineEnd.h"

#include <QSocketNotifier>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

namespace {
constexpr int kTickMs = 2;
constexpr qsizetype kReadChunk = 512;

void setCloseOnExec(int fd)
{
    ::fcntl(fd, F_SETFD, ::fcntl(fd, F_GETFD) | FD_CLOEXEC);
}
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
    auto fail = [&](const char* what) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(QLatin1String(what),
                                                  QString::fromLocal8Bit(std::strerror(errno)));
        closeFds();
        return false;
    };
    if (isOpen())
        return true;
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
    if (::openpty(&master_, &slave_, nullptr, nullptr, nullptr) < 0) {
        master_ = slave_ = -1;
        return fail("Can't create a pseudo-terminal");
    }
    setCloseOnExec(master_);
    setCloseOnExec(slave_);
    char name[128] = {};
    if (::ttyname_r(slave_, name, sizeof name) != 0)
        return fail("Can't name the pseudo-terminal");
    path_ = QString::fromLocal8Bit(name);

    // Raw, 8 data bits, no echo: a plain serial line until the station sets
    // its own line settings.
    termios t{};
    if (::tcgetattr(slave_, &t) < 0)
        return fail("Can't read the terminal settings");
    ::cfmakeraw(&t);
    ::cfsetispeed(&t, B9600);
    ::cfsetospeed(&t, B9600);
    if (::tcsetattr(slave_, TCSANOW, &t) < 0)
        return fail("Can't set the terminal to raw mode");
    if (::fcntl(master_, F_SETFL, ::fcntl(master_, F_GETFL) | O_NONBLOCK) < 0)
        return fail("Can't make the line non-blocking");

    notifier_ = new QSocketNotifier(master_, QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &PtyLine::onReadable);
    return true;
}

void PtyLine::closeFds()
{
    tick_.stop();
    delete notifier_;
    notifier_ = nullptr;
    delete net_;
    net_ = nullptr;
    if (master_ >= 0)
        ::close(master_);
    if (slave_ >= 0)
        ::close(slave_);
    master_ = slave_ = -1;
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
    QByteArray data;
    char buf[kReadChunk];
    for (;;) {
        const ssize_t n = ::read(master_, buf, sizeof buf);
        if (n > 0) {
            data.append(buf, n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        // EAGAIN: all read. EIO would mean no slave end is open, which our own
        // descriptor prevents; stop listening rather than spin on it.
        if (n == 0 || errno != EAGAIN)
            notifier_->setEnabled(false);
        break;
    }
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
    for (;;) {
        const ssize_t n = ::write(master_, head.bytes.constData() + head.done, size_t(max));
        if (n >= 0) {
            head.done += n;
            return n;
        }
        if (errno != EINTR)
            break;
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
