#pragma once

#include <QByteArray>
#include <QString>

class CommPort;
class Station;

// Exchanges with one addressed analyzer on the RS-485 line. A frame is "#",
// the address as two upper-case hex digits, the command and CR; a full data
// reply is RS485ReplyLen bytes: 0x0E, 69 body bytes (the second value at
// 49..53, the first at 55..59), two hex digits of a check value, CR.
//
// One exchange: ByteToFF → "#" + address + command + CR → SendVal →
// ReplyIsOK with the reply's length → Input → (data reply) CutData.
//
// The byte functions (ByteToFF, CutData, CutGroup, XorSum) touch no port and
// can be fed anything.

inline constexpr int RS485ReplyLen = 73;
inline constexpr char kReplyStart = 0x0E;
inline constexpr int kRS485WaitMs = 500;   // the only time limit of an exchange
inline constexpr int kRS485SettleMs = 166; // spent after every wait, so a reply's tail arrives

// The two upper-case hex digits of an address ("00", "0A", "FF").
QByteArray ByteToFF(quint8 address);

// Copies `length` bytes from `start` as text; false ("CutGroup Error ") when
// they lie outside the reply.
bool CutGroup(const QByteArray& reply, QString& text, int start, int length);

// Accepts a full data reply by its length, start byte and CR and cuts the
// first (55..59) and second (49..53) value fields out of it. The check value
// is formed but, on purpose, not compared: a reply with a wrong one is
// accepted. A rejected reply leaves both outputs as they were.
bool CutData(const QByteArray& reply, QString& first, QString& second);

// XOR of all bytes; 0 for none.
quint8 XorSum(const QByteArray& bytes);

// Sends `text` (8-bit characters) on an open port after throwing away what
// waits in its input, then lets events run once. False, sending nothing,
// when the port is closed.
bool SendVal(Station& st, const QString& text, CommPort& port);

// What ends a reply wait early, besides the exit flag.
enum class ReplyWait
{
    Exchange, // polling, terminal, maintenance: only the exit flag
    Scan,     // the address scan: the stop-scan flag too
};

// Waits at most 500 ms for `expected` bytes, then always 166 ms more; says
// "Reply OK" or "No Reply" in the first status panel. Ends with false at
// once (status untouched) when the exit flag is raised, and during a scan
// when the stop-scan flag is; the bytes stay in the port for the caller to
// read. A stop request ends a scan, never the line's exchanges.
bool ReplyIsOK(Station& st, int expected, CommPort& port, ReplyWait wait = ReplyWait::Exchange);

// Reads everything the port holds after ReplyIsOK, whatever InputLen a
// streaming run left behind (and keeps it for the line monitor).
QByteArray ReadReply(Station& st, CommPort& port);
