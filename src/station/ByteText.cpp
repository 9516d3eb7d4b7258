#include "station/ByteText.h"

QString readableBytes(const QByteArray& bytes)
{
    QString out;
    out.reserve(bytes.size());
    for (char c : bytes) {
        const auto b = quint8(c);
        if (b == 13)
            out += QLatin1String("<CR>");
        else if (b == 10)
            out += QLatin1String("<LF>");
        else if (b >= 32 && b < 127)
            out += QLatin1Char(c);
        else
            out += QStringLiteral("<%1>").arg(b, 2, 16, QLatin1Char('0')).toUpper();
    }
    return out;
}
