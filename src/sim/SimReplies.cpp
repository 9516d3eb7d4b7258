#include "sim/SimReplies.h"

#include <algorithm>

namespace SimReplies {

namespace {
QByteArray padded(int value, int width)
{
    return QByteArray::number(value).rightJustified(width, '0', true);
}

QByteArray fixed(const QByteArray& text, int width)
{
    return text.leftJustified(width, ' ', true);
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}
} // namespace

QByteArray digits5(int value)
{
    return padded(std::clamp(value, 0, 99999), 5);
}

QByteArray streamRecord(AnalyzerType type, int value)
{
    QByteArray r = digits5(value);
    if (type == AnalyzerType::ZepC)
        r.append(kCR).append(kLF);
    else
        r.append(kLF).append(kCR);
    return r;
}

QByteArray ambReply(int zero, int second)
{
    QByteArray r("A");
    r += padded(std::clamp(zero, 0, 9999), 4);
    r += ' ';
    r += padded(std::clamp(second, 0, 9999), 4);
    r += kCR;
    return r;
}

QByteArray dataReply(const DataBody& b)
{
    // Body layout, by index in the full reply:
    //  1..8 serial, 10..15 reading counter, 17..20 zero value, 22..26 signed
    //  temperature, 28..32 pressure, 34..47 user ID, 49..53 CO2, 55..59 CH4,
    //  61..64 status flags (hex), blanks between fields and up to 69.
    QByteArray body;
    body += fixed(b.serial, kSerialLen) + ' ';
    body += padded(b.counter % 1000000, 6) + ' ';
    body += padded(std::clamp(b.zero, 0, 9999), 4) + ' ';
    body += (b.temperature < 0 ? '-' : '+') + padded(std::min(std::abs(b.temperature), 9999), 4);
    body += ' ';
    body += padded(std::clamp(b.pressure, 0, 99999), 5) + ' ';
    body += fixed(b.userId, kUserIdLen) + ' ';
    body += digits5(b.co2) + ' ';
    body += digits5(b.ch4) + ' ';
    body += "0000";
    body = fixed(body, kDataReplyLen - 4);

    QByteArray r;
    r.reserve(kDataReplyLen);
    r += kDataStart;
    r += body;
    r += hexByte(xorOf(body));
    r += kCR;
    return r;
}

void spoilDataReply(QByteArray& reply, LineFault fault)
{
    if (reply.size() != kDataReplyLen)
        return;
    switch (fault) {
    case LineFault::WrongCheck: {
        // Any other value does; the complement never equals the right one.
        const quint8 right = xorOf(QByteArrayView(reply).sliced(1, kDataReplyLen - 4));
        reply.replace(kDataReplyLen - 3, 2, hexByte(quint8(~right)));
        break;
    }
    case LineFault::WrongStart:
        reply[0] = '#';
        break;
    case LineFault::ShortReply:
        // The check value still covers the whole body, as the analyzer formed it.
        reply.remove(kDataReplyLen - 4, 1);
        break;
    case LineFault::None:
    case LineFault::Silent:
    case LineFault::ShortSerial:
    case LineFault::Late:
        break;
    }
}

quint8 xorOf(QByteArrayView bytes)
{
    quint8 x = 0;
    for (char c : bytes)
        x ^= quint8(c);
    return x;
}

QByteArray hexByte(quint8 value)
{
    return QByteArray::number(value, 16).toUpper().rightJustified(2, '0');
}

std::optional<int> frameAddress(QByteArrayView line)
{
    if (line.size() < 3 || line[0] != '#')
        return std::nullopt;
    const int hi = hexDigit(line[1]);
    const int lo = hexDigit(line[2]);
    if (hi < 0 || lo < 0)
        return std::nullopt;
    return hi * 16 + lo;
}

void garble(QByteArray& bytes, int index)
{
    if (index >= 0 && index < bytes.size())
        bytes[index] = char('a' + (bytes[index] - '0' + index) % 26);
}

} // namespace SimReplies
