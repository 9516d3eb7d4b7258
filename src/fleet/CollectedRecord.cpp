#include "fleet/CollectedRecord.h"

#include "recording/DataRecord.h"

namespace CollectedRecord {

namespace {
// Five characters as the station's fields: "00019", or "-0019" below zero.
QByteArray field(qint64 v)
{
    if (v < 0)
        return '-' + QByteArray::number(-v).rightJustified(4, '0');
    return QByteArray::number(v).rightJustified(5, '0');
}
} // namespace

QDateTime localTime(const MqttMessages::Reading& r)
{
    return QDateTime::fromMSecsSinceEpoch(r.utcMs, Qt::LocalTime);
}

QString fileName(const MqttMessages::Reading& r)
{
    const QDateTime t = localTime(r);
    return r.address < 0 ? DataRecord::dataFileName(t) : DataRecord::lineFileName(t, r.address);
}

QByteArray bytes(const MqttMessages::Reading& r)
{
    const QByteArray time = localTime(r).toString(QStringLiteral("HH:mm:ss")).toLatin1();
    QByteArray out;
    if (r.address < 0) {
        out = field(r.record) + '\t' + time + '\t' + field(r.raw);
    } else {
        out = time + '\t' + QByteArray::number(r.address).rightJustified(3, '0') + '\t' +
              field(r.raw) + '\t' + field(r.second < 0 ? 0 : r.second);
    }
    out += "\t00000\t";
    out += char('0' + r.alarmLevel);
    out += "\r\n";
    return out;
}

bool usableFolderName(const QString& station)
{
    if (station.isEmpty() || station == QLatin1String(".") || station == QLatin1String(".."))
        return false;
    for (const QChar c : station) {
        if (c.unicode() < 32 || QStringLiteral("\\/:*?\"<>|").contains(c))
            return false;
    }
    return true;
}

} // namespace CollectedRecord
