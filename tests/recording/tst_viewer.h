// The record viewer: column extremes of a trace, and the window through its
// controls (opening files, zoom and pan gestures, the cursor read-out, damaged
// and growing files, CSV export).
#pragma once

#include "Files.h"
#include "RecordingNotifier.h"
#include "recording/DataRecord.h"
#include "recording/DataRecorder.h"
#include "recording/LineRecorder.h"
#include "recording/RecordPlot.h"
#include "recording/frmRecord.h"
#include "station/Station.h"

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

namespace viewer {
const QDateTime kStart(QDate(2026, 11, 15), QTime(14, 0, 0));

inline QDateTime at(int h, int m, int s)
{
    return QDateTime(kStart.date(), QTime(h, m, s));
}

// 1.9 ppm, with a rise from 6.0 to 11.5 ppm from 14:30:00 to 14:31:50.
inline int peak(int i)
{
    return i >= 180 && i < 192 ? 60 + (i - 180) * 5 : 19;
}

// Files last written a minute ago are finished ones.
inline QString putOld(const QString& path, const QByteArray& bytes)
{
    return put(path, bytes, QDateTime::currentDateTime().addSecs(-60));
}
} // namespace viewer

// The trace behind the picture: what each pixel column is drawn from.
class RecordTraceTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Every column holds the extremes and highest alarm digit of exactly its
    // records, however the pyramid splits them: spikes and dips at every
    // offset from its node edges are each drawn in their own column.
    void columnExtremes_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("width");
        QTest::addColumn<double>("fromShare"); // the range, as shares of the records' span
        QTest::addColumn<double>("toShare");
        QTest::addColumn<int>("split"); // appended in two parts there; negative: the later first
        QTest::newRow("dense") << 200000 << 300 << 0.0 << 1.0 << 0;
        QTest::newRow("odd width") << 200000 << 257 << 0.0 << 1.0 << 0;
        QTest::newRow("zoomed") << 200000 << 640 << 0.45 << 0.55 << 0;
        QTest::newRow("sparse") << 3000 << 1200 << 0.2 << 0.9 << 0;
        QTest::newRow("a few records") << 200000 << 300 << 0.5 << 0.50004 << 0;
        QTest::newRow("appended") << 100000 << 300 << 0.0 << 1.0 << 50001;
        QTest::newRow("out of order") << 100000 << 300 << 0.0 << 1.0 << -50001;
    }
    void columnExtremes()
    {
        QFETCH(int, count);
        QFETCH(int, width);
        QFETCH(double, fromShare);
        QFETCH(double, toShare);
        QFETCH(int, split);
        constexpr qint64 t0 = 1'000'000, step = 50;
        QVector<RecordFile::Record> recs(count);
        for (int i = 0; i < count; ++i) {
            const bool spike = i % 997 == 0, dip = i % 1009 == 5;
            recs[i].utcMs = t0 + i * step;
            recs[i].number = i + 1;
            recs[i].raw = spike ? 900 : dip ? -50 : 20 + i % 7;
            recs[i].alarm = spike ? 3 : dip ? 1 : 0;
        }
        RecordTrace t(-1);
        if (split == 0) {
            t.append(recs);
        } else if (split > 0) {
            t.append(recs.mid(0, split));
            t.append(recs.mid(split));
        } else {
            t.append(recs.mid(-split));
            t.append(recs.mid(0, -split));
        }
        const qint64 from = t0 + qint64(count * step * fromShare);
        const qint64 to = t0 + qint64(count * step * toShare);
        const auto cols = t.columns(from, to, width);
        QVERIFY(cols.size() >= 3);
        for (size_t c = 0; c < cols.size(); ++c) {
            // A column's records run up to the next column's first; the
            // columns outside the range hold one record each.
            const bool inside = cols[c].x >= 0 && cols[c].x < width;
            const qsizetype begin = cols[c].firstIndex;
            const qsizetype end = !inside               ? begin + 1
                                  : c + 1 < cols.size() ? cols[c + 1].firstIndex
                                                        : t.lowerBound(to);
            QVERIFY(end > begin);
            const qint64 x = (t.timeAt(begin) - from) * width / (to - from);
            QCOMPARE(cols[c].x, t.timeAt(begin) < from ? -1 : int(std::min<qint64>(x, width)));
            RecordTrace::Extent e{INT_MAX, INT_MIN, 0};
            for (qsizetype i = begin; i < end; ++i) {
                QCOMPARE(t.numberAt(i), int(i + 1));
                e.min = std::min(e.min, t.rawAt(i));
                e.max = std::max(e.max, t.rawAt(i));
                e.alarm = std::max(e.alarm, t.alarmAt(i));
            }
            QCOMPARE(cols[c].extent.min, e.min);
            QCOMPARE(cols[c].extent.max, e.max);
            QCOMPARE(cols[c].extent.alarm, e.alarm);
            if (inside && end < t.size())
                QVERIFY((t.timeAt(end) - from) * width / (to - from) > cols[c].x);
        }
    }
};

