#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <memory>

class QFileDevice;

// Everything that differs between POSIX systems and Windows, behind one set
// of calls. The rest of the station includes no system header of its own.
namespace platform {

// Requests to end the program cleanly: SIGINT and SIGTERM on POSIX systems;
// on Windows the console's Ctrl+C, Ctrl+Break and close events and the
// user's logoff or the system's shutdown. Each arrives as requested() from
// the event loop of the thread that made the object, never from inside a
// handler. One object watches at a time.
class ShutdownRequests : public QObject
{
    Q_OBJECT
public:
    explicit ShutdownRequests(QObject* parent = nullptr);
    ~ShutdownRequests() override;

    // False when the requests can't be watched; error() says why.
    bool isWatching() const { return watching_; }
    QString error() const { return error_; }
    // The program has closed its files. Windows ends the process as soon as
    // the handler of a console close, logoff or shutdown returns; that
    // handler waits for this (a few seconds at most). Also said by the
    // destructor.
    void finished();

Q_SIGNALS:
    // `what` names the request ("SIGTERM", "Ctrl+C", ...).
    void requested(const QString& what);

private:
    struct Impl;
    std::unique_ptr<Impl> d_;
    bool watching_ = false;
    QString error_;
};

// Writes what was written to `file` through to the disk (fdatasync,
// FlushFileBuffers). False, with the reason, when the system refuses: a
// network drive, a device that keeps no data.
bool syncFile(QFileDevice& file, QString* why = nullptr);

// Raises the process's priority, and the calling thread's, as far as the
// system allows. An empty string when raised; else why it stays as it was.
QString raisePriority();

// A pseudo-terminal pair in raw mode at 9600 Bd. The program keeps the master
// end; the other end is a tty that any serial program opens by name, and the
// pair holds a descriptor of it so that program may close and reopen it.
// Windows has no pseudo-terminals: available() is false and open() fails.
class Pty : public QObject
{
    Q_OBJECT
public:
    static bool available();

    explicit Pty(QObject* parent = nullptr);
    ~Pty() override;

    bool open(QString* error = nullptr);
    void close();
    bool isOpen() const;
    QString ttyPath() const { return path_; }

    // All the bytes the other end has written so far (none: empty).
    QByteArray readAll();
    // Writes up to `n` bytes; how many went, or -1 when the tty's buffer is
    // full (nobody reads it) or the pair broke.
    qint64 write(const char* data, qint64 n);

Q_SIGNALS:
    void readyRead();

private:
    struct Impl;
    std::unique_ptr<Impl> d_;
    QString path_;
};

} // namespace platform
