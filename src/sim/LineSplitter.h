#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

// Cuts the bytes an analyzer receives into command lines. A line ends at CR;
// LF is ignored, as are other control bytes and bytes above 126 (line noise).
// A line that grows past maxLength is thrown away up to its CR, so a stream of
// garbage can't fill memory or glue itself to the next command.
class LineSplitter
{
public:
    explicit LineSplitter(int maxLength = 64) : maxLength_(maxLength) {}

    // Complete lines found in `bytes`, without their CR.
    QList<QByteArray> feed(QByteArrayView bytes);
    void clear();

private:
    int maxLength_;
    QByteArray pending_;
    bool overflow_ = false;
};
