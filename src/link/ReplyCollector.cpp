#include "link/ReplyCollector.h"

#include "link/ProcessReply.h"
#include "rs485/Waits.h"
#include "station/Station.h"

StreamSplitter::StreamSplitter(const DataFormat& format, bool streaming)
    : valueLength_(format.valueLength()), marker_(format.marker), streaming_(streaming)
{
}

// Whether the held bytes start with a record, or could once more bytes come
// (then *length is 0).
bool StreamSplitter::startsRecord(int* length) const
{
    const int n = valueLength_ + 2;
    const int have = int(qMin<qsizetype>(n, pending_.size()));
    for (int i = 0; i < have; ++i) {
        const char c = pending_[i];
        if (i < valueLength_ && (c < '0' || c > '9'))
            return false;
        if (i == n - 1 && quint8(c) != marker_)
            return false;
    }
    *length = have == n ? n : 0;
    return true;
}

// The end of a record (some value digits, the byte after them, the marker)
// at the start of the held bytes: the count of its bytes, 0 when more bytes
// must come to tell, -1 when the bytes are something else.
int StreamSplitter::recordTail() const
{
    const int n = valueLength_ + 2;
    const qsizetype m = pending_.left(n).indexOf(char(marker_));
    auto digits = [&](qsizetype upTo) {
        for (qsizetype i = 0; i < upTo; ++i) {
            if (pending_[i] < '0' || pending_[i] > '9')
                return false;
        }
        return true;
    };
    if (m < 0) {
        // Digits, then perhaps the byte before the marker: wait for the marker.
        const qsizetype size = pending_.size();
        return size < n && (digits(size) || digits(size - 1)) ? 0 : -1;
    }
    return digits(m) || (m > 0 && digits(m - 1)) ? int(m + 1) : -1;
}

void StreamSplitter::feed(const QByteArray& bytes)
{
    pending_ += bytes;
    if (!streaming_) {
        answer_ += pending_;
        pending_.clear();
        return;
    }
    while (!pending_.isEmpty()) {
        if (inLine_) {
            const qsizetype cr = pending_.indexOf('\r');
            const qsizetype take = cr < 0 ? pending_.size() : cr + 1;
            answer_ += pending_.left(take);
            pending_.remove(0, take);
            inLine_ = cr < 0;
            continue;
        }
        int length = 0;
        if (!startsRecord(&length)) {
            const int tail = atStart_ ? recordTail() : -1;
            if (tail == 0)
                return;
            atStart_ = false;
            if (tail > 0)
                pending_.remove(0, tail);
            else
                inLine_ = true;
            continue;
        }
        if (length == 0)
            return; // wait for the rest of the record
        atStart_ = false;
        records_ << pending_.left(length);
        if (recordsSeen_++ == 0)
            firstRecord_ = records_.back();
        pending_.remove(0, length);
    }
}

void StreamSplitter::finish()
{
    answer_ += pending_;
    pending_.clear();
}

QList<QByteArray> StreamSplitter::takeRecords()
{
    QList<QByteArray> out;
    out.swap(records_);
    return out;
}

QByteArray CollectReply(Station& st, int timeoutMs,
                        const std::function<bool(const StreamSplitter&)>& complete, bool* completed,
                        QByteArray* firstRecord)
{
    const bool streaming = st.running && !st.rs485Mode;
    StreamSplitter split(st.format, streaming);
    auto passOn = [&] {
        for (const QByteArray& record : split.takeRecords()) {
            if (!st.synchroFromTimer)
                ProcessRecord(st, record);
        }
    };
    const bool done = WaitUntil(
        [&] {
            split.feed(st.myComm.Input());
            passOn();
            return complete(split);
        },
        timeoutMs, [&] { return st.exitFlag; });
    split.finish();
    if (completed)
        *completed = done;
    if (firstRecord)
        *firstRecord = split.firstRecord();
    return split.answer();
}
