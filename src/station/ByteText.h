#pragma once

#include <QByteArray>
#include <QString>

// Bytes of the line as an operator can read them: printable ASCII as it is,
// CR and LF as <CR> and <LF>, any other byte as two hex digits in angle
// brackets (<0E>).
QString readableBytes(const QByteArray& bytes);
