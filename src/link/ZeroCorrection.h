#pragma once

#include <QByteArray>
#include <QString>

class Station;

// The zero-position exchange with a single analyzer: "AMB?" reads the zero
// position, "AMB " + four digits sets it; the analyzer answers 11 bytes, "A",
// the zero value in force (4 digits), a separator, a second value (4
// digits), CR. A missing or malformed answer (500 ms) changes nothing and says
// nothing; a confirmed value becomes the station's zero (Station::setZero).

// The two boxes of the main window that the exchange reads and fills: the
// entry txtZ and its read-only companion.
struct ZeroFields
{
    QString z;
    QString companion;
};

inline constexpr int kZeroReplyLen = 11;
inline constexpr int kZeroTimeoutMs = 500;

// Reads the zero position into fields.z and the second value into the companion.
bool GetZParam(Station& st, ZeroFields& fields);

// Sets the analyzer's zero position to the number in fields.z; the echo
// (bytes 6..9 of the answer) goes to the companion and to `echo`. A confirmed
// value other than the one sent is answered with "Ошибка установки ZPos".
bool MakeZCorr(Station& st, ZeroFields& fields, QString& echo);

// The entry check of txtZ: every character's code must lie in 47..57 (the
// digits, and "/", which the check lets through).
bool ZEntryValid(const QString& text);

// The set command for an entry: "AMB " + its leading number as four digits + CR.
QByteArray ZeroSetCommand(const QString& entry);
