#include "link/ProcessReply.h"

#include "rs485/Waits.h"
#include "station/Station.h"

#include <cmath>

namespace {
constexpr int kRecordBytes = 7;   // five digits, one further byte, the marker
constexpr int kCheckedDigits = 5; // always five, whatever the value length
constexpr int kResyncPauseMs = 20;
} // namespace

bool ProcessRecord(Station& st, QByteArray buffer)
{
    if (buffer.size() > kRecordBytes)
        buffer.truncate(kRecordBytes);
    const int valueLength = st.format.valueLength();
    const int markerAt = valueLength + 1;
    if (markerAt >= buffer.size() || quint8(buffer[markerAt]) != st.format.marker) {
        // Out of step: let the rest of the record arrive, then drop all
        // that waits, so that the next read starts on a record boundary.
        // Events are served meanwhile (the receive handler stands aside); a
        // closed port has nothing more to deliver.
        if (st.myComm.PortOpen() && !st.resyncing) {
            st.resyncing = true;
            WaitMs(kResyncPauseMs, true);
            st.resyncing = false;
            st.myComm.discardInput();
        }
        ++st.droppedRecords;
        return false;
    }
    buffer.truncate(markerAt);
    for (int i = 0; i < kCheckedDigits; ++i) {
        if (i >= buffer.size() || buffer[i] < '0' || buffer[i] > '9') {
            ++st.droppedRecords;
            return false;
        }
    }
    const QString text = QString::fromLatin1(buffer.left(valueLength));
    st.valueText = text;
    if (st.componentValues.isEmpty())
        st.componentValues.resize(1);
    st.componentValues[0] = text;
    const double value = text.toDouble() - st.zeroOffset;
    ++st.acceptedRecords;
    st.deliver(value, buffer);
    return true;
}

QByteArray LatestRecord(const QByteArray& bytes, const DataFormat& f)
{
    const int markerAt = f.valueLength() + 1;
    for (int end = int(bytes.size()) - 1; end >= markerAt; --end) {
        if (quint8(bytes[end]) == f.marker)
            return bytes.mid(end - markerAt, markerAt + 1);
    }
    return {};
}

QString FormatVal(double raw)
{
    const double ppm = raw / 10.0;
    QString digits = QString::number(std::abs(ppm), 'f', 1);
    if (digits.indexOf(QLatin1Char('.')) < 2)
        digits.prepend(QLatin1Char('0'));
    // Rounding can leave a negative zero; it shows without a sign.
    return (ppm < 0 && digits != QLatin1String("00.0")) ? QLatin1Char('-') + digits : digits;
}
