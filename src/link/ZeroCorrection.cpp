#include "link/ZeroCorrection.h"

#include "link/ReplyCollector.h"
#include "rs485/Waits.h"
#include "station/ByteText.h"
#include "station/Notifier.h"
#include "station/Station.h"

namespace {

// The numeric value of the text's leading digits, as a classic Val() reads it.
int leadingNumber(QStringView text)
{
    int v = 0;
    for (QChar c : text.trimmed()) {
        if (!c.isDigit())
            break;
        v = v * 10 + c.digitValue();
        if (v > 99999)
            break;
    }
    return v;
}

struct ZeroAnswer
{
    bool ok = false;
    QByteArray reply;
    QString zero;   // bytes 1..4
    QString second; // bytes 6..9
};

// Steps common to reading and setting: send, collect 11 bytes for at most
// 500 ms, check "A" and CR. The receive threshold is 0 for the exchange.
ZeroAnswer exchange(Station& st, const QByteArray& command)
{
    ZeroAnswer a;
    CommPort& port = st.myComm;
    if (!st.ensurePortOpen())
        return a;
    const LineExchange line(st);
    if (!line.owns()) {
        line.refuse(readableBytes(command));
        return a;
    }
    const int threshold = port.RThreshold();
    port.setRThreshold(0);
    st.notifier().status(0, QStringLiteral("Send ") + readableBytes(command));
    port.Output(command);
    WaitMs(10);
    port.Input(); // stale bytes
    bool complete = false;
    QByteArray reply = CollectReply(
        st, kZeroTimeoutMs,
        [](const StreamSplitter& s) { return s.answer().size() >= kZeroReplyLen; }, &complete);
    if (!complete) {
        port.setRThreshold(threshold);
        return a;
    }
    reply = reply.left(kZeroReplyLen).leftJustified(kZeroReplyLen, '\0');
    if (reply[0] != 'A' || reply[kZeroReplyLen - 1] != '\r') {
        port.setRThreshold(threshold);
        return a;
    }
    a.ok = true;
    a.reply = reply;
    a.second = QString::fromLatin1(reply.mid(6, 4));
    a.zero = QString::fromLatin1(reply.mid(1, 4));
    st.notifier().status(
        0, QStringLiteral("Send %1 Reply %2").arg(readableBytes(command), readableBytes(reply)));
    port.setRThreshold(threshold);
    return a;
}
} // namespace

QByteArray ZeroSetCommand(const QString& entry)
{
    return "AMB " + QByteArray::number(qMin(leadingNumber(entry), 9999)).rightJustified(4, '0') +
           '\r';
}

bool GetZParam(Station& st, ZeroFields& fields)
{
    const ZeroAnswer a = exchange(st, QByteArrayLiteral("AMB?\r"));
    if (!a.ok)
        return false;
    fields.companion = a.second;
    fields.z = a.zero;
    st.setZero(leadingNumber(a.zero));
    return true;
}

bool MakeZCorr(Station& st, ZeroFields& fields, QString& echo)
{
    const QByteArray command = ZeroSetCommand(fields.z);
    const ZeroAnswer a = exchange(st, command);
    if (!a.ok)
        return false;
    fields.companion = a.second;
    echo = a.second;
    const int confirmed = leadingNumber(a.zero);
    st.setZero(confirmed);
    if (leadingNumber(fields.z) != confirmed) {
        // The message box says what went wrong; the status panel keeps the
        // plain record of the exchange.
        st.notifier().message(QStringLiteral("Ошибка установки ZPos"));
        st.notifier().status(
            0,
            QStringLiteral("Send %1 Reply %2").arg(readableBytes(command), readableBytes(a.reply)));
        return false;
    }
    return true;
}

bool ZEntryValid(const QString& text)
{
    for (QChar c : text) {
        if (c.unicode() < 47 || c.unicode() > 57)
            return false;
    }
    return true;
}
