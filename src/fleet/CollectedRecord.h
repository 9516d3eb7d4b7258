#pragma once

#include "mqtt/MqttMessages.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>

// A reading received from a station, as a record of the station's own data
// files, as pure functions. The file and the record's time come from the
// reading's `time_utc` on the local clock, as the station names and stamps
// its files; the value, the line's second value and the alarm digit are the
// ones the station published.
namespace CollectedRecord {

// The reading's moment on the local clock.
QDateTime localTime(const MqttMessages::Reading& r);

// The file's name in the station's folder: the hourly data file of the single
// analyzer ("14h15_11.dat"), or the line's per-address file ("14h15_11_A005.dat").
QString fileName(const MqttMessages::Reading& r);

// The record: for the single analyzer "record number, time, value, zero
// position, alarm digit" with the station's record number; on the line
// "time, address, value, second value, zero position, alarm digit". The
// zero offset is already off the published value, so the zero position is
// "00000". A line reading without a second value gets "00000" there.
QByteArray bytes(const MqttMessages::Reading& r);

// A station's client id that can be a folder name everywhere: not empty, not
// "." or "..", none of \ / : * ? " < > | and no control characters.
bool usableFolderName(const QString& station);

} // namespace CollectedRecord
