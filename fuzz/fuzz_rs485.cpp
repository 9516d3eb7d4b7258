// The RS-485 reply cutter and its helpers, fed any reply.
#include "FuzzCommon.h"
#include "rs485/mdRS485.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput in(data, size);
    const int start = int(int8_t(in.byte()));
    const int length = int(int8_t(in.byte()));
    const QByteArray reply = in.rest();
    QString first = QStringLiteral("keep1"), second = QStringLiteral("keep2");
    if (CutData(reply, first, second)) {
        if (reply.size() != RS485ReplyLen || first.size() != 5 || second.size() != 5)
            std::abort();
    } else if (first != QLatin1String("keep1") || second != QLatin1String("keep2")) {
        std::abort(); // a rejected reply leaves the outputs alone
    }
    QString text;
    if (CutGroup(reply, text, start, length) && text.size() != length)
        std::abort();
    XorSum(reply);
    return 0;
}
