#pragma once

#include "sim/SimConfig.h"

#include <QByteArray>
#include <QByteArrayView>
#include <optional>

// The bytes an analyzer puts on the line, built from plain values. Nothing
// here touches the line; AnalyzerSim decides when each reply goes out.
namespace SimReplies {

constexpr char kCR = 13;
constexpr char kLF = 10;
constexpr int kRecordLen = 7;    // streamed record: 5 digits, 2 line-end bytes
constexpr int kAmbReplyLen = 11; // "A" zero(4) blank second(4) CR
constexpr int kUserIdLen = 14;
constexpr int kSerialLen = 8;
constexpr int kShortSerialLen = 5; // what an analyzer with a short serial answer sends
constexpr int kDataReplyLen = 73;  // RS-485 data reply
constexpr char kDataStart = 0x0E;
constexpr int kSecondValueAt = 49; // CO2 field of the data reply
constexpr int kFirstValueAt = 55;  // CH4 field of the data reply

// Five-digit, zero-padded value clamped to 0..99999.
QByteArray digits5(int value);

// One streamed record: ZEP-C ends digits CR LF, ZEP-D ends digits LF CR.
QByteArray streamRecord(AnalyzerType type, int value);

// Reply to "AMB?" and "AMB nnnn": the zero value in force and a second value.
QByteArray ambReply(int zero, int second);

// What one addressed analyzer reports in its data reply.
struct DataBody
{
    QByteArray serial;     // 8 characters
    int counter = 0;       // readings taken so far
    int zero = 0;          // zero value (AMB)
    int temperature = 215; // cell temperature, tenths of a degree C
    int pressure = 10132;  // tenths of hPa
    QByteArray userId;     // 14 characters
    int ch4 = 0;           // tenths of ppm
    int co2 = 0;           // tenths of ppm
};

// The 73-byte reply: 0x0E, 69 ASCII body bytes, two hex digits of the XOR of
// the body, CR.
QByteArray dataReply(const DataBody& body);

// Turns a data reply into the one an analyzer with `fault` sends: the check
// value replaced by another (WrongCheck), '#' for the start byte (WrongStart)
// or the last body byte left out (ShortReply). Other faults leave it as it is.
void spoilDataReply(QByteArray& reply, LineFault fault);

// XOR of all bytes; 0 for none.
quint8 xorOf(QByteArrayView bytes);

// Two upper-case hex digits.
QByteArray hexByte(quint8 value);

// The address of "#hh" at the start of a frame; nullopt unless it starts with
// "#" and two upper-case hex digits.
std::optional<int> frameAddress(QByteArrayView line);

// Replaces the digit at `index` of a record's value field by a lower-case
// letter, as line noise would.
void garble(QByteArray& bytes, int index);

} // namespace SimReplies
