#pragma once

#include <QString>

// Private-profile access to an INI file, with the behaviour of the classic
// profile functions: section and key are found without regard to case, a read
// yields at most 127 characters with surrounding blanks trimmed, an absent key
// and an empty value both read as "". A write replaces the key in place, adds a
// missing key at the end of its section and a missing section at the end of
// the file, and keeps every other byte of the file as it was.
//
// Lines may end in CR LF, LF or CR, mixed in one file; each keeps its own ending,
// and an added line takes the ending of the line before it (CR LF in a new file).
// A UTF-8 byte-order mark is understood and kept. A file that is valid UTF-8 is
// read as UTF-8; a file with any other byte sequence came from a Windows PC and
// is read, and written, in Windows-1251 throughout (a character that has no
// place there is written as '?'). DOS end-of-file marks
// (^Z) and NUL bytes at the end of the file are not read and stay at its end.
// A value ends at its first NUL byte ("K=1" NUL NUL reads "1").
//
// `file` is either a bare name, which lives in the settings folder
// (iniFolder()), or a path.

// The folder that holds bare-named settings files: $XDG_CONFIG_HOME (usually
// ~/.config) on Unix, the Windows folder on Windows, or the user's AppData
// folder when the Windows folder won't take a new file.
QString iniFolder();
QString iniPath(const QString& file);
// The path of bare-named `file` in the `shared` folder when files can be
// made there (or `shared` is empty), else in `own`: a copy of the shared
// file is made there first when the user has none yet.
QString settingsPath(const QString& file, const QString& shared, const QString& own);

QString ReadIni(const QString& section, const QString& key, const QString& file);

// Returns false when the file could not be written; the old file is then untouched.
bool WriteIni(const QString& section, const QString& key, const QString& value,
              const QString& file);
