#include "station/DataFormat.h"

void DataFormat::setComponents(int n)
{
    n = qMax(1, n);
    components = n;
    comp.resize(n);
}

void SetAllComponents(DataFormat& f)
{
    if (f.components < 2 || !f.identData)
        return;
    if (f.comp.size() < f.components)
        f.comp.resize(f.components);
    const int gap = (f.markForComponent && f.checkSumForComponent) ? 2 : 1;
    for (int i = 1; i < f.components; ++i) {
        f.comp[i].length = f.comp[i - 1].length;
        f.comp[i].start = f.comp[i - 1].start + f.comp[i - 1].length + gap;
    }
}

int InByte(int start, const QByteArray& buffer, quint8 b)
{
    for (int i = qMax(0, start - 1); i < buffer.size(); ++i) {
        if (quint8(buffer[i]) == b)
            return i + 1;
    }
    return 0;
}

quint8 DetectMark(const QByteArray& buffer)
{
    static constexpr quint8 candidates[] = {65, 13, 10, 14, 46};
    for (quint8 c : candidates) {
        const int p = InByte(1, buffer, c);
        if (p != 0 && InByte(p + 1, buffer, c) != 0)
            return c;
    }
    return 0;
}

int DetectLen(const QByteArray& buffer, quint8 marker)
{
    const int first = InByte(1, buffer, marker); // 1-based, 0 when absent
    const int i = first > 0 ? first - 1 : 0;
    for (int j = i + 1; j < buffer.size(); ++j) {
        if (quint8(buffer[j]) == marker)
            return j - i;
    }
    return 0;
}
