#include "tst_trendGraph.h"

#include "GraphFixture.h"
#include "display/TraceRender.h"

#include <QCheckBox>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <cmath>

void TestTrendGraph::loadsWithSettingsIndices()
{
    RecordingNotifier n;
    Station st(n);
    st.layout.scaleYIndex = 4; // "10000"
    st.layout.scaleXIndex = 7; // "120"
    frmOscil w(st);
    QCOMPARE(w.windowTitle(), QStringLiteral("Graph"));
    QCOMPARE(w.pointsPerScreen(), 120);
    QCOMPARE(w.yExtent(), 10000.0F);
    QCOMPARE(w.scaleYIndex(), 4);
    QCOMPARE(w.scaleXIndex(), 7);
    QCOMPARE(w.GetabScaleY(0), 10000);
    QCOMPARE(w.findChild<QLabel*>("lblY1")->text(), QStringLiteral("200.0"));
    QCOMPARE(w.findChild<QLabel*>("lblY5")->text(), QStringLiteral("1000.0"));

    w.setScaleIndices(13, 9); // "10", "20"
    QCOMPARE(w.pointsPerScreen(), 20);
    QCOMPARE(w.yExtent(), 10.0F);
    w.setScaleIndices(14, -1); // outside both lists: nothing changes
    QCOMPARE(w.scaleYIndex(), 13);
    QCOMPARE(w.scaleXIndex(), 9);
    QVERIFY(n.messages.isEmpty());
}

void TestTrendGraph::pointLandsOnMapping_data()
{
    QTest::addColumn<qint32>("value");
    QTest::addColumn<int>("zeroOffset");
    QTest::addColumn<bool>("log");
    QTest::addColumn<double>("y");
    QTest::newRow("linear") << 500 << 0 << false << 500.0;
    QTest::newRow("zero offset subtracted") << 100 << 30 << false << 70.0;
    QTest::newRow("log 100") << 100 << 0 << true << 2.0;
    QTest::newRow("log of 0 at -2") << 0 << 0 << true << -2.0;
    QTest::newRow("log below 0 at -2") << 10 << 30 << true << -2.0;
}

void TestTrendGraph::pointLandsOnMapping()
{
    QFETCH(qint32, value);
    QFETCH(int, zeroOffset);
    QFETCH(bool, log);
    QFETCH(double, y);
    GraphFixture f;
    GraphTable::of(f.st).zeroOffset = zeroOffset;
    f.w.findChild<QCheckBox*>("chkLog")->setChecked(log);
    for (int i = 0; i < 10; ++i)
        f.add(value);
    const QImage img = f.w.picture()->image();
    const GraphMapping m = f.w.picture()->mapping();
    QPointF p = m.map(7, y);
    p.setY(std::min(p.y(), m.size().height() - 1)); // -2 is the bottom edge on the log axis
    QVERIFY(f.traceAt(img, p));
    QVERIFY(!f.traceAt(img, p + QPointF(0, p.y() > 20 ? -12 : 12)));
    QVERIFY(f.n.messages.isEmpty());
}

void TestTrendGraph::gridIsFiveByFive()
{
    GraphFixture f;
    const QImage img = f.w.picture()->image();
    const GraphMapping m = f.w.picture()->mapping();
    const QColor blue = TraceRender::gridColour();
    const double midY = m.gridY(1) + 5;
    const double midX = m.gridX(1) + 5;
    for (int i = 1; i <= 4; ++i) {
        QCOMPARE(img.pixelColor(int(m.gridX(i)), int(midY)), blue);
        QCOMPARE(img.pixelColor(int(midX), int(m.gridY(i))), blue);
    }
    QCOMPARE(img.pixelColor(QPointF(m.gridX(1) / 2, m.gridY(1) / 2).toPoint()),
             TraceRender::backColour());
}

void TestTrendGraph::shiftContinuesAtFourFifths()
{
    GraphFixture f(20);
    for (int p = 0; p < 20; ++p)
        f.add(100 + 10 * p);
    f.add(900);
    QCOMPARE(f.w.pointCount(), 17);
    QCOMPARE(f.w.arrays().value(0), 140);
    QCOMPARE(f.w.arrays().value(15), 290);
    QCOMPARE(f.w.arrays().value(16), 900);
    const QImage img = f.w.picture()->image();
    const GraphMapping m = f.w.picture()->mapping();
    QVERIFY(f.traceAt(img, m.map(0, 140)));
    // No gap where the retained trace meets the new point.
    QVERIFY(f.traceAt(img, (m.map(15, 290) + m.map(16, 900)) / 2));
    QVERIFY(f.traceAt(img, m.map(16, 900)));
    // The dropped first fifth is gone from the right end.
    QVERIFY(!f.traceAt(img, m.map(19, 290)));
}

