// The sample arrays, their shift, the date and the graph-window table:
// the display's parts that run without a screen.
#pragma once

#include "GraphFixture.h"
#include "display/SampleArrays.h"

class TestShowArr : public QObject
{
    Q_OBJECT

    // Value of component c at point p before any shift: unique per cell.
    static qint32 cell(int c, int p) { return p * 100 + c; }
    static void fill(SampleArrays& a, int count)
    {
        RecordingNotifier n;
        for (int p = 0; p < count; ++p)
            a.addPoint(cell(0, p), 40000.0 + p, n);
    }

private Q_SLOTS:
    // A full screen of 20 drops its first fifth; the rest moves to the front and
    // the end is cleared. (A screen too short to shift is refused through the
    // sample arrays below.)
    void shiftArray()
    {
        const int points = 20, k = 4;
        ValueArray values(points);
        TimeArray times(static_cast<std::size_t>(points));
        for (int p = 0; p < points; ++p) {
            for (int c = 0; c < kComponents; ++c)
                values.at(c, p) = cell(c, p);
            times[std::size_t(p)] = 1000.0 + p;
        }
        RecordingNotifier n;
        QVERIFY(::shiftArray(values, n));
        QVERIFY(shiftArrayA(times));
        QVERIFY(n.messages.isEmpty());
        for (int p = 0; p < points; ++p) {
            const bool moved = p < points - k;
            for (int c = 0; c < kComponents; ++c)
                QCOMPARE(values.at(c, p), moved ? cell(c, p + k) : 0);
            QCOMPARE(times[std::size_t(p)], moved ? 1000.0 + p + k : 0.0);
        }
    }

    void badBoundKeepsContents_data()
    {
        QTest::addColumn<int>("points");
        QTest::addColumn<int>("at"); // where the trace goes on
        // round(round(N * 4.0) / 5), but never past the screen's last place.
        QTest::newRow("7") << 7 << 6;
        QTest::newRow("3") << 3 << 2;
        QTest::newRow("2") << 2 << 1;
        QTest::newRow("1") << 1 << 0;
    }
    void badBoundKeepsContents()
    {
        QFETCH(int, points);
        QFETCH(int, at);
        SampleArrays a(points);
        fill(a, points);
        RecordingNotifier n;
        // The point goes over the four-fifths mark and the trace keeps
        // drawing; the message comes once; the arrays stay whole.
        QCOMPARE(a.addPoint(7777, 50000.0, n), SampleArrays::Step::Unshifted);
        QCOMPARE(a.pointCount(), at + 1);
        QCOMPARE(a.value(at), 7777);
        QCOMPARE(a.addPoint(8888, 50001.0, n), SampleArrays::Step::Unshifted);
        QCOMPARE(a.pointCount(), at + 1);
        QCOMPARE(a.value(at), 8888);
        QCOMPARE(a.time(at), 50001.0);
        QCOMPARE(n.messages, QStringList{"Bad Bound if Array"});
        QCOMPARE(a.values().points(), points);
        QCOMPARE(int(a.times().size()), points);
        for (int p = 0; p < at; ++p) {
            QCOMPARE(a.value(p), cell(0, p));
            QCOMPARE(a.time(p), 40000.0 + p);
        }
        // A new screen length lifts the block: a full screen of 10 shifts.
        QVERIFY(a.setPointsPerScreen(10));
        fill(a, 10 - a.pointCount());
        QCOMPARE(a.addPoint(9999, 50002.0, n), SampleArrays::Step::Shifted);
        QCOMPARE(a.value(8), 9999);
    }

    void setPointsPerScreen_data()
    {
        QTest::addColumn<int>("newN");
        QTest::addColumn<bool>("kept");
        // 15 points held on a screen of 20.
        QTest::newRow("enlarge keeps") << 60 << true;
        QTest::newRow("shrink above count keeps") << 16 << true;
        QTest::newRow("shrink to count restarts") << 15 << false;
    }
    void setPointsPerScreen()
    {
        QFETCH(int, newN);
        QFETCH(bool, kept);
        SampleArrays a(20);
        fill(a, 15);
        QCOMPARE(a.setPointsPerScreen(newN), kept);
        QCOMPARE(a.values().points(), newN);
        QCOMPARE(int(a.times().size()), newN);
        QCOMPARE(a.pointCount(), kept ? 15 : 0);
        for (int p = 0; p < newN; ++p)
            QCOMPARE(a.value(p), kept && p < 15 ? cell(0, p) : 0);
    }

    void oleDate()
    {
        // Days since 30 December 1899, the time of day as the fraction.
        const QDateTime noon(QDate(2024, 3, 1), QTime(12, 0));
        QCOMPARE(toOleDate(noon), 45352.5);
        QCOMPARE(fromOleDate(45352.5), noon);
        QCOMPARE(toOleDate(QDateTime(QDate(1899, 12, 30), QTime(6, 0))), 0.25);
        // The graphs' clock keeps the local offset for a minute: it reads as
        // the local time does.
        const double seconds = (currentOleDate() - toOleDate(QDateTime::currentDateTime())) * 86400;
        QVERIFY2(std::abs(seconds) < 1, qPrintable(QString::number(seconds)));
    }

    void graphTableWalk()
    {
        RecordingNotifier n;
        Station st(n);
        GraphTable& t = GraphTable::of(st);
        QStringList log;
        FakeGraph main(log, "main"), a(log, "a"), b(log, "b");
        t.setMainGraph(&main);
        QVERIFY(t.set(200, &b));
        QVERIFY(t.set(0, &a));
        QVERIFY(t.set(255, &a)); // the same window twice is visited once
        QVERIFY(!t.set(256, &b));
        t.forEachOpen([](TrendGraph* g) { g->setSynchro(true); });
        QCOMPARE(log, (QStringList{"main setSynchro 1", "a setSynchro 1", "b setSynchro 1"}));
        t.remove(&a);
        QCOMPARE(t.at(0), nullptr);
        QCOMPARE(t.at(255), nullptr);
    }
};
