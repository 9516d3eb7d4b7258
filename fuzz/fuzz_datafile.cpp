// Reading a data file back on any bytes: damaged lines are skipped and
// counted, and the CSV export gives a row for every record read.
#include "FuzzCommon.h"
#include "recording/CsvExport.h"
#include "recording/RecordFile.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzzApplication();
    static QTemporaryDir dir;
    FuzzInput in(data, size);
    // An hourly file of the single analyzer or of the line, or a chosen name.
    static const char* const names[] = {"14h15_11.dat", "23h31_12_A005.dat", "night.log"};
    const QString path = dir.filePath(QLatin1String(names[in.byte() % 3]));
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        f.write(in.rest());
    }
    RecordFile::Reader r(path);
    qint64 records = 0;
    if (r.open()) {
        r.finish();
        RecordFile::Record rec;
        while (r.next(rec)) {
            if (rec.alarm != 0 && rec.alarm != 1 && rec.alarm != 3)
                std::abort();
            ++records;
        }
    }
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    const CsvResult csv = exportCsv({path}, out);
    if (csv.rows != records || out.data().count('\n') != records + 1)
        std::abort();
    QFile::remove(path);
    return 0;
}
