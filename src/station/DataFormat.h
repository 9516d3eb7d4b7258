#pragma once

#include <QByteArray>
#include <QList>

// Layout of one analyzer record: how many components it carries, where each
// value starts and how long it is, the marker byte that ends a record and the
// record length. Edited in frmSet, set by the device type and by detection.
struct ComponentFormat
{
    int start = 0;    // "Start Byte (Number)"
    int length = 5;   // "Length of Data"
    bool show = true; // "Graph Show"
};

struct DataFormat
{
    int components = 1;      // "Number of Components"
    int recordLength = 6;    // "Length Summary"; also the frame length
    quint8 marker = 13;      // "Marker (ASC-code)"
    bool autoLength = false; // "Length Summary Auto Detect"
    bool ascCode = false;    // "ASC - code"
    // Kept with the record only; reception verifies no checksum.
    bool checkSumForComponent = false;
    bool markForComponent = false;
    bool crlf = false;
    bool generalCheckSum = false;
    bool identData = false; // "All DataThe Same Format"

    QList<ComponentFormat> comp = {ComponentFormat{}}; // component i is comp[i - 1]

    // Resizes the per-component table to n entries, keeping 1..min(old, n).
    void setComponents(int n);
    // "Length of Data" of component 1, the value field of a streamed record.
    int valueLength() const { return comp.isEmpty() ? 5 : comp.front().length; }
};

// Lays out components 2..N one after the other with the length of component 1,
// when "All DataThe Same Format" is ticked and N >= 2. The gap between them is
// 2 bytes when both per-component marks and check sums are on, else 1.
void SetAllComponents(DataFormat& f);

// 1-based position of the first byte equal to b at or after 1-based `start`; 0 if none.
int InByte(int start, const QByteArray& buffer, quint8 b);

// The record marker found in a sample of the stream: the first of A, CR, LF,
// 14 and '.' that occurs at least twice; 0 when none does.
quint8 DetectMark(const QByteArray& buffer);

// Distance between the first two occurrences of `marker`; 0 without a second one.
int DetectLen(const QByteArray& buffer, quint8 marker);
