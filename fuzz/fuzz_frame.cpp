// Frame detection on a sample of the stream: the marker and the record length.
#include "FuzzCommon.h"
#include "station/DataFormat.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray sample(reinterpret_cast<const char*>(data), qsizetype(size));
    const quint8 mark = DetectMark(sample);
    const int len = DetectLen(sample, mark);
    // A detected marker occurs twice, and the length is the distance between
    // its first two occurrences.
    if (mark != 0) {
        const qsizetype first = sample.indexOf(char(mark));
        const qsizetype second = sample.indexOf(char(mark), first + 1);
        if (first < 0 || second < 0 || len != int(second - first))
            std::abort();
    }
    if (len < 0 || len >= qMax<qsizetype>(1, sample.size()))
        std::abort();
    for (int b = 0; b < 256; b += 51)
        InByte(1 + int(size % 9), sample, quint8(b));
    return 0;
}
