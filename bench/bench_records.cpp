// Reading recorded data back: a day of hourly files (24 x 72,000 records, 20
// readings a second) written in the station's own format, then read into
// memory as the record viewer does, and exported with the CSV writer to
// /dev/null. Prints the time of each and the records per second.
#include "recording/CsvExport.h"
#include "recording/DataRecord.h"
#include "recording/RecordFile.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const int perFile = argc > 1 ? QByteArray(argv[1]).toInt() : 72000;
    QTemporaryDir dir;
    QStringList paths;
    const QDateTime day(QDate(2026, 11, 15), QTime(0, 0));
    QElapsedTimer t;
    t.start();
    for (int h = 0; h < 24; ++h) {
        const QDateTime hour = day.addSecs(h * 3600);
        paths << dir.filePath(DataRecord::dataFileName(hour));
        QFile f(paths.back());
        if (!f.open(QIODevice::WriteOnly))
            return 1;
        QByteArray bytes;
        for (int i = 0; i < perFile; ++i) {
            const int raw = 20 + (i * 7919 + h * 31) % 900;
            const QByteArray reply = QByteArray::number(100000 + raw).mid(1) + '\r';
            bytes += DataRecord::bytes(i + 1, hour.addMSecs(qint64(i) * 3600000 / perFile), reply,
                                       0, 500, 800);
        }
        f.write(bytes);
    }
    QFile day1(dir.filePath(DataRecord::textFileName(day)));
    if (day1.open(QIODevice::WriteOnly))
        day1.write(DataRecord::startLine(day));
    day1.close();
    const qint64 total = qint64(perFile) * 24;
    std::printf("wrote %lld records in 24 files: %.2f s\n", total, t.elapsed() / 1000.0);

    t.restart();
    int skipped = 0;
    const auto all = RecordFile::readAll(paths, &skipped);
    const double readS = t.nsecsElapsed() / 1e9;
    std::printf("read into memory: %lld records in %.3f s (%.2f M records/s), %d skipped\n",
                qint64(all.size()), readS, all.size() / readS / 1e6, skipped);

    QFile null(QStringLiteral("/dev/null"));
    if (!null.open(QIODevice::WriteOnly))
        return 1;
    t.restart();
    const CsvResult r = exportCsv(paths, null);
    const double csvS = t.nsecsElapsed() / 1e9;
    std::printf("--to-csv: %lld rows in %.3f s (%.2f M records/s)\n", r.rows, csvS,
                r.rows / csvS / 1e6);
    return all.size() == total && r.rows == total ? 0 : 1;
}
