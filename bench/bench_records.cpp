// Reading recorded data back: a day of hourly files (24 x 72,000 records, 20
// readings a second) written in the station's own format, then read into
// memory as the record viewer does, and exported with the CSV writer to
// /dev/null. Prints the time of each and the records per second. Then the
// record viewer opens the day (time to its first picture), and zooms and pans
// through it (time of each redraw).
#include "recording/CsvExport.h"
#include "recording/DataRecord.h"
#include "recording/RecordFile.h"
#include "recording/RecordPlot.h"
#include "recording/frmRecord.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

// Opens the day in the viewer as the operator does, then zooms in step by step
// to a minute and pans through an hour; prints the time to the first picture
// and the median and slowest redraw.
void viewer(const QStringList& paths, const QTemporaryDir& dir)
{
    // The viewer remembers what it opened: in a settings folder of its own here.
    qputenv("XDG_CONFIG_HOME", dir.filePath(QStringLiteral("config")).toLocal8Bit());
    HeadlessNotifier notifier;
    Station st(notifier);
    frmRecord w(st);
    w.resize(1400, 800);
    w.show();
    QElapsedTimer t;
    t.start();
    w.openFiles(paths);
    w.plot()->grab();
    std::printf("viewer, open the day to the first picture (1400x800): %.3f s\n",
                t.nsecsElapsed() / 1e9);

    RecordPlot* plot = w.plot();
    std::vector<double> ms;
    const auto redraw = [&](qint64 from, qint64 to) {
        t.restart();
        plot->setRange(from, to);
        plot->grab();
        ms.push_back(t.nsecsElapsed() / 1e6);
    };
    const RecordPlot::Range all = plot->fullRange();
    const qint64 mid = all.from + (all.to - all.from) / 2;
    for (qint64 half = (all.to - all.from) / 2; half > 30000; half = half * 3 / 4)
        redraw(mid - half, mid + half);
    for (qint64 from = mid; from < mid + 3600000; from += 60000)
        redraw(from - 1800000, from + 1800000);
    std::sort(ms.begin(), ms.end());
    std::printf("viewer, %zu zooms and pans: median %.2f ms, slowest %.2f ms\n", ms.size(),
                ms[ms.size() / 2], ms.back());
}

} // namespace

int main(int argc, char** argv)
{
    // Without a display the viewer draws off screen all the same.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
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
    viewer(paths, dir);
    return all.size() == total && r.rows == total ? 0 : 1;
}
