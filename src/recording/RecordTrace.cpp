#include "recording/RecordTrace.h"

#include <algorithm>
#include <climits>
#include <numeric>

namespace {
constexpr qint64 kMinGapMs = 10000;
constexpr int kGapIntervals = 5;
constexpr qsizetype kGapSample = 1000; // intervals looked at for the typical one

template <typename T> void permute(std::vector<T>& v, const std::vector<qsizetype>& order)
{
    std::vector<T> out(v.size());
    for (size_t i = 0; i < order.size(); ++i)
        out[i] = v[size_t(order[i])];
    v.swap(out);
}
} // namespace

QString RecordTrace::name() const
{
    if (address_ < 0)
        return QStringLiteral("Main");
    return QLatin1Char('A') + QString::number(address_).rightJustified(3, QLatin1Char('0'));
}

void RecordTrace::append(const QVector<RecordFile::Record>& records)
{
    if (records.isEmpty())
        return;
    const qsizetype old = size();
    bool inOrder = true;
    for (const RecordFile::Record& r : records) {
        if (!time_.empty() && r.utcMs < time_.back())
            inOrder = false;
        time_.push_back(r.utcMs);
        raw_.push_back(r.raw);
        number_.push_back(r.number);
        alarm_.push_back(quint8(qBound(0, r.alarm, 255)));
    }
    if (inOrder) {
        rebuildFrom(old);
    } else {
        // Files opened out of order, or an older file that grew: sort once.
        std::vector<qsizetype> order(time_.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [this](qsizetype a, qsizetype b) { return timeAt(a) < timeAt(b); });
        permute(time_, order);
        permute(raw_, order);
        permute(number_, order);
        permute(alarm_, order);
        rebuildFrom(0);
    }
    updateGap();
}

void RecordTrace::rebuildFrom(qsizetype index)
{
    // Only the nodes over `index` and after it change; each level above
    // sums up kFanOut entries of the one below, until one node would do.
    qsizetype below = size();
    qsizetype from = index;
    size_t level = 0;
    for (; below > kFanOut; ++level) {
        const qsizetype n = (below + kFanOut - 1) / kFanOut;
        if (levels_.size() <= level)
            levels_.emplace_back();
        std::vector<Node>& nodes = levels_[level];
        nodes.resize(size_t(n));
        const qsizetype first = from / kFanOut;
        for (qsizetype k = first; k < n; ++k) {
            const qsizetype a = k * kFanOut;
            const qsizetype b = std::min(a + kFanOut, below);
            Node node{INT_MAX, INT_MIN, 0};
            for (qsizetype i = a; i < b; ++i) {
                if (level == 0) {
                    node.min = std::min(node.min, raw_[size_t(i)]);
                    node.max = std::max(node.max, raw_[size_t(i)]);
                    node.alarm = std::max(node.alarm, alarm_[size_t(i)]);
                } else {
                    const Node& c = levels_[level - 1][size_t(i)];
                    node.min = std::min(node.min, c.min);
                    node.max = std::max(node.max, c.max);
                    node.alarm = std::max(node.alarm, c.alarm);
                }
            }
            nodes[size_t(k)] = node;
        }
        from = first;
        below = n;
    }
    levels_.resize(level);
}

void RecordTrace::updateGap()
{
    const qsizetype n = size() - 1;
    if (n < 1)
        return;
    const qsizetype step = std::max<qsizetype>(1, n / kGapSample);
    std::vector<qint64> d;
    for (qsizetype i = 0; i < n; i += step)
        d.push_back(timeAt(i + 1) - timeAt(i));
    std::nth_element(d.begin(), d.begin() + qsizetype(d.size() / 2), d.end());
    gapMs_ = std::max(kMinGapMs, kGapIntervals * d[d.size() / 2]);
}

qsizetype RecordTrace::lowerBound(qint64 utcMs) const
{
    return qsizetype(std::lower_bound(time_.begin(), time_.end(), utcMs) - time_.begin());
}

RecordTrace::Extent RecordTrace::extent(qsizetype from, qsizetype to) const
{
    Extent e{INT_MAX, INT_MIN, 0};
    auto scan = [&](size_t level, qsizetype a, qsizetype b) {
        for (qsizetype i = a; i < b; ++i) {
            if (level == 0) {
                e.min = std::min(e.min, raw_[size_t(i)]);
                e.max = std::max(e.max, raw_[size_t(i)]);
                e.alarm = std::max<int>(e.alarm, alarm_[size_t(i)]);
            } else {
                const Node& n = levels_[level - 1][size_t(i)];
                e.min = std::min(e.min, n.min);
                e.max = std::max(e.max, n.max);
                e.alarm = std::max<int>(e.alarm, n.alarm);
            }
        }
    };
    // Climb while the run covers whole nodes of the level above: the ragged
    // ends are read at this level, the middle one level up.
    size_t level = 0;
    while (level < levels_.size() && to - from >= 2 * kFanOut) {
        const qsizetype a = (from + kFanOut - 1) / kFanOut * kFanOut;
        const qsizetype b = to / kFanOut * kFanOut;
        scan(level, from, a);
        scan(level, b, to);
        from = a / kFanOut;
        to = b / kFanOut;
        ++level;
    }
    scan(level, from, to);
    return e;
}

RecordTrace::Column RecordTrace::column(int x, qsizetype from, qsizetype to) const
{
    Column c;
    c.x = x;
    c.extent = extent(from, to);
    c.first = rawAt(from);
    c.last = rawAt(to - 1);
    c.firstIndex = from;
    c.joined = from > 0 && timeAt(from) - timeAt(from - 1) <= gapMs_;
    return c;
}

std::vector<RecordTrace::Column> RecordTrace::columns(qint64 fromMs, qint64 toMs, int width) const
{
    std::vector<Column> out;
    if (width <= 0 || toMs <= fromMs || isEmpty())
        return out;
    // Column x holds the times t with (t - fromMs) * width / span == x, in
    // whole numbers, so that a record on a column's edge lands in one place.
    const qint64 span = toMs - fromMs;
    qsizetype i = lowerBound(fromMs);
    if (i > 0)
        out.push_back(column(-1, i - 1, i));
    const qsizetype n = size();
    // Only the columns that hold records are visited: each begins at the
    // next record and ends at the first record past its right edge.
    while (i < n && timeAt(i) < toMs) {
        const int x = int((timeAt(i) - fromMs) * width / span);
        const qint64 edge = qint64(x + 1) * span;
        auto end = std::partition_point(time_.begin() + i, time_.end(),
                                        [&](qint64 t) { return (t - fromMs) * width < edge; });
        const qsizetype j = qsizetype(end - time_.begin());
        out.push_back(column(x, i, j));
        i = j;
    }
    if (i < n)
        out.push_back(column(width, i, i + 1));
    return out;
}
