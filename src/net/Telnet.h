#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// The telnet framing of a serial line reached through an RFC 2217 device
// server: the data bytes with 0xFF (IAC) doubled, option negotiation, and
// the COM port option's subnegotiations that carry the line settings. Pure
// functions and a decoder that keeps its state between chunks, used by the
// station's client and by the simulator's server alike.
namespace telnet {

constexpr quint8 IAC = 255;
constexpr quint8 DONT = 254;
constexpr quint8 DO = 253;
constexpr quint8 WONT = 252;
constexpr quint8 WILL = 251;
constexpr quint8 SB = 250;
constexpr quint8 SE = 240;

constexpr quint8 kBinary = 0;
constexpr quint8 kSuppressGoAhead = 3;
constexpr quint8 kComPort = 44;

// COM port option commands, client to server; the server answers each with
// the same command plus 100 and the value in force.
enum ComPortCommand : quint8
{
    SetBaudRate = 1,
    SetDataSize = 2,
    SetParity = 3,
    SetStopSize = 4,
    SetControl = 5,
    NotifyLineState = 6,
    NotifyModemState = 7,
    SetLineStateMask = 10,
    SetModemStateMask = 11,
    PurgeData = 12,
};
constexpr quint8 kServerReply = 100;
// SET-PARITY values, SET-STOPSIZE values, SET-CONTROL "no flow control",
// PURGE-DATA "the server's receive buffer".
enum Parity : quint8
{
    ParityNone = 1,
    ParityOdd = 2,
    ParityEven = 3,
    ParityMark = 4,
    ParitySpace = 5,
};
enum StopSize : quint8
{
    StopOne = 1,
    StopTwo = 2,
    StopOneAndHalf = 3,
};
constexpr quint8 kNoFlowControl = 1;
constexpr quint8 kPurgeReceive = 1;

// Data bytes as they go on the connection: each IAC doubled.
QByteArray escape(const QByteArray& data);
// IAC verb option.
QByteArray negotiation(quint8 verb, quint8 option);
// IAC SB COM-PORT-OPTION command value IAC SE, the value escaped.
QByteArray comPort(quint8 command, const QByteArray& value);
QByteArray comPortBaud(quint8 command, quint32 baud);
quint32 baudOf(const QByteArray& value); // 0 unless 4 bytes
// The line as the station's settings write it ("19200,e,8,1"), from the
// option's codes for parity and stop size.
QString lineText(quint32 baud, quint8 parity, quint8 dataBits, quint8 stopSize);

struct Event
{
    enum Kind
    {
        Negotiation, // verb is WILL, WONT, DO or DONT
        Subnegotiation,
    };
    Kind kind = Negotiation;
    quint8 verb = 0;
    quint8 option = 0;
    QByteArray payload; // a subnegotiation's bytes after the option, unescaped
};

// Splits what a telnet peer sends into the line's data and telnet events.
// A sequence cut between two chunks is finished with the next one. Garbage
// costs no data: an IAC before a byte that is no command gives that byte as
// data, and a subnegotiation that runs past any sensible length without its
// IAC SE is given up and its bytes handed on as data.
class Decoder
{
public:
    static constexpr int kMaxSubnegotiation = 64;

    QByteArray feed(const QByteArray& in, QList<Event>* events);

private:
    enum class State
    {
        Data,
        Iac,
        Verb,
        SbOption,
        Sb,
        SbIac
    };
    State state_ = State::Data;
    quint8 verb_ = 0;
    Event sb_;
};

} // namespace telnet
