#include "display/TimeAxis.h"

#include <QDateTime>
#include <array>

namespace {
constexpr qint64 kSecond = 1000;
constexpr qint64 kMinute = 60 * kSecond;
constexpr qint64 kHour = 60 * kMinute;
constexpr qint64 kDay = 24 * kHour;
constexpr qint64 kWeek = 7 * kDay;

constexpr std::array<qint64, 20> kSteps = {
    kSecond,     2 * kSecond, 5 * kSecond,  10 * kSecond, 15 * kSecond, 30 * kSecond, kMinute,
    2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute, kHour,        2 * kHour,
    3 * kHour,   6 * kHour,   12 * kHour,   kDay,         2 * kDay,     kWeek};

const QString kDateFormat = QStringLiteral("dd.MM.yyyy");

QDateTime local(qint64 utcMs)
{
    return QDateTime::fromMSecsSinceEpoch(utcMs);
}

qint64 midnight(const QDate& d)
{
    return QDateTime(d, QTime(0, 0)).toMSecsSinceEpoch();
}
} // namespace

namespace TimeAxis {

qint64 step(qint64 spanMs, int widthPx, int minSpacingPx)
{
    const int labels = std::max(1, widthPx / std::max(1, minSpacingPx));
    for (qint64 s : kSteps) {
        if (spanMs / s <= labels)
            return s;
    }
    // Longer than the weeks the list has: whole weeks.
    return (spanMs / labels + kWeek - 1) / kWeek * kWeek;
}

QVector<Tick> ticks(qint64 fromMs, qint64 toMs, int widthPx, int minSpacingPx)
{
    QVector<Tick> out;
    if (toMs <= fromMs || widthPx <= 0)
        return out;
    const qint64 s = step(toMs - fromMs, widthPx, minSpacingPx);
    const QString timeFormat = s < kMinute ? QStringLiteral("HH:mm:ss") : QStringLiteral("HH:mm");
    QString lastDate;
    auto add = [&](qint64 t) {
        const QDateTime at = local(t);
        Tick tick{t, s >= kDay ? at.toString(kDateFormat) : at.toString(timeFormat), QString()};
        const QString date = at.toString(kDateFormat);
        if (s < kDay && date != lastDate)
            tick.date = date;
        lastDate = date;
        out.append(tick);
    };
    // Ticks are counted from each local midnight, so they read as round clock
    // times whatever the offset from UTC; day steps fall on midnights.
    const QDate last = local(toMs).date();
    for (QDate d = local(fromMs).date(); d <= last; d = d.addDays(1)) {
        const qint64 m = midnight(d);
        if (s >= kDay) {
            if (d.toJulianDay() % (s / kDay) == 0 && m >= fromMs && m <= toMs)
                add(m);
            continue;
        }
        const qint64 next = midnight(d.addDays(1));
        for (qint64 t = m + std::max<qint64>(0, (fromMs - m + s - 1) / s) * s;
             t < next && t <= toMs; t += s)
            add(t);
    }
    return out;
}

QString stamp(qint64 utcMs)
{
    return local(utcMs).toString(QStringLiteral("dd.MM.yyyy HH:mm:ss"));
}

} // namespace TimeAxis
