#pragma once

#include <QByteArray>
#include <QString>

// Bytes of the line as an operator can read them: printable ASCII as it is,
// CR and LF as <CR> and <LF>, any other byte as two hex digits in angle
// brackets (<0E>).
QString readableBytes(const QByteArray& bytes);

// The station's 8-bit code page, Windows-1251 (Cyrillic), in which it writes
// its settings file and talks to the analyzers: every text that goes to the
// port goes through toCp1251, every text read back through fromCp1251. ASCII
// stays as it is; a character that has no place in the code page becomes '?'.
QByteArray toCp1251(const QString& text);
QString fromCp1251(const QByteArray& bytes);
