#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QString>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

// A pseudo-terminal for tests that need the far end of a serial line: the
// station opens slavePath() like any tty, the test reads and writes the master.
class Pty
{
public:
    Pty()
    {
        int slave = -1;
        char name[256] = {};
        if (openpty(&master_, &slave, name, nullptr, nullptr) != 0)
            return;
        termios t{};
        tcgetattr(slave, &t);
        cfmakeraw(&t);
        tcsetattr(slave, TCSANOW, &t);
        slave_ = slave; // kept open so the line survives the station closing it
        path_ = QString::fromLocal8Bit(name);
        fcntl(master_, F_SETFL, fcntl(master_, F_GETFL) | O_NONBLOCK);
    }
    ~Pty()
    {
        notifier_.reset();
        closeMaster();
        if (slave_ >= 0)
            ::close(slave_);
    }
    Pty(const Pty&) = delete;
    Pty& operator=(const Pty&) = delete;

    bool ok() const { return master_ >= 0; }
    QString slavePath() const { return path_; }

    void write(const QByteArray& bytes) const
    {
        if (master_ >= 0)
            (void)::write(master_, bytes.constData(), size_t(bytes.size()));
    }

    // Collects what the station wrote until `n` bytes came or `ms` passed,
    // serving the event loop meanwhile.
    QByteArray read(int n, int ms)
    {
        QElapsedTimer t;
        t.start();
        while (buffer_.size() < n && t.elapsed() < ms) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            if (notifier_) {
                ::usleep(2000); // the responder reads the line
                continue;
            }
            pollfd p{master_, POLLIN, 0};
            if (::poll(&p, 1, 5) > 0 && (p.revents & POLLIN)) {
                char chunk[512];
                const ssize_t got = ::read(master_, chunk, sizeof chunk);
                if (got > 0)
                    buffer_.append(chunk, int(got));
            }
        }
        const QByteArray out = buffer_.left(n);
        buffer_.remove(0, out.size());
        return out;
    }

    // Plays the analyzer: each line the station writes (up to its CR) is
    // answered with what `answer` returns for it (nothing for an empty
    // answer), while the event loop runs. The lines are kept in buffer
    // for read() as well.
    void respond(std::function<QByteArray(const QByteArray& line)> answer)
    {
        answer_ = std::move(answer);
        notifier_ = std::make_unique<QSocketNotifier>(master_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
            char chunk[512];
            const ssize_t got = ::read(master_, chunk, sizeof chunk);
            if (got <= 0)
                return;
            buffer_.append(chunk, int(got));
            line_.append(chunk, int(got));
            qsizetype cr;
            while ((cr = line_.indexOf('\r')) >= 0) {
                const QByteArray reply = answer_(line_.left(cr));
                line_.remove(0, cr + 1);
                write(reply);
            }
        });
    }

    // Everything that arrives within `ms`.
    QByteArray readAll(int ms) { return read(1 << 20, ms); }

    void closeMaster()
    {
        notifier_.reset();
        if (master_ >= 0)
            ::close(master_);
        master_ = -1;
    }

private:
    int master_ = -1;
    int slave_ = -1;
    QString path_;
    QByteArray buffer_;
    QByteArray line_;
    std::function<QByteArray(const QByteArray&)> answer_;
    std::unique_ptr<QSocketNotifier> notifier_;
};
