#include "GraphFixture.h"
#include "display/TraceRender.h"
#include "tst_display.h"

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
    QCOMPARE(w.GetabScaleY(0), 10000);
    QCOMPARE(w.findChild<QLabel*>("lblY0")->text(), QStringLiteral("0.0"));
    QCOMPARE(w.findChild<QLabel*>("lblY1")->text(), QStringLiteral("200.0"));
    QCOMPARE(w.findChild<QLabel*>("lblY5")->text(), QStringLiteral("1000.0"));
    w.setScaleIndices(13, 9);  // "10", "20"
    w.setScaleIndices(14, -1); // outside both lists: ignored
    QCOMPARE(w.scaleYIndex(), 13);
    QCOMPARE(w.scaleXIndex(), 9);
    QCOMPARE(w.pointsPerScreen(), 20);
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
    p.setY(std::min(p.y(), m.size().height() - 1)); // -2 is the bottom edge of the log axis
    QVERIFY(f.traceAt(img, p));
    QVERIFY(!f.traceAt(img, p + QPointF(0, p.y() > 20 ? -12 : 12)));
}

void TestTrendGraph::gridIsFiveByFive()
{
    GraphFixture f;
    const QImage img = f.w.picture()->image();
    const GraphMapping m = f.w.picture()->mapping();
    const QColor blue = TraceRender::gridColour();
    for (int i = 1; i <= 4; ++i) {
        QCOMPARE(img.pixelColor(int(m.gridX(i)), int(m.gridY(1) + 5)), blue);
        QCOMPARE(img.pixelColor(int(m.gridX(1) + 5), int(m.gridY(i))), blue);
    }
    QCOMPARE(img.pixelColor(int(m.gridX(1) / 2), int(m.gridY(4) / 2)), TraceRender::backColour());
}

void TestTrendGraph::shiftContinuesAtFourFifths()
{
    GraphFixture f(20);
    for (int p = 0; p < 20; ++p)
        f.add(100 + 10 * p);
    const double lastTime = f.w.arrays().time(19);
    f.add(900);
    QCOMPARE(f.w.pointCount(), 17);
    QCOMPARE(f.w.arrays().value(0), 140);
    QCOMPARE(f.w.arrays().value(15), 290);
    QCOMPARE(f.w.arrays().value(16), 900);
    QCOMPARE(f.w.arrays().time(15), lastTime);
    QVERIFY(f.w.arrays().time(16) >= lastTime);
    const QImage img = f.w.picture()->image();
    const GraphMapping m = f.w.picture()->mapping();
    QVERIFY(f.traceAt(img, m.map(0, 140)));
    // No gap where the retained trace meets the new point, nothing right of it.
    QVERIFY(f.traceAt(img, (m.map(15, 290) + m.map(16, 900)) / 2));
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
    QVERIFY(incremental == f.w.picture()->image());
}

void TestTrendGraph::hiddenOrMinimisedKeepsNoImage()
{
    RecordingNotifier n;
    Station st(n);
    QMdiArea mdi;
    mdi.resize(800, 600);
    auto* w = new frmOscil(st);
    QMdiSubWindow* sub = mdi.addSubWindow(w);
    w->newValue = 300;
    QVERIFY(w->SetNewPoint());
    QVERIFY(!w->picture()->hasBackingImage()); // never shown yet
    mdi.show();
    sub->show();
    QVERIFY(QTest::qWaitForWindowExposed(&mdi));
    QTRY_VERIFY(w->picture()->hasBackingImage());
    // The first point is a dot at the left edge.
    const QPoint first(0, int(w->picture()->mapping().py(300)));
    QCOMPARE(w->picture()->image().pixelColor(first), QColor(0, 0, 0));
    sub->showMinimized();
    QTRY_VERIFY(!w->picture()->hasBackingImage());
    QVERIFY(w->SetNewPoint());
    QVERIFY(!w->picture()->hasBackingImage());
    sub->showNormal();
    QTRY_VERIFY(w->picture()->hasBackingImage());
}

void TestTrendGraph::setNewPointA()
{
    GraphFixture f(20, 1000, false);
    f.w.curValue = -7.6;
    QVERIFY(f.w.SetNewPointA());
    QCOMPARE(f.w.arrays().value(0), -8);
    for (double bad : {std::nan(""), 3e9}) {
        f.w.curValue = bad;
        QVERIFY(!f.w.SetNewPointA());
    }
    QCOMPARE(f.w.pointCount(), 1);
    QCOMPARE(f.n.messages.size(), 2);
    QVERIFY(f.n.messages[1].startsWith("SetNewPointA Error "));
}

void TestTrendGraph::highDpiRender_data()
{
    QTest::addColumn<int>("points");
    QTest::newRow("segments") << 20;
    QTest::newRow("column spans") << 24000;
}

void TestTrendGraph::highDpiRender()
{
    // At pixel ratio 2 the trace lands at twice the coordinates, twice as
    // thick, whichever way it is drawn.
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
