#pragma once

#include <QByteArray>
#include <QList>
#include <functional>

class Station;
struct DataFormat;

// Separates an analyzer's answer from the records it streams meanwhile.
// While the analyzer streams, a command's answer arrives between whole
// records: at each record boundary the bytes either form a record (the value
// digits, one byte, the marker) or start an answer line that runs up to its
// CR. The first bytes may be the end of a record whose start was read before
// the command went out: they are dropped. Without a stream every byte
// belongs to the answer.
class StreamSplitter
{
public:
    StreamSplitter(const DataFormat& format, bool streaming);

    void feed(const QByteArray& bytes);
    // Ends the answer: bytes still held back (the start of what looked like a
    // record) join it.
    void finish();

    QList<QByteArray> takeRecords();
    const QByteArray& answer() const { return answer_; }
    int recordsSeen() const { return recordsSeen_; }
    const QByteArray& firstRecord() const { return firstRecord_; }

private:
    bool startsRecord(int* length) const;
    int recordTail() const;

    int valueLength_;
    quint8 marker_;
    bool streaming_;
    bool inLine_ = false;
    bool atStart_ = true; // the first bytes may be the rest of a record cut short
    QByteArray pending_;
    QByteArray answer_;
    QList<QByteArray> records_;
    int recordsSeen_ = 0;
    QByteArray firstRecord_;
};

// Waits up to `timeoutMs` for the answer to a command that was just sent,
// reading the port as bytes come (the caller holds a LineExchange). Records
// that stream in meanwhile are readings: in "From Device" mode they go on to
// the reading path, in "From Timer" mode they are stale like every streamed
// record there. Returns the answer's bytes; *completed tells whether
// `complete` became true before the time limit or the exit flag, and
// *firstRecord is the first record that streamed in meanwhile (empty for none).
QByteArray CollectReply(Station& st, int timeoutMs,
                        const std::function<bool(const StreamSplitter&)>& complete,
                        bool* completed = nullptr, QByteArray* firstRecord = nullptr);
