#include "tst_showArr.h"

#include "FakeGraph.h"
#include "RecordingNotifier.h"
#include "app/Station.h"
#include "display/GraphMapping.h"
#include "display/GraphTable.h"
#include "display/SampleArrays.h"
#include "display/TraceRender.h"

#include <QTest>

namespace {
// Value of component c at point p before any shift: unique per cell.
qint32 cell(int c, int p)
{
    return p * 100 + c;
}

void fillRows(SampleArrays& a, int count)
{
    RecordingNotifier n;
    for (int p = 0; p < count; ++p)
        a.addPoint(cell(0, p), 40000.0 + p, n);
}
} // namespace

void TestShowArr::shiftArray_data()
{
    QTest::addColumn<int>("points");
    QTest::addColumn<bool>("shifted");
    QTest::newRow("20 points drop 0..3") << 20 << true;
    QTest::newRow("24000 points") << 24000 << true;
    QTest::newRow("5 points") << 5 << true;
    QTest::newRow("7 points: bad bound") << 7 << false;
    QTest::newRow("1 point: bad bound") << 1 << false;
}

void TestShowArr::shiftArray()
{
    QFETCH(int, points);
    QFETCH(bool, shifted);
    ValueArray values(points);
    TimeArray times(static_cast<std::size_t>(points));
    for (int p = 0; p < points; ++p) {
        for (int c = 0; c < kComponents; ++c)
            values.at(c, p) = cell(c, p);
        times[std::size_t(p)] = 1000.0 + p;
    }
    RecordingNotifier n;
    QCOMPARE(::shiftArray(values, n), shifted);
    QCOMPARE(shiftArrayA(times), shifted);
    QCOMPARE(n.messages, shifted ? QStringList() : QStringList{"Bad Bound if Array"});

    const int k = shifted ? points / 5 : 0;
    for (int p = 0; p < points; ++p) {
        const bool moved = p < points - k;
        for (int c = 0; c < kComponents; ++c)
            QCOMPARE(values.at(c, p), moved ? cell(c, p + k) : 0);
        QCOMPARE(times[std::size_t(p)], moved ? 1000.0 + p + k : 0.0);
    }
}

void TestShowArr::addPointShiftsAtFullScreen()
{
    SampleArrays a(20);
    fillRows(a, 20);
    RecordingNotifier n;
    QCOMPARE(a.addPoint(7777, 50000.0, n), SampleArrays::Step::Shifted);
    QCOMPARE(a.pointCount(), 17);
    for (int p = 0; p < 16; ++p) {
        QCOMPARE(a.value(p), cell(0, p + 4));
        QCOMPARE(a.time(p), 40000.0 + p + 4);
    }
    QCOMPARE(a.value(16), 7777);
    QCOMPARE(a.time(16), 50000.0);
    QCOMPARE(a.value(17), 0);
    QCOMPARE(a.time(19), 0.0);
    QVERIFY(n.messages.isEmpty());
}

void TestShowArr::badBoundKeepsContents()
{
    SampleArrays a(7);
    fillRows(a, 7);
    RecordingNotifier n;
    QCOMPARE(a.addPoint(7777, 50000.0, n), SampleArrays::Step::Refused);
    QCOMPARE(n.messages, QStringList{"Bad Bound if Array"});
    // Further points are refused without another message box per reading.
    QCOMPARE(a.addPoint(8888, 50001.0, n), SampleArrays::Step::Refused);
    QCOMPARE(n.messages.size(), 1);
    QCOMPARE(a.pointCount(), 7);
    for (int p = 0; p < 7; ++p) {
        QCOMPARE(a.value(p), cell(0, p));
        QCOMPARE(a.time(p), 40000.0 + p);
    }
    // A new screen length lifts the block.
    QVERIFY(a.setPointsPerScreen(10));
    QCOMPARE(a.addPoint(9999, 50002.0, n), SampleArrays::Step::Appended);
    QCOMPARE(a.value(7), 9999);
}

void TestShowArr::setPointsPerScreen_data()
{
    QTest::addColumn<int>("held");
    QTest::addColumn<int>("newN");
    QTest::addColumn<bool>("kept");
    QTest::newRow("enlarge keeps") << 15 << 60 << true;
    QTest::newRow("shrink above count keeps") << 15 << 16 << true;
    QTest::newRow("shrink to count restarts") << 15 << 15 << false;
    QTest::newRow("shrink below count restarts") << 15 << 5 << false;
}

void TestShowArr::setPointsPerScreen()
{
    QFETCH(int, held);
    QFETCH(int, newN);
    QFETCH(bool, kept);
    SampleArrays a(20);
    fillRows(a, held);
    QCOMPARE(a.setPointsPerScreen(newN), kept);
    QCOMPARE(a.pointsPerScreen(), newN);
    QCOMPARE(a.values().points(), newN);
    QCOMPARE(int(a.times().size()), newN);
    QCOMPARE(a.pointCount(), kept ? held : 0);
    for (int p = 0; p < newN; ++p)
        QCOMPARE(a.value(p), kept && p < held ? cell(0, p) : 0);
}

void TestShowArr::log10_data()
{
    QTest::addColumn<double>("x");
    QTest::addColumn<float>("expected");
    QTest::newRow("0 plots at -2") << 0.0 << -2.0F;
    QTest::newRow("negative plots at -2") << -250.0 << -2.0F;
    QTest::newRow("0.01") << 0.01 << -2.0F;
    QTest::newRow("1") << 1.0 << 0.0F;
    QTest::newRow("1000") << 1000.0 << 3.0F;
    QTest::newRow("2.5") << 2.5 << 0.39794F;
}

