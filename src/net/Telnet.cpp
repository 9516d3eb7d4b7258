#include "net/Telnet.h"

namespace telnet {
namespace {
QByteArray bytes(std::initializer_list<quint8> list)
{
    QByteArray out;
    for (const quint8 b : list)
        out.append(char(b));
    return out;
}
} // namespace

QByteArray escape(const QByteArray& data)
{
    if (!data.contains(char(IAC)))
        return data;
    QByteArray out;
    out.reserve(data.size() + 8);
    for (const char c : data) {
        out.append(c);
        if (quint8(c) == IAC)
            out.append(c);
    }
    return out;
}

QByteArray negotiation(quint8 verb, quint8 option)
{
    return bytes({IAC, verb, option});
}

QByteArray comPort(quint8 command, const QByteArray& value)
{
    return bytes({IAC, SB, kComPort, command}) + escape(value) + bytes({IAC, SE});
}

QByteArray comPortBaud(quint8 command, quint32 baud)
{
    return comPort(
        command, bytes({quint8(baud >> 24), quint8(baud >> 16), quint8(baud >> 8), quint8(baud)}));
}

quint32 baudOf(const QByteArray& value)
{
    if (value.size() != 4)
        return 0;
    quint32 b = 0;
    for (const char c : value)
        b = (b << 8) | quint8(c);
    return b;
}

QString lineText(quint32 baud, quint8 parity, quint8 dataBits, quint8 stopSize)
{
    const char* parities = "?noems"; // indexed by the SET-PARITY code
    return QStringLiteral("%1,%2,%3,%4")
        .arg(baud)
        .arg(QLatin1Char(parities[qMin<int>(parity, 5)]))
        .arg(dataBits)
        .arg(stopSize == StopOneAndHalf ? QStringLiteral("1.5") : QString::number(stopSize));
}

QByteArray Decoder::feed(const QByteArray& in, QList<Event>* events)
{
    QByteArray data;
    data.reserve(in.size());
    for (const char ch : in) {
        const quint8 c = quint8(ch);
        switch (state_) {
        case State::Data:
            if (c == IAC)
                state_ = State::Iac;
            else
                data.append(ch);
            break;
        case State::Iac:
            state_ = State::Data;
            if (c == IAC) {
                data.append(ch); // a doubled IAC is one data byte
            } else if (c >= WILL && c <= DONT) {
                verb_ = c;
                state_ = State::Verb;
            } else if (c == SB) {
                state_ = State::SbOption;
            } else if (c < SE) {
                data.append(ch); // no command: the byte was data after a stray IAC
            }                    // else NOP, GA, AYT and the like: nothing to do
            break;
        case State::Verb:
            events->append({Event::Negotiation, verb_, c, {}});
            state_ = State::Data;
            break;
        case State::SbOption:
            sb_ = {Event::Subnegotiation, SB, c, {}};
            state_ = State::Sb;
            break;
        case State::Sb:
            if (c == IAC) {
                state_ = State::SbIac;
            } else {
                sb_.payload.append(ch);
                if (sb_.payload.size() > kMaxSubnegotiation) {
                    // No IAC SE is coming: what followed was the line's data.
                    data.append(sb_.payload);
                    sb_.payload.clear();
                    state_ = State::Data;
                }
            }
            break;
        case State::SbIac:
            if (c == SE) {
                events->append(sb_);
                sb_.payload.clear();
                state_ = State::Data;
            } else if (c == IAC) {
                sb_.payload.append(ch);
                state_ = State::Sb;
            } else {
                // IAC other inside a subnegotiation: it ended without SE.
                events->append(sb_);
                sb_.payload.clear();
                state_ = State::Iac;
                const QByteArray rest = feed(QByteArray(1, ch), events);
                data.append(rest);
            }
            break;
        }
    }
    return data;
}

} // namespace telnet
