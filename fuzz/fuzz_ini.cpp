// The settings file reader and writer on any file bytes: reading never fails
// on damage, and a value written is read back as written.
#include "FuzzCommon.h"
#include "station/IniFile.h"

#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzzApplication();
    static QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Tervala.ini"));
    FuzzInput in(data, size);
    static const char* const sections[] = {"COMPORTS", "Data", "s", "NEW"};
    static const char* const keys[] = {"NCOM", "Name", "k", "Added"};
    const QString section = QLatin1String(sections[in.byte() % 4]);
    const QString key = QLatin1String(keys[in.byte() % 4]);
    // A value of letters, digits, inner blanks and characters of both code pages.
    static const QString alphabet = QStringLiteral("abcXYZ019 .,_-°Жж");
    QString value;
    for (int n = in.byte() % 24; n > 0; --n)
        value += alphabet[in.byte() % alphabet.size()];
    value = value.trimmed();
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        f.write(in.rest());
    }
    ReadIni(section, key, path);
    if (WriteIni(section, key, value, path) && ReadIni(section, key, path) != value)
        std::abort();
    return 0;
}