class ViewerTest : public QObject
{
    Q_OBJECT
    std::unique_ptr<QTemporaryDir> dir_;
    RecordingNotifier n_;
    std::unique_ptr<Station> st_;
    std::unique_ptr<frmRecord> w_;
    QStringList day_; // two hours of the single analyzer, one of A005, every 10 s

    RecordPlot* plot() { return w_->plot(); }
    QPoint pointOf(const QDateTime& t, int raw)
    {
        return QPointF(plot()->xOf(t.toMSecsSinceEpoch()), plot()->yOf(raw)).toPoint();
    }
    // Two hours of the single analyzer and one of A005, every 10 s, as the
    // station's recorders write them.
    void record()
    {
        QDateTime now = viewer::kStart;
        DataRecorder single(*st_);
        LineRecorder line(*st_);
        single.clock = line.clock = [&] { return now; };
        st_->lineAutoName[5] = true;
        QVERIFY(single.start() && line.start({5}));
        for (int i = 0; i < 720; ++i, now = now.addSecs(10)) {
            const int v = viewer::peak(i);
            st_->deliver(v, QByteArray::number(v).rightJustified(5, '0') + '\r');
            if (i < 360)
                st_->deliverLine({5, {}, QStringLiteral("00040"), QStringLiteral("04100"), 40});
        }
        line.end();
        single.end();
        day_.clear();
        for (const char* name : {"14h15_11.dat", "15h15_11.dat", "14h15_11_A005.dat"}) {
            const QString path = st_->dataFolder + '/' + name;
            day_ << viewer::putOld(path, contents(path));
        }
    }
    void open(const QStringList& paths)
    {
        w_->chooseFiles = [paths](const QString&, const QStringList&) { return paths; };
        w_->findChild<QPushButton*>("cmdOpen")->click();
    }

private Q_SLOTS:
    void init()
    {
        dir_ = std::make_unique<QTemporaryDir>();
        qputenv("XDG_CONFIG_HOME", dir_->filePath("config").toLocal8Bit());
        st_ = std::make_unique<Station>(n_);
        st_->dataFolder = dir_->filePath("data");
        QDir().mkpath(st_->dataFolder);
        record();
        w_ = std::make_unique<frmRecord>(*st_);
        w_->setAttribute(Qt::WA_DeleteOnClose, false);
        w_->resize(1000, 600);
        w_->show();
        QVERIFY(QTest::qWaitForWindowExposed(w_.get()));
    }
    void cleanup()
    {
        w_.reset();
        st_.reset();
    }

    void opensFilesAndRemembersThem()
    {
        QString folder;
        QStringList names;
        w_->chooseFiles = [&](const QString& f, const QStringList& n) {
            folder = f;
            names = n;
            return day_;
        };
        auto* cmdOpen = w_->findChild<QPushButton*>("cmdOpen");
        cmdOpen->click();
        QCOMPARE(folder, st_->dataFolder);
        QVERIFY(names.isEmpty());
        QCOMPARE(w_->statusText(), "14h15_11.dat: 360 records; 15h15_11.dat: 360 records; "
                                   "14h15_11_A005.dat: 360 records");
        QStringList traces;
        for (const auto& t : plot()->traces())
            traces << t->name() + ' ' + QString::number(t->size());
        QCOMPARE(traces, QStringList({"Main 720", "A005 360"}));
        QVERIFY(plot()->range().from < viewer::at(14, 0, 0).toMSecsSinceEpoch());
        QVERIFY(plot()->range().to > viewer::at(15, 59, 50).toMSecsSinceEpoch());
        // The next opening starts in that folder with those files selected.
        cmdOpen->click();
        QCOMPARE(folder, st_->dataFolder);
        QCOMPARE(names, QStringList({"14h15_11.dat", "15h15_11.dat", "14h15_11_A005.dat"}));
    }

