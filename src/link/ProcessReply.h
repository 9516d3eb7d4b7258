#pragma once

#include <QByteArray>
#include <QString>

class Station;
struct DataFormat;

// Checks one record of the streaming analyzer and hands its value on: cut to
// seven bytes, the marker must stand right after the value field, the first
// five bytes must be digits; the value text less the zero offset then goes to
// the station's sinks in their fixed order. Returns true when accepted.
//
// A record out of step (marker not in place) costs a 20 ms pause and the
// port's pending input, so that the next read starts on a record boundary.
bool ProcessRecord(Station& st, QByteArray buffer);

// The last complete record in `bytes` (a value field, one byte, the marker),
// or an empty array when none is complete.
QByteArray LatestRecord(const QByteArray& bytes, const DataFormat& f);

// The ppm text of a raw value, "00.0": at least two integer digits, one decimal.
QString FormatVal(double raw);
