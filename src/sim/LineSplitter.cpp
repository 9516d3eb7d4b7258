#include "sim/LineSplitter.h"

QList<QByteArray> LineSplitter::feed(QByteArrayView bytes)
{
    QList<QByteArray> lines;
    for (char c : bytes) {
        const auto u = uchar(c);
        if (u == 13) {
            if (!overflow_)
                lines << pending_;
            pending_.clear();
            overflow_ = false;
        } else if (u >= 32 && u <= 126 && !overflow_) {
            pending_ += c;
            if (pending_.size() > maxLength_) {
                pending_.clear();
                overflow_ = true;
            }
        }
    }
    return lines;
}

void LineSplitter::clear()
{
    pending_.clear();
    overflow_ = false;
}