void TestShowArr::log10()
{
    QFETCH(double, x);
    QFETCH(float, expected);
    QVERIFY2(qAbs(Log10(x) - expected) < 1e-5F, qPrintable(QString::number(Log10(x))));
}

void TestShowArr::oleDate_data()
{
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<double>("days");
    QTest::newRow("1 Jan 2000") << QDateTime(QDate(2000, 1, 1), QTime(0, 0)) << 36526.0;
    QTest::newRow("1 Mar 2024 noon") << QDateTime(QDate(2024, 3, 1), QTime(12, 0)) << 45352.5;
    QTest::newRow("30 Dec 1899") << QDateTime(QDate(1899, 12, 30), QTime(6, 0)) << 0.25;
}

void TestShowArr::oleDate()
{
    QFETCH(QDateTime, time);
    QFETCH(double, days);
    QCOMPARE(toOleDate(time), days);
    QCOMPARE(fromOleDate(days), time);
}

void TestShowArr::mapping_data()
{
    QTest::addColumn<bool>("log");
    QTest::addColumn<double>("extent");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("y");
    QTest::addColumn<QPointF>("pixel");
    // 200 x 100 pixels, 20 points per screen.
    QTest::newRow("origin bottom-left") << false << 1000.0 << 0.0 << 0.0 << QPointF(0, 100);
    QTest::newRow("full scale top-right") << false << 1000.0 << 20.0 << 1000.0 << QPointF(200, 0);
    QTest::newRow("mid") << false << 1000.0 << 5.0 << 250.0 << QPointF(50, 75);
    QTest::newRow("log: -2 at the bottom") << true << 3.0 << 10.0 << -2.0 << QPointF(100, 100);
    QTest::newRow("log: 100 ppm x10") << true << 3.0 << 10.0 << 2.0 << QPointF(100, 20);
    QTest::newRow("log: scale 0.01 one decade") << true << -2.0 << 0.0 << -2.5 << QPointF(0, 50);
}

void TestShowArr::mapping()
{
    QFETCH(bool, log);
    QFETCH(double, extent);
    QFETCH(double, x);
    QFETCH(double, y);
    QFETCH(QPointF, pixel);
    const GraphAxes axes = log ? GraphAxes::logarithmic(20, extent) : GraphAxes::linear(20, extent);
    const GraphMapping m(axes, QSizeF(200, 100));
    QCOMPARE(m.map(x, y), pixel);
    QCOMPARE(m.dataX(pixel.x()), x);
}

void TestShowArr::yLabelText_data()
{
    QTest::addColumn<double>("scale");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("text");
    QTest::newRow("bottom") << 1000.0 << 0 << "0.0";
    QTest::newRow("1000 line 1") << 1000.0 << 1 << "20.0";
    QTest::newRow("1000 top") << 1000.0 << 5 << "100.0";
    QTest::newRow("25 line 3") << 25.0 << 3 << "1.5";
    QTest::newRow("10 line 1") << 10.0 << 1 << "0.2";
}

void TestShowArr::yLabelText()
{
    QFETCH(double, scale);
    QFETCH(int, line);
    QFETCH(QString, text);
    QCOMPARE(::yLabelText(scale, 4, line), text);
}

void TestShowArr::thinnedTraceKeepsExtremes()
{
    // 24000 points on 400 pixels: one spike up, one down, the rest flat.
    SampleArrays a(24000);
    RecordingNotifier n;
    for (int p = 0; p < 24000; ++p)
        a.addPoint(p == 12345 ? 900 : p == 20001 ? 10 : 500, 0, n);
    const GraphMapping m(GraphAxes::linear(24000, 1000), QSizeF(400, 100));
    const auto line = TraceRender::tracePolyline(m, a, {}, 1.0);
    QVERIFY(line.size() <= 4 * 401);
    double top = 100;
    double bottom = 0;
    for (const QPointF& p : line) {
        top = std::min(top, p.y());
        bottom = std::max(bottom, p.y());
    }
    QCOMPARE(top, m.py(900));
    QCOMPARE(bottom, m.py(10));
    QCOMPARE(line.front(), m.map(0, 500));
    QCOMPARE(line.back(), m.map(23999, 500));
}

void TestShowArr::graphTableWalk()
{
    RecordingNotifier n;
    Station st(n);
    GraphTable& t = GraphTable::of(st);
    QCOMPARE(&GraphTable::of(st), &t);
    QStringList log;
    FakeGraph main(log, "main"), a(log, "a"), b(log, "b"), c(log, "c");
    t.setMainGraph(&main);
    QVERIFY(t.set(200, &c));
    QVERIFY(t.set(5, &b));
    QVERIFY(t.set(0, &a));
    QVERIFY(t.set(255, &b)); // the same window twice is visited once
    QVERIFY(!t.set(256, &a));
    QVERIFY(!t.set(-1, &a));
    t.forEachOpen([](TrendGraph* g) { g->setSynchro(true); });
    QCOMPARE(log, (QStringList{"main setSynchro 1", "a setSynchro 1", "b setSynchro 1",
                               "c setSynchro 1"}));

    t.remove(&b);
    QCOMPARE(t.at(5), nullptr);
    QCOMPARE(t.at(255), nullptr);
    QVERIFY(!t.contains(&b));
    QCOMPARE(t.at(256), nullptr);
}
