// The trend graph window's drawing: where points land, the shift, lazy and
// incremental drawing, pixel ratio.
#pragma once

#include "GraphFixture.h"
#include "display/TimeLabels.h"
#include "display/TraceRender.h"
#include "display/YLabelColumn.h"

#include <QCheckBox>
#include <QComboBox>
#include <cmath>

class TestTrendGraph : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void scaleListsAndIndices()
    {
        RecordingNotifier n;
        Station st(n);
        st.scaleY[3] = 30000;      // an entry replaced by the settings file
        st.layout.scaleYIndex = 4; // "10000"
        st.layout.scaleXIndex = 7; // "120"
        frmOscil w(st);
        QCOMPARE(w.picture()->axes(), GraphAxes::linear(120, 10000));
        QCOMPARE(QStringList({yLabel(w, 0), yLabel(w, 1), yLabel(w, 5)}),
                 QStringList({"0.0", "200.0", "1000.0"}));
        auto* y = w.findChild<QComboBox*>("cmbScaleY");
        QCOMPARE(y->itemText(3), QStringLiteral("30000"));
        w.setScaleIndices(13, 9);  // "10", "20"
        w.setScaleIndices(14, -1); // outside both lists: ignored
        QCOMPARE(w.picture()->axes(), GraphAxes::linear(20, 10));
        w.LoadScaleYList(false); // nothing chosen: the scale in force stays
        QCOMPARE(y->currentIndex(), -1);
        QCOMPARE(y->itemText(3), QStringLiteral("2.5"));
        QCOMPARE(w.yExtent(), 10.0F);
        w.LoadScaleYList(true); // the linear list applies its "1000"
        QCOMPARE(y->currentIndex(), 7);
        QCOMPARE(w.yExtent(), 1000.0F);
        QVERIFY(n.messages.isEmpty());
    }

    void pointLandsOnMapping_data()
    {
        QTest::addColumn<qint32>("value");
        QTest::addColumn<int>("zeroOffset");
        QTest::addColumn<bool>("log");
        QTest::addColumn<double>("y");
        QTest::newRow("linear") << 500 << 0 << false << 500.0;
        QTest::newRow("zero offset subtracted") << 100 << 30 << false << 70.0;
        QTest::newRow("log 100") << 100 << 0 << true << 2.0;
        QTest::newRow("log below 0 at -2") << 10 << 30 << true << -2.0;
    }
    void pointLandsOnMapping()
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
        // The blue 5 x 5 grid, looked at right of the trace.
        const QColor blue = TraceRender::gridColour();
        for (int i = 1; i <= 4; ++i) {
            QCOMPARE(img.pixelColor(int(m.gridX(i)), int(m.gridY(1) + 5)), blue);
            QCOMPARE(img.pixelColor(int(m.gridX(4) + 5), int(m.gridY(i))), blue);
        }
        QCOMPARE(img.pixelColor(int(m.gridX(4) + 5), int(m.gridY(4) / 2)),
                 TraceRender::backColour());
    }

    void shiftAndIncrementalDrawing()
    {
        // A zigzag, so that a segment drawn from the wrong point shows.
        const auto v = [](int p) { return 100 + 10 * p + p % 3 * 200; };
        GraphFixture f(20);
        (void)f.w.picture()->image(); // drawn: the points go in one at a time
        for (int p = 0; p < 20; ++p)
            f.add(v(p));
        const QImage incremental = f.w.picture()->image().copy();
        f.w.picture()->redrawAll();
        QVERIFY(incremental == f.w.picture()->image());

        const double lastTime = f.w.arrays().time(19);
        f.add(900); // a full screen: the oldest fifth goes, the trace goes on at 4/5
        QCOMPARE(f.w.pointCount(), 17);
        QCOMPARE(f.w.arrays().value(0), v(4));
        QCOMPARE(f.w.arrays().value(15), v(19));
        QCOMPARE(f.w.arrays().value(16), 900);
        QCOMPARE(f.w.arrays().time(15), lastTime);
        QVERIFY(f.w.arrays().time(16) >= lastTime);
        const QImage img = f.w.picture()->image();
        const GraphMapping m = f.w.picture()->mapping();
        QVERIFY(f.traceAt(img, m.map(0, v(4))));
        // No gap where the retained trace meets the new point, nothing right of it.
        QVERIFY(f.traceAt(img, (m.map(15, v(19)) + m.map(16, 900)) / 2));
        QVERIFY(!f.traceAt(img, m.map(19, v(19))));
    }

    void screenRefreshCoalesced()
    {
        // Readings faster than the screen: each point is held at once, and one
        // refresh puts them all on the screen.
        const auto v = [](int p) { return 100 + p % 7 * 100; };
        GraphFixture f(200);
        MyPict* pict = f.w.picture();
        QTRY_VERIFY(pict->hasBackingImage());
        QTest::qWait(3 * ScreenRefresh::kRefreshMs); // the refresh of the first show is over
        const int before = pict->refreshCount();
        for (int p = 0; p < 150; ++p)
            f.add(v(p));
        QCOMPARE(f.w.pointCount(), 150);
        QCOMPARE(f.w.arrays().value(149), v(149));
        QTRY_COMPARE(pict->refreshCount(), before + 1);
        QTest::qWait(2 * ScreenRefresh::kRefreshMs);
        QCOMPARE(pict->refreshCount(), before + 1);
        const QImage shown = pict->grab().toImage();
        const GraphMapping m = pict->mapping();
        for (int p : {1, 75, 149})
            QVERIFY2(f.traceAt(shown, (m.map(p - 1, v(p - 1)) + m.map(p, v(p))) / 2),
                     qPrintable(QString::number(p)));
    }

    void hiddenKeepsNoImage()
    {
        GraphFixture f(20, 1000, false);
        MyPict* pict = f.w.picture();
        f.add(300);
        QVERIFY(!pict->hasBackingImage()); // never shown yet
        f.w.show();
        QTRY_VERIFY(pict->hasBackingImage());
        // The first point is a dot at the left edge.
        QCOMPARE(pict->image().pixelColor(0, int(pict->mapping().py(300))), QColor(0, 0, 0));
        f.w.hide();
        QVERIFY(!pict->hasBackingImage());
        f.add(310);
        QVERIFY(!pict->hasBackingImage());
        f.w.show();
        QTRY_VERIFY(pict->hasBackingImage());
    }

    void setNewPointA()
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

    void highDpiRender_data()
    {
        QTest::addColumn<int>("points");
        QTest::newRow("segments") << 20;
        QTest::newRow("column spans") << 24000;
    }
    void highDpiRender()
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

    // The time labels under the picture: each at the place of its time among
    // the points held (a point late by five seconds stretches its stretch),
    // and carried on at the points' pace over the empty part of the screen.
    void timeLabels()
    {
        RecordingNotifier n;
        SampleArrays a(100);
        const QDateTime t0(QDate(2026, 11, 25), QTime(10, 0, 0));
        auto at = [&](double s) { return toOleDate(t0.addMSecs(qint64(s * 1000))); };
        QList<double> seconds;
        for (int i = 0; i < 40; ++i)
            seconds << (i < 20 ? i : i + 5.0);
        for (double s : seconds)
            a.addPoint(10, at(s), n);
        MyPict pict;
        pict.setTrace(&a);
        pict.setAxes(GraphAxes::linear(100, 1000));
        pict.resize(1000, 200);
        TimeLabels strip(a, pict);
        const QList<TimeLabels::Label> labels = strip.labels();
        QVERIFY2(labels.size() >= 5, qPrintable(QString::number(labels.size())));
        const GraphMapping m = pict.mapping();
        double lastX = -1;
        for (const TimeLabels::Label& l : labels) {
            const QTime time = QTime::fromString(l.text, QStringLiteral("HH:mm:ss"));
            QVERIFY2(time.isValid(), qPrintable(l.text));
            const double s = QTime(10, 0).secsTo(time);
            // Where that time falls among the points, or beyond the last one.
            double index = s; // points 0..19 a second apart
            if (s > 19 && s < 25)
                index = 19 + (s - 19) / 6; // the late point's stretch
            else if (s >= 25 && s <= 44)
                index = s - 5;
            else if (s > 44)
                index = 39 + (s - 44) * 39.0 / 44.0; // 44 s over 39 steps
            QVERIFY2(std::abs(l.x - m.px(index)) < 0.5,
                     qPrintable(
                         QStringLiteral("%1 at %2, not %3").arg(l.text).arg(l.x).arg(m.px(index))));
            QVERIFY(l.x > lastX);
            lastX = l.x;
        }
        QVERIFY(lastX > m.px(39)); // some past the last point
        a.restart();
        QVERIFY(strip.labels().isEmpty());
    }

    // Tiled low, the Y captions thin out rather than overlap; tall, all show.
    void yLabelsDoNotOverlap_data()
    {
        QTest::addColumn<int>("height");
        QTest::addColumn<bool>("all");
        QTest::newRow("tall") << 400 << true;
        QTest::newRow("tiled") << 70 << false;
        QTest::newRow("very low") << 30 << false;
    }
    void yLabelsDoNotOverlap()
    {
        QFETCH(int, height);
        QWidget host;
        YLabelColumn column(&host);
        column.setGrid(4);
        column.resize(column.width(), height);
        host.show();
        QList<QRect> shown;
        for (int i = 0; i < column.count(); ++i) {
            if (!column.label(i)->isHidden())
                shown << column.label(i)->geometry();
        }
        QVERIFY(!column.label(0)->isHidden());
        QTEST(shown.size() == column.count(), "all");
        for (int i = 1; i < shown.size(); ++i)
            QVERIFY2(!shown[i].intersects(shown[i - 1]), qPrintable(QString::number(i)));
    }
};
