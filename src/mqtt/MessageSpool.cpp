#include "mqtt/MessageSpool.h"

#include <QtEndian>

namespace {
constexpr qsizetype kHeader = 8;
}

QList<MessageSpool::Message> MessageSpool::read(const QString& path)
{
    QList<Message> out;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return out;
    const QByteArray all = f.readAll();
    for (qsizetype at = 0; all.size() - at >= kHeader;) {
        const quint32 topicSize = qFromLittleEndian<quint32>(all.constData() + at);
        const quint32 payloadSize = qFromLittleEndian<quint32>(all.constData() + at + 4);
        const qint64 end = at + kHeader + qint64(topicSize) + qint64(payloadSize);
        if (end > all.size())
            break;
        out.append(
            {all.mid(at + kHeader, topicSize), all.mid(at + kHeader + topicSize, payloadSize)});
        at = end;
    }
    return out;
}

bool MessageSpool::open(const QString& path, QString* why)
{
    std::lock_guard lock(mutex_);
    file_.close();
    file_.setFileName(path);
    // Appending: after the file is emptied the next entry starts at 0.
    if (file_.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Append |
                   QIODevice::Unbuffered))
        return true;
    *why = file_.errorString();
    return false;
}

qint64 MessageSpool::append(const QByteArray& topic, const QByteArray& payload)
{
    QByteArray entry(kHeader, Qt::Uninitialized);
    qToLittleEndian<quint32>(quint32(topic.size()), entry.data());
    qToLittleEndian<quint32>(quint32(payload.size()), entry.data() + 4);
    entry += topic;
    entry += payload;
    std::lock_guard lock(mutex_);
    if (!file_.isOpen() || file_.write(entry) != entry.size())
        return 0;
    return ++appended_;
}

void MessageSpool::handled(qint64 number)
{
    std::lock_guard lock(mutex_);
    if (number > 0 && number == appended_ && file_.isOpen())
        file_.resize(0);
}
