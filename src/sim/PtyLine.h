#pragma once

#include "net/PortAddress.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTimer>
#include <deque>
#include <functional>

class NetLineEnd;
namespace platform {
class Pty;
}

// The analyzer's end of a serial line, made of a pseudo-terminal. The station
// opens ttyPath() like any serial device; this side reads and writes the
// master. The station may close and reopen the tty without the pair hanging
// up. Served over TCP instead when asked to listen, or where the system has
// no pseudo-terminals: ttyPath() is then the address to open.
//
// Outgoing bytes are paced like a UART at the configured baud rate (10 bit
// times per byte): a short timer writes the bytes whose time has come, a few
// at a time. A burst is written in one piece instead.
class PtyLine : public QObject
{
    Q_OBJECT
public:
    explicit PtyLine(QObject* parent = nullptr);
    ~PtyLine() override;

    // Creates the pseudo-terminal in raw mode; false, with a reason, on failure.
    bool open(QString* error = nullptr);
    bool isOpen() const { return pty_ != nullptr || net_ != nullptr; }
    void setListen(const PortAddress& address) { listen_ = address; }
    QString ttyPath() const { return path_; }

    void setBaud(int baud) { baud_ = qMax(50, baud); }
    int baud() const { return baud_; }

    // Queues bytes for paced transmission. `sent` runs once the last of them
    // has been written.
    void send(const QByteArray& bytes, std::function<void()> sent = {});
    // Queues bytes that go out in one write when their turn comes.
    void sendBurst(const QByteArray& bytes, std::function<void()> sent = {});
    // Forgets everything not yet written.
    void discardPending();
    qsizetype pendingBytes() const;
    // How long the bytes still queued keep the line busy at its baud rate
    // (0 when idle); bytes whose time has come count as gone.
    qint64 busyForNs() const;
    // Bytes thrown away because nobody read the line and its buffer was full.
    qint64 droppedBytes() const { return dropped_; }

    // Closes both ends, as when the device is unplugged; the tty disappears.
    void pull();

Q_SIGNALS:
    void received(const QByteArray& bytes);
    void pulled();
    // A network client set the line ("19200,e,8,1"); pacing follows its baud rate.
    void lineAsked(const QString& settings);

private:
    struct Chunk
    {
        QByteArray bytes;
        qsizetype done = 0;
        bool burst = false;
        std::function<void()> sent;
    };

    void enqueue(Chunk chunk);
    void onReadable();
    void onTick();
    // Writes up to `max` bytes of the head chunk; returns how many went out,
    // or -1 when the line can't take more now.
    qsizetype writeHead(qsizetype max);
    void finishHead();
    void closeFds();

    NetLineEnd* net_ = nullptr;
    PortAddress listen_;
    platform::Pty* pty_ = nullptr;
    QString path_;
    int baud_ = 9600;
    QTimer tick_;
    QElapsedTimer lineClock_; // started when the line turned busy
    qint64 lineBytes_ = 0;    // bytes written since lineClock_ started
    std::deque<Chunk> queue_;
    qint64 dropped_ = 0;
};
