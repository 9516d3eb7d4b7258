// The reading path's byte handling: the answer/record splitter, the record
// check and the data-file record built from what it accepts, for any bytes
// and any record layout.
#include "FuzzCommon.h"
#include "link/ProcessReply.h"
#include "link/ReplyCollector.h"
#include "recording/DataRecord.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QDateTime>
#include <cstdlib>

namespace {
class SilentNotifier : public Notifier
{
public:
    void message(const QString&, Icon) override {}
    int ask(const QString&, int, Icon) override { return Cancel; }
    void status(int, const QString&) override {}
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzzApplication();
    FuzzInput in(data, size);
    SilentNotifier n;
    Station st(n);
    st.format.comp[0].length = 1 + in.byte() % 12;
    const uint8_t markers[] = {13, 10, 'A', 14, '.', 0, 255};
    st.format.marker = markers[in.byte() % sizeof(markers)];
    const bool streaming = in.byte() & 1;
    const int zero = int(int8_t(in.byte())) * 10;
    st.zeroOffset = zero / 10.0;
    const int chunk = 1 + in.byte() % 16;
    const QByteArray bytes = in.rest();

    st.recording = true; // the data-file sink is called only while recording
    int accepted = 0;
    st.sinks[Station::DataFileSink] = [&](double v, const QByteArray& reply) {
        const QByteArray rec = DataRecord::bytes(accepted + 1, QDateTime::currentDateTime(),
                                                 reply + '\r', zero, 50, 80);
        if (!rec.endsWith("\r\n") || FormatVal(v).isEmpty())
            std::abort();
        ++accepted;
    };

    StreamSplitter split(st.format, streaming);
    for (qsizetype at = 0; at < bytes.size(); at += chunk)
        split.feed(bytes.mid(at, chunk));
    split.finish();
    const QList<QByteArray> records = split.takeRecords();
    for (const QByteArray& r : records)
        ProcessRecord(st, r);
    if (accepted != st.acceptedRecords)
        std::abort();
    // Every record the splitter hands out has the layout's length and marker.
    for (const QByteArray& r : records) {
        if (r.size() != st.format.valueLength() + 2 || quint8(r.back()) != st.format.marker)
            std::abort();
    }
    const QByteArray latest = LatestRecord(bytes, st.format);
    if (!latest.isEmpty() && quint8(latest.back()) != st.format.marker)
        std::abort();
    // The whole stream, one record's bytes at a time, as the receive handler takes it.
    for (qsizetype at = 0; at < bytes.size(); at += 7)
        ProcessRecord(st, bytes.mid(at, 7));
    return 0;
}
