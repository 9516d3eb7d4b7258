#include "fleet/SeenReadings.h"

#include <QFile>
#include <QSaveFile>

SeenReadings::SeenReadings(const QString& journalPath) : path_(journalPath)
{
    QFile f(path_);
    if (!f.open(QIODevice::ReadWrite))
        return;
    const QByteArray all = f.readAll();
    // A last line cut short by a kill or a power cut is an incomplete key:
    // it is cut off, so the next key starts a line of its own. At worst its
    // reading is written a second time, should it come again.
    const qsizetype end = all.lastIndexOf('\n') + 1;
    if (end < all.size())
        f.resize(end);
    for (qsizetype at = 0; at < end;) {
        const qsizetype nl = all.indexOf('\n', at);
        remember(all.mid(at, nl - at));
        ++journalLines_;
        at = nl + 1;
    }
}

QByteArray SeenReadings::key(const MqttMessages::Reading& r)
{
    return MqttMessages::channel(r.address) + ' ' + QByteArray::number(r.record) + ' ' +
           QByteArray::number(r.utcMs);
}

void SeenReadings::remember(const QByteArray& key)
{
    if (keys_.contains(key))
        return;
    keys_.insert(key);
    order_.push_back(key);
    if (order_.size() > size_t(kKeep)) {
        keys_.remove(order_.front());
        order_.pop_front();
    }
}

QByteArray SeenReadings::add(const QByteArray& key)
{
    remember(key);
    ++journalLines_;
    return key + '\n';
}

bool SeenReadings::compactIfLong(QString* why)
{
    if (!isLong())
        return true;
    QSaveFile f(path_);
    if (!f.open(QIODevice::WriteOnly)) {
        *why = f.errorString();
        return false;
    }
    for (const QByteArray& k : order_)
        f.write(k + '\n');
    if (!f.commit()) {
        *why = f.errorString();
        return false;
    }
    journalLines_ = qint64(order_.size());
    return true;
}