    void readout_data()
    {
        QTest::addColumn<QDateTime>("from");
        QTest::addColumn<QDateTime>("t");
        QTest::addColumn<int>("raw");
        QTest::addColumn<QString>("expected");
        using viewer::at;
        QTest::newRow("peak, alarm 1") << at(14, 29, 0) << at(14, 30, 30) << 75
                                       << "Main  15.11.2026 14:30:30  7.5 ppm  No. 184  alarm 1";
        QTest::newRow("peak, alarm 3") << at(14, 29, 0) << at(14, 30, 50) << 85
                                       << "Main  15.11.2026 14:30:50  8.5 ppm  No. 186  alarm 3";
        QTest::newRow("the line's analyzer below") << at(14, 29, 0) << at(14, 30, 30) << 40
                                                   << "A005  15.11.2026 14:30:30  4.0 ppm  No. 184";
        QTest::newRow("the next hour's file counts anew")
            << at(14, 59, 0) << at(15, 0, 10) << 19 << "Main  15.11.2026 15:00:10  1.9 ppm  No. 2";
    }
    void readout()
    {
        QFETCH(QDateTime, from);
        QFETCH(QDateTime, t);
        QFETCH(int, raw);
        open(day_);
        plot()->setRange(from.toMSecsSinceEpoch(), from.addSecs(180).toMSecsSinceEpoch());
        QTest::mouseMove(plot(), pointOf(t, raw));
        QTEST(w_->findChild<QLabel*>("lblReadout")->text(), "expected");
        QTEST(plot()->readoutAt(pointOf(t, raw) + QPoint(3, -3)).text, "expected");
    }

