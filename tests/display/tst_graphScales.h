// The graph's scale boxes, "Log Y", "Synchro", limit lines and cursor read-out,
// driven through the window's controls.
#pragma once

#include "GraphFixture.h"
#include "display/PictLine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSignalSpy>
#include <cmath>

class TestGraphScales : public QObject
{
    Q_OBJECT

    // Types `text` into a scale box and presses Enter, as the operator does.
    static void typeScale(frmOscil& w, const QString& box, const QString& text)
    {
        QLineEdit* edit = w.findChild<QComboBox*>(box)->lineEdit();
        edit->clear();
        QTest::keyClicks(edit, text);
        QTest::keyClick(edit, Qt::Key_Return);
    }
    static PictLine* line(frmOscil& w, const QString& name)
    {
        return w.picture()->findChild<PictLine*>(name);
    }

private Q_SLOTS:
    void typedScale_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("points"); // the screen and full scale in force afterwards
        QTest::addColumn<double>("extent");
        QTest::addColumn<QString>("label1");
        const auto row = [](const char* name, const QString& box, const QString& typed, int points,
                            double extent, const QString& label1) {
            QTest::newRow(name) << box << typed << points << extent << label1;
        };
        row("Y 500", "cmbScaleY", "500", 20, 500, "10.0");
        row("Y 2.5", "cmbScaleY", "2.5", 20, 2.5, "0.1");
        row("Y not a number", "cmbScaleY", "5x0", 20, 1000, "20.0");
        row("Y zero", "cmbScaleY", "0", 20, 1000, "20.0");
        row("X 7", "cmbScaleX", "7", 7, 1000, "20.0");
        row("X not a number", "cmbScaleX", "abc", 20, 1000, "20.0");
    }
    void typedScale()
    {
        QFETCH(QString, box);
        QFETCH(QString, typed);
        QFETCH(int, points);
        QFETCH(double, extent);
        QFETCH(QString, label1);
        GraphFixture f(20, 1000);
        typeScale(f.w, box, typed);
        QCOMPARE(f.w.picture()->axes(), GraphAxes::linear(points, extent));
        QCOMPARE(yLabel(f.w, 1), label1);
        const bool refused = points == 20 && extent == 1000;
        QCOMPARE(f.n.messages, refused ? QStringList{"Bad Data"} : QStringList());
        // The box shows the scale in force, also after a refused entry.
        QCOMPARE(f.w.findChild<QComboBox*>(box)->currentText().toDouble(),
                 box == "cmbScaleY" ? extent : double(points));
    }

    void logAxis()
    {
        GraphFixture f(20, 1000);
        auto* chkLog = f.w.findChild<QCheckBox*>("chkLog");
        QTest::mouseClick(chkLog, Qt::LeftButton);
        QCOMPARE(f.w.picture()->axes(), GraphAxes::logarithmic(20, 3));
        QCOMPARE(f.w.GetabScaleY(8), 3); // the extent always lands in entry 8
        // Each grid line is captioned with the ppm drawn at its height: -2..3 in
        // decades of ppm x10.
        QCOMPARE(QStringList({yLabel(f.w, 0), yLabel(f.w, 1), yLabel(f.w, 3), yLabel(f.w, 5)}),
                 QStringList({"0.001", "0.01", "1", "100"}));
        typeScale(f.w, "cmbScaleY", "2.5");
        QCOMPARE(f.w.yExtent(), Log10(2.5));
        QCOMPARE(QStringList({yLabel(f.w, 0), yLabel(f.w, 5)}), QStringList({"0.001", "0.25"}));
        QTest::mouseClick(chkLog, Qt::LeftButton);
        QCOMPARE(f.w.picture()->axes(), GraphAxes::linear(20, 2.5));
        QCOMPARE(yLabel(f.w, 5), QStringLiteral("0.3"));
        QVERIFY(f.n.messages.isEmpty());
    }

    // Ticking or unticking "Log Y" puts every point held on the new axis,
    // those taken before the change as well as those after it.
    void logAxisRedrawsPointsHeld()
    {
        const auto v = [](int p) { return 16 + p % 5; }; // 1.6 .. 2.0 ppm
        GraphFixture f(20, 25);
        auto* chkLog = f.w.findChild<QCheckBox*>("chkLog");
        int held = 0;
        const auto addPoints = [&](int n) {
            (void)f.w.picture()->image(); // drawn as they come, one at a time
            for (int i = 0; i < n; ++i, ++held)
                f.add(v(held));
        };
        const auto allOnAxis = [&](bool log) {
            const QImage img = f.w.picture()->image();
            const GraphMapping m = f.w.picture()->mapping();
            for (int p = 0; p < held; ++p) {
                const double y = log ? double(Log10(v(p))) : v(p);
                // Within a pixel: a segment's end may round to its neighbour.
                const QPointF at = m.map(p, y);
                if (!f.traceAt(img, at) && !f.traceAt(img, at + QPointF(0, 0.5)) &&
                    !f.traceAt(img, at - QPointF(0, 0.5)))
                    return p;
            }
            return -1;
        };
        addPoints(6);
        QTest::mouseClick(chkLog, Qt::LeftButton);
        addPoints(4);
        QCOMPARE(allOnAxis(true), -1);
        QTest::mouseClick(chkLog, Qt::LeftButton);
        addPoints(4);
        QCOMPARE(allOnAxis(false), -1);
        QVERIFY(f.n.messages.isEmpty());
    }

    void synchro()
    {
        GraphFixture f(20);
        frmOscil other(f.st);
        QStringList log;
        FakeGraph low(log, "slot0");
        FakeGraph high(log, "slot200");
        GraphTable& t = GraphTable::of(f.st);
        t.setMainGraph(&f.w);
        t.set(200, &high);
        t.set(3, &other);
        t.set(0, &low);
        auto* chkSynh = f.w.findChild<QCheckBox*>("chkSynh");
        auto* otherSynh = other.findChild<QCheckBox*>("chkSynh");
        QTest::mouseClick(chkSynh, Qt::LeftButton);
        QVERIFY(chkSynh->isChecked() && otherSynh->isChecked());

        log.clear();
        typeScale(f.w, "cmbScaleX", "60");
        typeScale(f.w, "cmbScaleY", "250");
        QCOMPARE(log, (QStringList{"slot0 SetScalesX 60", "slot200 SetScalesX 60",
                                   "slot0 SetScalesY 250", "slot200 SetScalesY 250"}));
        QCOMPARE(other.picture()->axes(), GraphAxes::linear(60, 250));

        // Synchro off from the other window: the change stays in its own window.
        log.clear();
        QTest::mouseClick(otherSynh, Qt::LeftButton);
        QVERIFY(!chkSynh->isChecked());
        QCOMPARE(log, (QStringList{"slot0 setSynchro 0", "slot200 setSynchro 0"}));
        typeScale(f.w, "cmbScaleX", "120");
        QCOMPARE(f.w.pointsPerScreen(), 120);
        QCOMPARE(other.pointsPerScreen(), 60);
    }

    void limitLines_data()
    {
        QTest::addColumn<bool>("log");
        QTest::addColumn<int>("which");
        QTest::addColumn<bool>("logCall"); // SetLimitnYLog rather than SetLimitnY
        QTest::addColumn<float>("limit");
        QTest::addColumn<double>("y");
        QTest::newRow("linear 1") << false << 1 << false << 50.0F << 50.0;
        QTest::newRow("linear 2") << false << 2 << false << 800.0F << 800.0;
        QTest::newRow("log axis 1") << true << 1 << false << 100.0F << 2.0;
        QTest::newRow("log axis 2") << true << 2 << false << 1000.0F << 3.0;
        QTest::newRow("SetLimit1YLog") << false << 1 << true << 100.0F << 2.0;
        QTest::newRow("SetLimit2YLog takes the limit as is") << true << 2 << true << 1.5F << 1.5;
    }
    void limitLines()
    {
        QFETCH(bool, log);
        QFETCH(int, which);
        QFETCH(bool, logCall);
        QFETCH(float, limit);
        QFETCH(double, y);
        GraphFixture f(20);
        f.w.findChild<QCheckBox*>("chkLog")->setChecked(log);
        f.add(10);
        const qint64 drawn = f.w.picture()->image().cacheKey();
        if (logCall)
            which == 1 ? f.w.SetLimit1YLog(limit) : f.w.SetLimit2YLog(limit);
        else
            which == 1 ? f.w.SetLimit1Y(qint32(limit)) : f.w.SetLimit2Y(qint32(limit));
        PictLine* ln = line(f.w, QStringLiteral("lnY%1").arg(which));
        QVERIFY(ln->isVisible());
        // One pixel row at y, across the whole picture.
        const int row = int(std::floor(f.w.picture()->mapping().py(y)));
        QCOMPARE(ln->geometry(), QRect(0, row, f.w.picture()->width(), 1));
        // Moving a limit line repaints from the picture as it is: no redraw of the trace.
        QCoreApplication::processEvents();
        QCOMPARE(f.w.picture()->image().cacheKey(), drawn);
    }

    void limitLinesFollowRescale()
    {
        GraphFixture f(20, 1000);
        f.w.SetLimit1Y(500);
        f.w.SetLimit2Y(800);
        f.w.SetLimit2YLog(1.5F);
        f.w.SetScalesY(2000);
        QCOMPARE(line(f.w, "lnY1")->y(), int(std::floor(f.w.picture()->height() * 0.75)));
        QCOMPARE(line(f.w, "lnY2")->Y1(), 800.0); // re-placed from threshold 2
        typeScale(f.w, "cmbScaleX", "60");
        QCOMPARE(line(f.w, "lnY1")->X2(), 60.0);
        QCOMPARE(line(f.w, "lnY1")->width(), f.w.picture()->width());
    }

    void cursor_data()
    {
        QTest::addColumn<bool>("option");
        QTest::addColumn<double>("x");
        QTest::addColumn<QString>("text");
        QTest::newRow("nearest point held") << true << 5.6 << "CH4(ppm)=106 (";
        QTest::newRow("beyond the points held") << true << 12.0 << "";
        QTest::newRow("option off") << false << 5.0 << "";
    }
    void cursor()
    {
        QFETCH(bool, option);
        QFETCH(double, x);
        QFETCH(QString, text);
        GraphFixture f(20);
        for (int p = 0; p < 10; ++p)
            f.add(100 + p);
        f.w.cursorOption = option;
        QSignalSpy spy(&f.w, &frmOscil::cursorText);
        MyPict* pict = f.w.picture();
        const QPointF at = pict->mapping().map(x, 300);
        QMouseEvent move(QEvent::MouseMove, at, pict->mapToGlobal(at), Qt::NoButton, Qt::NoButton,
                         Qt::NoModifier);
        QApplication::sendEvent(pict, &move);
        PictLine* cursor = line(f.w, "lnCursor");
        QCOMPARE(cursor->isVisible(), option);
        if (option)
            QCOMPARE(cursor->geometry(), QRect(int(std::floor(at.x())), 0, 1, pict->height()));
        QCOMPARE(spy.count(), text.isEmpty() ? 0 : 1);
        if (!text.isEmpty()) {
            const QString shown = spy[0][0].toString();
            const QDateTime t = fromOleDate(f.w.arrays().time(int(std::lround(x))));
            QVERIFY2(shown.startsWith(text) && shown.endsWith(t.toString("HH:mm:ss") + ")"),
                     qPrintable(shown));
        }
        QEvent leave(QEvent::Leave);
        QApplication::sendEvent(pict, &leave);
        QVERIFY(!cursor->isVisible());
    }
};