void TestTrendGraph::incrementalMatchesFullRedraw()
{
    GraphFixture f(60);
    f.add(300);
    (void)f.w.picture()->image(); // a drawn picture: the next points go in one by one
    for (int p = 1; p < 40; ++p)
        f.add(p % 7 * 120);
    const QImage incremental = f.w.picture()->image().copy();
    f.w.picture()->redrawAll();
    const QImage full = f.w.picture()->image();
    // Round ends and joins: the segments cover exactly the pixels of the polyline.
    QVERIFY(incremental == full);
}

void TestTrendGraph::hiddenWindowKeepsNoImage()
{
    GraphFixture f(20, 1000, false);
    for (int p = 0; p < 30; ++p)
        f.add(500);
    QVERIFY(!f.w.picture()->hasBackingImage());
    f.w.resize(600, 400);
    f.w.show();
    QVERIFY(QTest::qWaitForWindowExposed(&f.w));
    QTRY_VERIFY(f.w.picture()->hasBackingImage());
    const GraphMapping m = f.w.picture()->mapping();
    QVERIFY(f.traceAt(f.w.picture()->image(), m.map(10, 500)));
    f.w.hide();
    QVERIFY(!f.w.picture()->hasBackingImage());
}

void TestTrendGraph::minimisedInMdiKeepsNoImage()
{
    RecordingNotifier n;
    Station st(n);
    QMdiArea mdi;
    mdi.resize(800, 600);
    auto* w = new frmOscil(st);
    QMdiSubWindow* sub = mdi.addSubWindow(w);
    mdi.show();
    sub->show();
    QVERIFY(QTest::qWaitForWindowExposed(&mdi));
    QTRY_VERIFY(w->picture()->hasBackingImage());
    sub->showMinimized();
    QTRY_VERIFY(!w->picture()->hasBackingImage());
    w->newValue = 300;
    QVERIFY(w->SetNewPoint());
    QVERIFY(!w->picture()->hasBackingImage());
    sub->showNormal();
    QTRY_VERIFY(w->picture()->hasBackingImage());
    const GraphMapping m = w->picture()->mapping();
    // The first point, a dot at the left edge, drawn once the window is shown again.
    const QPoint p(0, int(m.py(300)));
    QCOMPARE(w->picture()->image().pixelColor(p), QColor(0, 0, 0));
}

void TestTrendGraph::setNewPointA_data()
{
    QTest::addColumn<double>("reading");
    QTest::addColumn<bool>("stored");
    QTest::addColumn<qint32>("value");
    QTest::newRow("rounded up") << 12.6 << true << 13;
    QTest::newRow("rounded down") << -7.4 << true << -7;
    QTest::newRow("not a number") << std::nan("") << false << 0;
    QTest::newRow("beyond 32 bits") << 3e9 << false << 0;
}

void TestTrendGraph::setNewPointA()
{
    QFETCH(double, reading);
    QFETCH(bool, stored);
    QFETCH(qint32, value);
    GraphFixture f(20, 1000, false);
    f.w.curValue = reading;
    QCOMPARE(f.w.SetNewPointA(), stored);
    QCOMPARE(f.w.pointCount(), stored ? 1 : 0);
    if (stored) {
        QCOMPARE(f.w.arrays().value(0), value);
        QVERIFY(f.n.messages.isEmpty());
    } else {
        QCOMPARE(f.n.messages.size(), 1);
        QVERIFY(f.n.messages[0].startsWith("SetNewPointA Error "));
    }
}

void TestTrendGraph::highDpiRender_data()
{
    QTest::addColumn<int>("points");
    QTest::newRow("segments") << 20;
    QTest::newRow("column spans") << 24000;
}

void TestTrendGraph::highDpiRender()
{
    // Twice as many device pixels: the trace lands at twice the coordinates,
    // twice as thick, whichever way it is drawn.
    QFETCH(int, points);
    SampleArrays a(points);
    RecordingNotifier n;
    for (int p = 0; p < points; ++p)
        a.addPoint(p == points / 4 ? 900 : 500, 0, n);
    QImage img(QSize(400, 200), QImage::Format_RGB32);
    img.setDevicePixelRatio(2);
    const GraphMapping m(GraphAxes::linear(points, 1000), QSizeF(200, 100));
    TraceRender::draw(img, m, &a, {});
    const QColor black(0, 0, 0);
    QCOMPARE(img.pixelColor(300, 98), black);
    QCOMPARE(img.pixelColor(300, 101), black);
    QVERIFY(img.pixelColor(300, 104) != black);
    QVERIFY(img.pixelColor(300, 95) != black);
    // The peak at a quarter of the screen: y = 900 is 20 device rows from the top.
    const int peak = int(std::lround(m.px(points / 4) * 2));
    QCOMPARE(img.pixelColor(peak, 19), black);
    QVERIFY(img.pixelColor(peak, 15) != black);
}
