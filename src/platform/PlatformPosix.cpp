// The POSIX side of the platform seam: signals, fdatasync, nice values, ptys.
#include "platform/Platform.h"

#include <QFileDevice>
#include <QSocketNotifier>
#include <QThread>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace platform {

namespace {
QString lastError()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

// The handler's end and the event loop's end of the self-pipe.
int signalFds[2] = {-1, -1};

void onSignal(int sig)
{
    const int saved = errno;
    const char c = char(sig);
    [[maybe_unused]] const auto n = ::write(signalFds[0], &c, 1);
    errno = saved;
}

QString signalName(int sig)
{
    return sig == SIGINT ? QStringLiteral("SIGINT") : QStringLiteral("SIGTERM");
}

void setCloseOnExec(int fd)
{
    ::fcntl(fd, F_SETFD, ::fcntl(fd, F_GETFD) | FD_CLOEXEC);
}
} // namespace

// Signals are turned into bytes on a socket pair by the handler and read
// back by a notifier in the event loop, where anything may be done.
struct ShutdownRequests::Impl
{
    QSocketNotifier* notifier = nullptr;
    struct sigaction oldInt = {};
    struct sigaction oldTerm = {};
};

ShutdownRequests::ShutdownRequests(QObject* parent) : QObject(parent), d_(std::make_unique<Impl>())
{
    if (signalFds[0] >= 0) {
        error_ = QStringLiteral("signals are already watched");
        return;
    }
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalFds) != 0) {
        error_ = lastError();
        signalFds[0] = signalFds[1] = -1;
        return;
    }
    d_->notifier = new QSocketNotifier(signalFds[1], QSocketNotifier::Read, this);
    connect(d_->notifier, &QSocketNotifier::activated, this, [this] {
        char c = 0;
        if (::read(signalFds[1], &c, 1) == 1)
            Q_EMIT requested(signalName(c));
    });
    struct sigaction sa = {};
    sa.sa_handler = onSignal;
    sigemptyset(&sa.sa_mask);
    sa.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &sa, &d_->oldInt);
    ::sigaction(SIGTERM, &sa, &d_->oldTerm);
    watching_ = true;
}

ShutdownRequests::~ShutdownRequests()
{
    if (!watching_)
        return;
    ::sigaction(SIGINT, &d_->oldInt, nullptr);
    ::sigaction(SIGTERM, &d_->oldTerm, nullptr);
    delete d_->notifier;
    ::close(signalFds[0]);
    ::close(signalFds[1]);
    signalFds[0] = signalFds[1] = -1;
}

void ShutdownRequests::finished()
{
    // A signal's handler returns at once; nothing waits for the program.
}

bool syncFile(QFileDevice& file, QString* why)
{
    if (!file.isOpen())
        return true;
    file.flush();
    if (::fdatasync(file.handle()) == 0)
        return true;
    if (why)
        *why = lastError();
    return false;
}

QString raisePriority()
{
    // Without privileges the nice value can't go below the current one; try
    // the strongest first and keep whatever the system grants.
    QString refused;
    for (int nice = -10; nice < 0; ++nice) {
        if (::setpriority(PRIO_PROCESS, 0, nice) == 0) {
            refused.clear();
            break;
        }
        refused = lastError();
    }
    QThread::currentThread()->setPriority(QThread::TimeCriticalPriority);
    return refused;
}

struct Pty::Impl
{
    int master = -1;
    int slave = -1;
    QSocketNotifier* notifier = nullptr;
};

bool Pty::available()
{
    return true;
}

Pty::Pty(QObject* parent) : QObject(parent), d_(std::make_unique<Impl>()) {}

Pty::~Pty()
{
    close();
}

bool Pty::isOpen() const
{
    return d_->master >= 0;
}

bool Pty::open(QString* error)
{
    auto fail = [&](const char* what) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(QLatin1String(what), lastError());
        close();
        return false;
    };
    if (isOpen())
        return true;
    if (::openpty(&d_->master, &d_->slave, nullptr, nullptr, nullptr) < 0) {
        d_->master = d_->slave = -1;
        return fail("Can't create a pseudo-terminal");
    }
    setCloseOnExec(d_->master);
    setCloseOnExec(d_->slave);
    char name[128] = {};
    if (::ttyname_r(d_->slave, name, sizeof name) != 0)
        return fail("Can't name the pseudo-terminal");
    path_ = QString::fromLocal8Bit(name);

    // Raw, 8 data bits, no echo: a plain serial line until the program on
    // the other end sets its own line settings.
    termios t{};
    if (::tcgetattr(d_->slave, &t) < 0)
        return fail("Can't read the terminal settings");
    ::cfmakeraw(&t);
    ::cfsetispeed(&t, B9600);
    ::cfsetospeed(&t, B9600);
    if (::tcsetattr(d_->slave, TCSANOW, &t) < 0)
        return fail("Can't set the terminal to raw mode");
    if (::fcntl(d_->master, F_SETFL, ::fcntl(d_->master, F_GETFL) | O_NONBLOCK) < 0)
        return fail("Can't make the line non-blocking");

    d_->notifier = new QSocketNotifier(d_->master, QSocketNotifier::Read, this);
    connect(d_->notifier, &QSocketNotifier::activated, this, &Pty::readyRead);
    return true;
}

void Pty::close()
{
    delete d_->notifier;
    d_->notifier = nullptr;
    if (d_->master >= 0)
        ::close(d_->master);
    if (d_->slave >= 0)
        ::close(d_->slave);
    d_->master = d_->slave = -1;
}

QByteArray Pty::readAll()
{
    QByteArray data;
    char buf[512];
    while (d_->master >= 0) {
        const ssize_t n = ::read(d_->master, buf, sizeof buf);
        if (n > 0) {
            data.append(buf, n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        // EAGAIN: all read. EIO would mean no tty end is open, which our own
        // descriptor prevents; stop listening rather than spin on it.
        if (n == 0 || errno != EAGAIN)
            d_->notifier->setEnabled(false);
        break;
    }
    return data;
}

qint64 Pty::write(const char* data, qint64 n)
{
    if (d_->master < 0)
        return -1;
    for (;;) {
        const ssize_t done = ::write(d_->master, data, size_t(n));
        if (done >= 0)
            return done;
        if (errno != EINTR)
            return -1;
    }
}

} // namespace platform
