#include "station/IniFile.h"

#include "station/ByteText.h"

#include <QByteArrayList>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QStandardPaths>
#include <QStringDecoder>
#include <QTemporaryFile>
#include <algorithm>
#include <optional>

namespace {

constexpr int kReadChars = 127; // the 128-character read buffer less its terminating zero

constexpr char kUtf8Bom[] = "\xEF\xBB\xBF";
constexpr char kNewFileEol[] = "\r\n";

// Valid UTF-8 is taken as UTF-8 (plain ASCII is both); anything else was written on a
// Windows PC in its 8-bit code page, taken as Windows-1251.
std::optional<QString> fromUtf8(const QByteArray& bytes)
{
    QStringDecoder utf8(QStringConverter::Utf8, QStringConverter::Flag::Stateless |
                                                    QStringConverter::Flag::ConvertInitialBom);
    QString s = utf8(bytes);
    if (utf8.hasError())
        return std::nullopt;
    return s;
}

// The whole file is one or the other: a single byte sequence that is not UTF-8
// makes it a Windows file, whose every line is read in the code page.
QString decoded(const QByteArray& bytes, bool legacy)
{
    if (!legacy) {
        if (auto utf8 = fromUtf8(bytes))
            return *utf8;
    }
    return fromCp1251(bytes);
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

QByteArray trimmedBlank(const QByteArray& s)
{
    qsizetype b = 0;
    qsizetype e = s.size();
    while (b < e && isBlank(s[b]))
        ++b;
    while (e > b && isBlank(s[e - 1]))
        --e;
    return s.mid(b, e - b);
}

bool sameName(const QString& a, const QString& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// A line split into its parts; a line that is neither a section header nor a
// key line (comment, blank, text without '=') is kept only as raw bytes.
struct Line
{
    QByteArray raw; // without the line ending
    QByteArray eol; // "\r\n", "\n", "\r", or empty for a last line without one
    QByteArray key; // as spelled in the file
    QByteArray value;
    QString name; // of the section or the key, decoded
    bool isSection = false;
    bool isKey = false;
};

Line parseLine(const QByteArray& raw, const QByteArray& eol, bool legacy)
{
    Line l;
    l.raw = raw;
    l.eol = eol;
    const QByteArray t = trimmedBlank(raw);
    if (t.startsWith('[')) {
        const qsizetype close = t.indexOf(']');
        if (close > 0) {
            l.isSection = true;
            l.name = decoded(trimmedBlank(t.mid(1, close - 1)), legacy);
        }
        return l;
    }
    const qsizetype eq = t.indexOf('=');
    if (eq > 0) {
        l.isKey = true;
        l.key = trimmedBlank(t.left(eq));
        // The profile functions hand the value over as a C string: it ends
        // at its first NUL byte.
        QByteArray value = t.mid(eq + 1);
        if (const qsizetype nul = value.indexOf('\0'); nul >= 0)
            value.truncate(nul);
        l.value = trimmedBlank(value);
        l.name = decoded(l.key, legacy);
    }
    return l;
}

struct Text
{
    QByteArray bom; // a UTF-8 byte-order mark the file starts with
    QList<Line> lines;
    QByteArray tail;     // DOS end-of-file marks (^Z) and NUL padding after the last line
    bool legacy = false; // the file holds bytes that are not UTF-8: a Windows code page
};

// Lines end in CR LF, LF or CR, each line its own way; the bytes of every line, the
// mark and the tail come back unchanged from save().
Text load(const QString& path)
{
    Text text;
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return text;
    QByteArray all = f.readAll();
    if (all.startsWith(kUtf8Bom)) {
        text.bom = kUtf8Bom;
        all.remove(0, text.bom.size());
    }
    qsizetype n = all.size();
    while (n > 0 && (all[n - 1] == '\x1A' || all[n - 1] == '\0'))
        --n;
    text.tail = all.mid(n);
    all.truncate(n);
    text.legacy = text.bom.isEmpty() && !fromUtf8(all);

    qsizetype begin = 0;
    while (begin < n) {
        qsizetype end = begin;
        while (end < n && all[end] != '\n' && all[end] != '\r')
            ++end;
        qsizetype eolSize = 0;
        if (end < n)
            eolSize = all[end] == '\r' && end + 1 < n && all[end + 1] == '\n' ? 2 : 1;
        text.lines.append(
            parseLine(all.mid(begin, end - begin), all.mid(end, eolSize), text.legacy));
        begin = end + eolSize;
    }
    return text;
}

QByteArray save(const Text& text)
{
    QByteArray out = text.bom;
    for (const Line& l : text.lines)
        out += l.raw + l.eol;
    return out + text.tail;
}

// Index range [first, end) of the lines that belong to a section, or first == -1.
std::pair<int, int> findSection(const QList<Line>& lines, const QString& section)
{
    for (int i = 0; i < lines.size(); ++i) {
        if (lines[i].isSection && sameName(lines[i].name, section)) {
            int end = i + 1;
            while (end < lines.size() && !lines[end].isSection)
                ++end;
            return {i + 1, end};
        }
    }
    return {-1, -1};
}

int findKey(const QList<Line>& lines, int first, int end, const QString& key)
{
    for (int i = first; i < end; ++i) {
        if (lines[i].isKey && sameName(lines[i].name, key))
            return i;
    }
    return -1;
}

// New lines take the ending of the line before them. When that line had none (it
// was the file's last), it gets the file's first ending, or CR LF in a file without one.
void insertLines(Text& text, int at, const QByteArrayList& raws)
{
    QByteArray eol = kNewFileEol;
    const auto withEol = std::find_if(text.lines.cbegin(), text.lines.cend(),
                                      [](const Line& l) { return !l.eol.isEmpty(); });
    if (withEol != text.lines.cend())
        eol = withEol->eol;
    if (at > 0) {
        Line& before = text.lines[at - 1];
        if (before.eol.isEmpty())
            before.eol = eol;
        eol = before.eol;
    }
    for (const QByteArray& raw : raws)
        text.lines.insert(at++, parseLine(raw, eol, text.legacy));
}

QByteArray unquoted(const QByteArray& v)
{
    if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
        return v.mid(1, v.size() - 2);
    return v;
}

bool canCreateFilesIn(const QString& folder)
{
    // Settings are saved through a temporary file beside them: the folder
    // must take a new file, not only allow writing to an existing one.
    static QHash<QString, bool> known;
    const auto it = known.constFind(folder);
    if (it != known.constEnd())
        return *it;
    QTemporaryFile probe(QDir(folder).filePath(QStringLiteral("velmora-probe-XXXXXX")));
    const bool ok = QFileInfo(folder).isDir() && probe.open();
    known.insert(folder, ok);
    return ok;
}
} // namespace

QString settingsPath(const QString& file, const QString& shared, const QString& own)
{
    if (shared.isEmpty() || canCreateFilesIn(shared))
        return QDir(shared.isEmpty() ? own : shared).filePath(file);
    // The shared folder is closed to this user: the user's own copy is used,
    // starting from the shared file's settings when there is one.
    const QString path = QDir(own).filePath(file);
    const QString sharedPath = QDir(shared).filePath(file);
    if (!QFileInfo::exists(path) && QFileInfo::exists(sharedPath)) {
        QDir().mkpath(own);
        QFile::copy(sharedPath, path);
        QFile(path).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    }
    return path;
}

QString iniFolder()
{
    return QFileInfo(iniPath(QStringLiteral("Tervala.ini"))).absolutePath();
}

QString iniPath(const QString& file)
{
    if (file.contains('/') || file.contains('\\'))
        return file;
#ifdef Q_OS_WIN
    return settingsPath(file, qEnvironmentVariable("WINDIR"),
                        QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
#else
    return settingsPath(file, QString(),
                        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation));
#endif
}

QString ReadIni(const QString& section, const QString& key, const QString& file)
{
    const Text text = load(iniPath(file));
    const auto [first, end] = findSection(text.lines, section);
    const int at = first < 0 ? -1 : findKey(text.lines, first, end, key);
    if (at < 0)
        return {};
    QString value = decoded(unquoted(text.lines[at].value), text.legacy);
    if (value.size() > kReadChars)
        value.truncate(value[kReadChars - 1].isHighSurrogate() ? kReadChars - 1 : kReadChars);
    return value;
}

bool WriteIni(const QString& section, const QString& key, const QString& value, const QString& file)
{
    const QString path = iniPath(file);
    const Text loaded = load(path);
    // A file kept in a Windows code page stays in it.
    const auto write = [&](bool legacy) {
        Text text = loaded;
        text.legacy = legacy;
        const auto encoded = [legacy](const QString& s) {
            return legacy ? toCp1251(s) : s.toUtf8();
        };
        const QByteArray v = encoded(value);
        const auto [first, end] = findSection(text.lines, section);
        const int found = first < 0 ? -1 : findKey(text.lines, first, end, key);
        if (first < 0) {
            insertLines(text, int(text.lines.size()),
                        {"[" + encoded(section) + "]", encoded(key) + "=" + v});
        } else if (found >= 0) {
            // Keep the key's own spelling and the line's ending; only the value changes.
            Line& l = text.lines[found];
            l = parseLine(l.key + "=" + v, l.eol, legacy);
        } else {
            // After the section's last non-blank line, so blank separators stay below it.
            int at = end;
            while (at > first && trimmedBlank(text.lines[at - 1].raw).isEmpty())
                --at;
            insertLines(text, at, {encoded(key) + "=" + v});
        }
        return save(text);
    };
    QByteArray bytes = write(loaded.legacy);
    // The write replaced the only bytes that were not UTF-8: the file now reads
    // as UTF-8, so the new text is written so too.
    if (loaded.legacy && fromUtf8(bytes))
        bytes = write(false);

    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    f.write(bytes);
    return f.commit();
}
