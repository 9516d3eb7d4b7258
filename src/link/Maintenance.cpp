#include "link/Maintenance.h"

#include "link/ProcessReply.h"
#include "link/ReplyCollector.h"
#include "rs485/Waits.h"
#include "station/ByteText.h"
#include "station/Notifier.h"
#include "station/Station.h"
#include "station/zep_cmnd.h"

#include <QCoreApplication>

namespace {
constexpr char kCR = '\r';

void showExchange(Station& st, const CommandReply& r)
{
    const QString answer = r.answer.isEmpty() ? QString() : readableBytes(r.answer);
    st.notifier().status(0,
                         r.answered || !answer.isEmpty()
                             ? QStringLiteral("Send %1 Reply %2").arg(readableBytes(r.sent), answer)
                             : QStringLiteral("Send %1 No Reply").arg(readableBytes(r.sent)));
}

bool answerComplete(const StreamSplitter& s, AnswerEnd end, int count)
{
    switch (end) {
    case AnswerEnd::Line:
        return s.answer().contains(kCR);
    case AnswerEnd::Count:
        return s.answer().size() >= count;
    case AnswerEnd::Record:
        return s.recordsSeen() > 0 || s.answer().contains(kCR);
    case AnswerEnd::None:
        break;
    }
    return false;
}
} // namespace

CommandReply ProcessZEPB(Station& st, const QByteArray& command, AnswerEnd end, int count)
{
    CommandReply r;
    r.sent = command;
    const LineExchange line(st);
    if (!line.owns()) {
        line.refuse(readableBytes(command));
        r.refused = true;
        return r;
    }
    CommPort& port = st.myComm;
    port.Input(); // stale bytes are not the answer
    if (!port.Output(command)) {
        st.notifier().status(0, QStringLiteral("Send %1 failed: the port can't be written")
                                    .arg(readableBytes(command)));
        return r;
    }
    QByteArray firstRecord;
    r.answer = CollectReply(
        st, kCommandTimeoutMs,
        [&](const StreamSplitter& s) { return answerComplete(s, end, count); }, &r.answered,
        &firstRecord);
    if (end == AnswerEnd::Record && r.answer.isEmpty() && !firstRecord.isEmpty())
        r.answer = firstRecord; // the stream already took it to the reading path
    else if (end == AnswerEnd::Record && r.answered)
        ProcessRecord(st, r.answer);
    if (end == AnswerEnd::None)
        r.answered = !r.answer.isEmpty();
    showExchange(st, r);
    return r;
}

CommandReply ProcessZEPA(Station& st, int index, bool& keepOpen)
{
    keepOpen = false;
    const zep_cmnd::Commands c = zep_cmnd::buildCommands(st.deviceType);
    const QString caption = zep_cmnd::buttonCaptions().value(index);
    QByteArray command;
    AnswerEnd end = AnswerEnd::Line;
    int count = 0;
    if (caption == QLatin1String("Ser. Number")) {
        command = c.serialNumber;
    } else if (caption == QLatin1String("ZERO")) {
        command = c.zero;
    } else if (caption == QLatin1String("INITIAL")) {
        command = c.init;
    } else if (caption == QLatin1String("CALIBR")) {
        if (!st.calibrationConc.isEmpty())
            command = c.calibration + ' ' + toCp1251(st.calibrationConc) + kCR;
    } else if (caption == QLatin1String("CUST")) {
        command = c.readUserId;
        end = AnswerEnd::Count;
        count = st.userIdReplyLen;
    } else if (caption == QLatin1String("DATA?")) {
        command = c.oneRecord;
        end = AnswerEnd::Record;
    } else if (caption == QLatin1String("CDAT?")) {
        command = c.continuous;
        end = AnswerEnd::None;
    }
    if (command.isEmpty() || !st.ensurePortOpen())
        return {};
    const CommandReply r = ProcessZEPB(st, command, end, count);
    keepOpen = r.answered;
    return r;
}

void cmdCommands_Click(Station& st, int index)
{
    if (st.lineBusy()) {
        LineExchange(st).refuse(zep_cmnd::buttonCaptions().value(index));
        return;
    }
    CommPort& port = st.myComm;
    const int inputLen = port.InputLen();
    const int threshold = port.RThreshold();
    const bool wasOpen = port.PortOpen();
    port.setRThreshold(0);
    if (wasOpen)
        port.setPortOpen(false);
    bool keepOpen = false;
    ProcessZEPA(st, index, keepOpen);
    if (port.PortOpen())
        port.setPortOpen(false);
    port.setRThreshold(threshold);
    port.setInputLen(inputLen);
    if (wasOpen || keepOpen)
        st.ensurePortOpen(true);
}

UserIdResult WriteUserId(Station& st, const QString& text)
{
    UserIdResult r;
    if (text.isEmpty())
        return r;
    CommPort& port = st.myComm;
    const bool wasOpen = port.PortOpen();
    if (!st.ensurePortOpen())
        return r;
    {
        const LineExchange line(st);
        if (!line.owns()) {
            line.refuse(QStringLiteral("CUST"));
            r.refused = true;
            return r;
        }
        const QByteArray id = toCp1251(text).left(kUserIdLen).leftJustified(kUserIdLen, ' ');
        const zep_cmnd::Commands c = zep_cmnd::buildCommands(st.deviceType);
        r.sent = c.writeUserId + ' ' + id + kCR;
        port.Output(r.sent);
        WaitMs(kUserIdWriteWaitMs, true);
        const int threshold = port.RThreshold();
        port.setRThreshold(st.userIdReplyLen);
        QCoreApplication::processEvents();
        port.Input();
        port.Output(c.readUserId);
        bool complete = false;
        const QByteArray answer = CollectReply(
            st, kCommandTimeoutMs,
            [&](const StreamSplitter& s) { return s.answer().size() >= st.userIdReplyLen; },
            &complete);
        r.timedOut = !complete;
        // The box shows the identifier, whatever else the reply length takes in.
        if (complete)
            r.readBack = fromCp1251(answer.left(kUserIdLen));
        const QString sent = readableBytes(r.sent) + QLatin1Char(' ') + readableBytes(c.readUserId);
        st.notifier().status(
            0, complete ? QStringLiteral("Send %1 Reply %2").arg(sent, readableBytes(answer))
                        : QStringLiteral("Send %1 No Reply").arg(sent));
        port.setRThreshold(threshold);
    }
    if (!wasOpen)
        port.setPortOpen(false);
    return r;
}
