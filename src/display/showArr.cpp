#include "display/showArr.h"

#include "station/Notifier.h"

#include <algorithm>
#include <cstring>
#include <limits>

void ValueArray::resize(int points)
{
    const std::size_t n = std::size_t(std::max(points, 0)) * kComponents;
    const bool shrink = n < v_.size();
    v_.resize(n, 0);
    if (shrink)
        v_.shrink_to_fit();
}

void ValueArray::reset(int points)
{
    std::vector<qint32>(std::size_t(std::max(points, 0)) * kComponents, 0).swap(v_);
}

namespace {
// Days from 30 December 1899 to 1 January 1970.
constexpr qint64 kOleDaysToUnixEpoch = 25569;
constexpr double kMsPerDay = 86400000.0;

// Moves elements [k*width, L*width) of `data` to the front and zeroes the tail.
template <typename T> void dropFirstFifth(T* data, std::size_t points, std::size_t width)
{
    const std::size_t k = points / 5;
    const std::size_t kept = (points - k) * width;
    std::memmove(data, data + k * width, kept * sizeof(T));
    std::fill(data + kept, data + points * width, T{});
}
} // namespace

double toOleDate(const QDateTime& t)
{
    // Local wall-clock time, as the station's clock shows it.
    const qint64 localMs = t.toMSecsSinceEpoch() + qint64(t.offsetFromUtc()) * 1000;
    return double(localMs) / kMsPerDay + double(kOleDaysToUnixEpoch);
}

QDateTime fromOleDate(double days)
{
    const qint64 localMs = qRound64((days - double(kOleDaysToUnixEpoch)) * kMsPerDay);
    const QDateTime utc = QDateTime::fromMSecsSinceEpoch(localMs, Qt::UTC);
    return QDateTime(utc.date(), utc.time(), Qt::LocalTime);
}

double currentOleDate()
{
    // The local time's offset is looked up once a minute (offsets change only
    // on whole minutes): a lookup reads the zone's rules from disk, once for
    // every reading of every graph otherwise.
    thread_local qint64 minute = std::numeric_limits<qint64>::min();
    thread_local qint64 offsetMs = 0;
    const qint64 nowMs = QDateTime::currentMSecsSinceEpoch();
    if (nowMs / 60000 != minute) {
        minute = nowMs / 60000;
        offsetMs =
            qint64(QDateTime::fromMSecsSinceEpoch(nowMs, Qt::LocalTime).offsetFromUtc()) * 1000;
    }
    return double(nowMs + offsetMs) / kMsPerDay + double(kOleDaysToUnixEpoch);
}

bool shiftArray(ValueArray& values, Notifier& notifier)
{
    const int points = values.points();
    if (points % 5 != 0) {
        notifier.message(QStringLiteral("Bad Bound if Array"));
        return false;
    }
    dropFirstFifth(values.data(), std::size_t(points), kComponents);
    return true;
}

bool shiftArrayA(TimeArray& times)
{
    if (times.size() % 5 != 0)
        return false;
    dropFirstFifth(times.data(), times.size(), 1);
    return true;
}
