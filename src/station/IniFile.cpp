#include "station/IniFile.h"

#include <QByteArrayList>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace {

constexpr int kReadBuffer = 128; // characters, including the terminating zero

QByteArray trimmedBlank(const QByteArray& s)
{
    int b = 0;
    int e = s.size();
    while (b < e && (s[b] == ' ' || s[b] == '\t'))
        ++b;
    while (e > b && (s[e - 1] == ' ' || s[e - 1] == '\t' || s[e - 1] == '\r'))
        --e;
    return s.mid(b, e - b);
}

bool sameName(const QByteArray& a, const QByteArray& b)
{
    return a.compare(b, Qt::CaseInsensitive) == 0;
}

// A line split into its parts; a line that is neither a section header nor a
// key line (comment, blank, text without '=') is kept only as raw bytes.
struct Line
{
    QByteArray raw; // without the line ending
    QByteArray section;
    QByteArray key;
    QByteArray value;
    bool isSection = false;
    bool isKey = false;
};

Line parseLine(const QByteArray& raw)
{
    Line l;
    l.raw = raw;
    const QByteArray t = trimmedBlank(raw);
    if (t.startsWith('[')) {
        const int close = t.indexOf(']');
        if (close > 0) {
            l.isSection = true;
            l.section = trimmedBlank(t.mid(1, close - 1));
        }
        return l;
    }
    const int eq = t.indexOf('=');
    if (eq > 0) {
        l.isKey = true;
        l.key = trimmedBlank(t.left(eq));
        l.value = trimmedBlank(t.mid(eq + 1));
    }
    return l;
}

struct Text
{
    QList<Line> lines;
    QByteArray eol = "\n";
    bool endsWithEol = true;
};

Text load(const QString& path)
{
    Text text;
#ifdef Q_OS_WIN
    text.eol = "\r\n";
#endif
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return text;
    const QByteArray all = f.readAll();
    if (all.isEmpty())
        return text;
    const int firstNl = all.indexOf('\n');
    if (firstNl > 0 && all[firstNl - 1] == '\r')
        text.eol = "\r\n";
    else if (firstNl >= 0)
        text.eol = "\n";
    text.endsWithEol = all.endsWith('\n');
    QByteArrayList parts = all.split('\n');
    if (text.endsWithEol)
        parts.removeLast();
    for (QByteArray& p : parts) {
        if (p.endsWith('\r'))
            p.chop(1);
        text.lines.append(parseLine(p));
    }
    return text;
}

// Index range [first, end) of the lines that belong to a section, or first == -1.
std::pair<int, int> findSection(const QList<Line>& lines, const QByteArray& section)
{
    for (int i = 0; i < lines.size(); ++i) {
        if (lines[i].isSection && sameName(lines[i].section, section)) {
            int end = i + 1;
            while (end < lines.size() && !lines[end].isSection)
                ++end;
            return {i + 1, end};
        }
    }
    return {-1, -1};
}

QByteArray unquoted(const QByteArray& v)
{
    if (v.size() >= 2 && (v.front() == '"' || v.front() == '\'') && v.back() == v.front())
        return v.mid(1, v.size() - 2);
    return v;
}

} // namespace

QString iniFolder()
{
#ifdef Q_OS_WIN
    const QString win = qEnvironmentVariable("WINDIR");
    if (!win.isEmpty())
        return win;
#endif
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

QString iniPath(const QString& file)
{
    if (file.contains('/') || file.contains('\\'))
        return file;
    return QDir(iniFolder()).filePath(file);
}

QString ReadIni(const QString& section, const QString& key, const QString& file)
{
    const Text text = load(iniPath(file));
    const QByteArray sec = section.toLocal8Bit();
    const QByteArray k = key.toLocal8Bit();
    const auto [first, end] = findSection(text.lines, sec);
    if (first < 0)
        return {};
    for (int i = first; i < end; ++i) {
        const Line& l = text.lines[i];
        if (l.isKey && sameName(l.key, k))
            return QString::fromLocal8Bit(unquoted(l.value).left(kReadBuffer - 1));
    }
    return {};
}

bool WriteIni(const QString& section, const QString& key, const QString& value, const QString& file)
{
    const QString path = iniPath(file);
    Text text = load(path);
    const QByteArray sec = section.toLocal8Bit();
    const QByteArray k = key.toLocal8Bit();
    const QByteArray v = value.toLocal8Bit();

    const auto [first, end] = findSection(text.lines, sec);
    const int oldCount = int(text.lines.size());
    bool lastLineNew = false; // a line added after the old last line needs its ending
    if (first < 0) {
        lastLineNew = true;
        text.lines.append(parseLine("[" + sec + "]"));
        text.lines.append(parseLine(k + "=" + v));
    } else {
        int found = -1;
        for (int i = first; i < end; ++i) {
            if (text.lines[i].isKey && sameName(text.lines[i].key, k)) {
                found = i;
                break;
            }
        }
        if (found >= 0) {
            // Keep the key's own spelling; only the value changes.
            text.lines[found] = parseLine(text.lines[found].key + "=" + v);
        } else {
            // After the section's last non-blank line, so blank separators stay below it.
            int at = end;
            while (at > first && trimmedBlank(text.lines[at - 1].raw).isEmpty())
                --at;
            lastLineNew = at == oldCount;
            text.lines.insert(at, parseLine(k + "=" + v));
        }
    }

    QByteArray out;
    for (int i = 0; i < text.lines.size(); ++i) {
        out += text.lines[i].raw;
        if (i + 1 < text.lines.size() || text.endsWithEol || lastLineNew)
            out += text.eol;
    }

    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile f(path);
    if (!f.open(QIODevice::WriteOnly))
        return false;
    f.write(out);
    return f.commit();
}
