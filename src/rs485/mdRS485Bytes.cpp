// The byte side of the RS-485 exchanges: no port, no waits.
#include "rs485/mdRS485.h"

namespace {
constexpr int kFirstAt = 55;
constexpr int kSecondAt = 49;
constexpr int kFieldLen = 5;
} // namespace

QByteArray ByteToFF(quint8 address)
{
    const QByteArray hex = QByteArray::number(address, 16).toUpper();
    if (hex.isEmpty())
        return "00";
    return hex.size() == 1 ? '0' + hex : hex.left(2);
}

bool CutGroup(const QByteArray& reply, QString& text, int start, int length)
{
    if (start < 0 || length < 0 || start + length > reply.size())
        return false;
    text = QString::fromLatin1(reply.mid(start, length));
    return true;
}

quint8 XorSum(const QByteArray& bytes)
{
    quint8 x = 0;
    for (char c : bytes)
        x ^= quint8(c);
    return x;
}

bool CutData(const QByteArray& reply, QString& first, QString& second)
{
    if (reply.size() != RS485ReplyLen || reply.front() != kReplyStart || reply.back() != '\r')
        return false;
    // The check value is formed over the body and deliberately not compared
    // with bytes 70..71: analyzers in the field send ones that don't match.
    [[maybe_unused]] const quint8 check = XorSum(reply.mid(1, RS485ReplyLen - 4));
    QString f;
    QString s;
    if (!CutGroup(reply, s, kSecondAt, kFieldLen) || !CutGroup(reply, f, kFirstAt, kFieldLen))
        return false;
    first = f;
    second = s;
    return true;
}
