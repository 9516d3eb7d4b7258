#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>
#include <mutex>

// The messages a subscriber has taken from the broker and not yet dealt
// with, kept in a file. libmosquitto acknowledges a QoS 1 message to the
// broker before it hands it over, so a message still on its way to the
// owner's thread when the process is killed would be gone: the broker won't
// send it again. The network thread appends each message here first (one
// write, straight to the system); once the owner has dealt with everything
// appended, the file is emptied. After a kill the next start reads back what
// is left and deals with it again; the owner tells repeats itself.
//
// Each entry: topic length and payload length (32 bits each, little endian),
// the topic, the payload.
class MessageSpool
{
public:
    struct Message
    {
        QByteArray topic;
        QByteArray payload;
    };

    // The complete entries of the spool at `path`; one cut short (the
    // process died while writing it) is left out.
    static QList<Message> read(const QString& path);

    // Opens the spool at `path` empty. False, with the reason, when it can't be.
    bool open(const QString& path, QString* why);
    // On the network thread: keeps the message; its number, 0 when it could
    // not be written (the message is still handed over).
    qint64 append(const QByteArray& topic, const QByteArray& payload);
    // On the owner's thread: every message up to `number` has been dealt
    // with. Empties the file when no later one was appended.
    void handled(qint64 number);

private:
    std::mutex mutex_;
    QFile file_;
    qint64 appended_ = 0;
};