    // Gestures from 14:40-15:20; the expected range in shares of that range.
    void gestures_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<int>("code"); // mouse button, wheel delta or key
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<double>("a"); // where it starts and ends, shares of the width
        QTest::addColumn<double>("b");
        QTest::addColumn<double>("expFrom");
        QTest::addColumn<double>("expTo");
        const int left = Qt::LeftButton, none = Qt::NoModifier, shift = Qt::ShiftModifier;
        QTest::newRow("drag a range") << "drag" << left << none << 0.25 << 0.6 << 0.25 << 0.6;
        QTest::newRow("drag it leftwards") << "drag" << left << none << 0.6 << 0.25 << 0.25 << 0.6;
        QTest::newRow("right drag pans")
            << "drag" << int(Qt::RightButton) << none << 0.6 << 0.4 << 0.2 << 1.2;
        QTest::newRow("shift drag pans") << "drag" << left << shift << 0.4 << 0.6 << -0.2 << 0.8;
        QTest::newRow("wheel in") << "wheel" << 120 << none << 0.25 << 0.0 << 0.05 << 0.85;
        QTest::newRow("+") << "key" << int(Qt::Key_Plus) << none << 0.0 << 0.0 << 0.25 << 0.75;
        QTest::newRow("-") << "key" << int(Qt::Key_Minus) << none << 0.0 << 0.0 << -0.5 << 1.5;
        QTest::newRow("left") << "key" << int(Qt::Key_Left) << none << 0.0 << 0.0 << -0.125
                              << 0.875;
        QTest::newRow("right") << "key" << int(Qt::Key_Right) << none << 0.0 << 0.0 << 0.125
                               << 1.125;
        QTest::newRow("Home shows all")
            << "key" << int(Qt::Key_Home) << none << 0.0 << 0.0 << 0.0 << 0.0;
    }
    void gestures()
    {
        QFETCH(QString, kind);
        QFETCH(int, code);
        QFETCH(int, modifiers);
        QFETCH(double, a);
        QFETCH(double, b);
        QFETCH(double, expFrom);
        QFETCH(double, expTo);
        open(day_);
        plot()->setRange(viewer::at(14, 40, 0).toMSecsSinceEpoch(),
                         viewer::at(15, 20, 0).toMSecsSinceEpoch());
        const RecordPlot::Range r = plot()->range();
        const QRect area = plot()->plotArea();
        const auto px = [&](double share) {
            return QPoint(area.left() + int(std::lround(share * area.width())), area.center().y());
        };
        const auto mods = Qt::KeyboardModifiers(modifiers);
        if (kind == "drag") {
            QTest::mousePress(plot(), Qt::MouseButton(code), mods, px(a));
            QTest::mouseMove(plot(), px((a + b) / 2));
            QTest::mouseMove(plot(), px(b));
            QTest::mouseRelease(plot(), Qt::MouseButton(code), mods, px(b));
        } else if (kind == "wheel") {
            QWheelEvent e(px(a), plot()->mapToGlobal(px(a)), QPoint(), QPoint(0, code),
                          Qt::NoButton, mods, Qt::NoScrollPhase, false);
            QApplication::sendEvent(plot(), &e);
        } else {
            QTest::keyClick(plot(), Qt::Key(code), mods);
        }
        if (code == Qt::Key_Home) {
            QCOMPARE(plot()->range(), plot()->fullRange());
            return;
        }
        const double msPerPx = double(r.to - r.from) / area.width();
        const auto at = [&](double share) { return r.from + qint64(share * (r.to - r.from)); };
        QVERIFY2(std::abs(plot()->range().from - at(expFrom)) <= msPerPx,
                 qPrintable(QDateTime::fromMSecsSinceEpoch(plot()->range().from).toString()));
        QVERIFY2(std::abs(plot()->range().to - at(expTo)) <= msPerPx,
                 qPrintable(QDateTime::fromMSecsSinceEpoch(plot()->range().to).toString()));
    }

    // Each file says what became of it; the readable ones are shown.
    void damagedFilesReported()
    {
        const auto put = [&](const QString& name, const QByteArray& bytes) {
            return viewer::putOld(st_->dataFolder + '/' + name, bytes);
        };
        const QDateTime t = viewer::at(13, 0, 0);
        const QString damaged = put(
            "13h15_11.dat", DataRecord::bytes(1, t, "00020\r", 0, 50, 80) + "x\x01=garbage\r\n" +
                                DataRecord::bytes(2, t.addSecs(1), "00021\r", 0, 50, 80) +
                                DataRecord::bytes(3, t.addSecs(2), "00022\r", 0, 50, 80).left(12));
        const QString empty = put("12h15_11.dat", QByteArray());
        const QString foreign = put("notes.dat", "[COMPORTS]\r\nNCOM=2\r\n");
        open({day_[0], damaged, empty, foreign});
        const QString status = w_->statusText();
        QVERIFY2(status.startsWith("362 records in 4 files; 13h15_11.dat: 2 records, "
                                   "2 damaged lines skipped; notes.dat: "),
                 qPrintable(status));
        QCOMPARE(plot()->traces().size(), size_t(1));
        QCOMPARE(plot()->traces()[0]->size(), 362);
        QVERIFY(w_->findChild<QLabel*>("lblStatus")->toolTip().contains("12h15_11.dat: 0 records"));
    }

    // A file the station is writing: its last line waits for its end, and
    // what is appended comes into view by itself.
    void followsAGrowingFile()
    {
        const QDateTime t = viewer::at(16, 0, 0);
        QByteArray bytes;
        for (int i = 0; i < 15; ++i)
            bytes += DataRecord::bytes(i + 1, t.addSecs(i), "00019\r", 0, 50, 80);
        const qsizetype cut = bytes.indexOf("00011\t") + 12;
        const QString path = st_->dataFolder + "/16h15_11.dat";
        QString why;
        QVERIFY(DataRecord::appendToPath(path, bytes.left(cut), &why));
        open({path});
        QCOMPARE(w_->statusText(), "16h15_11.dat: 10 records");
        QVERIFY(DataRecord::appendToPath(path, bytes.mid(cut), &why));
        QTRY_COMPARE_WITH_TIMEOUT(w_->statusText(), "16h15_11.dat: 15 records",
                                  3 * frmRecord::kPollMs);
        QCOMPARE(plot()->range(), plot()->fullRange()); // showing all, it follows the end
    }

    // An open hourly file leads on to the next hour's file of its analyzer
    // once that file is there; other names lead nowhere.
    void followsTheNextHour()
    {
        QCOMPARE(QFileInfo(frmRecord::nextHourFile("/d/23h31_12.dat")).fileName(),
                 QStringLiteral("00h01_01.dat"));
        QCOMPARE(QFileInfo(frmRecord::nextHourFile("/d/09h15_11_A005.dat")).fileName(),
                 QStringLiteral("10h15_11_A005.dat"));
        QCOMPARE(frmRecord::nextHourFile("/d/notes.dat"), QString());
        open({day_[0], day_[2]}); // 14h of the single analyzer and of A005
        const qsizetype before = plot()->trace(-1).size();
        w_->pollFiles();
        QCOMPARE(w_->files(), (QStringList{day_[0], day_[2], day_[1]}));
        QVERIFY(plot()->trace(-1).size() > before);
        w_->pollFiles(); // nothing more to follow
        QCOMPARE(w_->files().size(), 3);
    }

    void exportsCsv()
    {
        open(day_);
        QString suggested;
        w_->chooseSaveFile = [&](const QString& s) {
            suggested = s;
            return dir_->filePath("day.csv");
        };
        w_->findChild<QPushButton*>("cmdExport")->click();
        QCOMPARE(suggested, st_->dataFolder + "/14h15_11.csv");
        // On a thread of its own; the window stays live meanwhile.
        QTRY_COMPARE(w_->statusText(), "Exported 1080 rows to day.csv");
        QVERIFY(w_->findChild<QPushButton*>("cmdExport")->isEnabled());
        QCOMPARE(contents(dir_->filePath("day.csv")).count("\r\n"), 1081);
    }
};
