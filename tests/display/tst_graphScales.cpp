#include "tst_graphScales.h"

#include "FakeGraph.h"
#include "GraphFixture.h"
#include "display/PictLine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>
#include <cmath>

namespace {
QComboBox* box(frmOscil& w, const char* name)
{
    return w.findChild<QComboBox*>(name);
}

// Types `text` into a scale box and presses Enter, as the operator does.
void typeScale(frmOscil& w, const char* name, const QString& text)
{
    QComboBox* b = box(w, name);
    b->lineEdit()->clear();
    QTest::keyClicks(b->lineEdit(), text);
    QTest::keyClick(b->lineEdit(), Qt::Key_Return);
}

QStringList items(QComboBox* b)
{
    QStringList out;
    for (int i = 0; i < b->count(); ++i)
        out << b->itemText(i);
    return out;
}

QString label(frmOscil& w, int i)
{
    return w.findChild<QLabel*>(QStringLiteral("lblY%1").arg(i))->text();
}
} // namespace

void TestGraphScales::scaleYList_data()
{
    QTest::addColumn<bool>("linear");
    QTest::addColumn<QStringList>("entries");
    QTest::addColumn<int>("selected");
    QTest::newRow("linear") << true << QStringList{"200000", "100000", "50000", "30000", "10000",
                                                   "5000",   "2500",   "1000",  "500",   "250",
                                                   "100",    "50",     "25",    "10"}
                            << 7;
    QTest::newRow("log") << false << QStringList{"100",  "25",  "10",    "2.5", "1",
                                                 "0.25", "0.1", "0.025", "0.01"}
                         << -1;
}

void TestGraphScales::scaleYList()
{
    QFETCH(bool, linear);
    QFETCH(QStringList, entries);
    QFETCH(int, selected);
    GraphFixture f(20, 500, false);
    f.st.scaleY[3] = 30000; // an entry replaced by the settings file
    f.w.LoadScaleYList(linear);
    QComboBox* y = box(f.w, "cmbScaleY");
    QCOMPARE(items(y), entries);
    QCOMPARE(y->currentIndex(), selected);
    QCOMPARE(y->currentText(), selected < 0 ? QString() : QStringLiteral("1000"));
    QCOMPARE(f.w.yExtent(), linear ? 1000.0F : 500.0F);
    QCOMPARE(items(box(f.w, "cmbScaleX")), (QStringList{"24000", "12000", "6000", "2400", "1200",
                                                        "600", "240", "120", "60", "20"}));
}

void TestGraphScales::typedScaleY_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<float>("extent");
    QTest::addColumn<QString>("label1");
    QTest::addColumn<QString>("message");
    QTest::newRow("typed 500") << "500" << 500.0F << "10.0"
                               << "";
    QTest::newRow("typed 2.5") << "2.5" << 2.5F << "0.1"
                               << "";
    QTest::newRow("list entry 250") << "250" << 250.0F << "5.0"
                                    << "";
    QTest::newRow("not a number") << "5x0" << 1000.0F << "20.0"
                                  << "Bad Data";
    QTest::newRow("zero") << "0" << 1000.0F << "20.0"
                          << "Bad Data";
    QTest::newRow("negative") << "-100" << 1000.0F << "20.0"
                              << "Bad Data";
}

void TestGraphScales::typedScaleY()
{
    QFETCH(QString, typed);
    QFETCH(float, extent);
    QFETCH(QString, label1);
    QFETCH(QString, message);
    GraphFixture f(20, 1000);
    typeScale(f.w, "cmbScaleY", typed);
    QCOMPARE(f.w.yExtent(), extent);
    QCOMPARE(f.w.GetabScaleY(8), int(std::lround(extent)));
    QCOMPARE(label(f.w, 1), label1);
    QCOMPARE(f.n.messages, message.isEmpty() ? QStringList() : QStringList{message});
    // The box shows the scale in force, also after a refused entry.
    QCOMPARE(box(f.w, "cmbScaleY")->currentText().toDouble(), double(extent));
}

void TestGraphScales::logAxis()
{
    GraphFixture f(20, 1000);
    auto* chkLog = f.w.findChild<QCheckBox*>("chkLog");
    QTest::mouseClick(chkLog, Qt::LeftButton);
    QVERIFY(chkLog->isChecked());
    QCOMPARE(f.w.yExtent(), 3.0F);
    QCOMPARE(f.w.GetabScaleY(8), 3);
    QCOMPARE(f.w.picture()->axes().yTop, 3.0);
    QCOMPARE(label(f.w, 5), QStringLiteral("100.0")); // captions divide the value itself
    typeScale(f.w, "cmbScaleY", "2.5");
    QCOMPARE(f.w.yExtent(), Log10(2.5));
    QCOMPARE(label(f.w, 5), QStringLiteral("0.3")); // 2.5 rounds to 3 for the captions
    QTest::mouseClick(chkLog, Qt::LeftButton);
    QCOMPARE(f.w.yExtent(), 2.5F);
    QCOMPARE(f.w.picture()->axes().yBottom, 0.0);
    QVERIFY(f.n.messages.isEmpty());
}

void TestGraphScales::scaleX_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("count");
    QTest::newRow("enlarge keeps") << "60" << 60 << 15;
    QTest::newRow("shrink restarts") << "12" << 12 << 0;
    QTest::newRow("not a number") << "abc" << 20 << 15;
}

void TestGraphScales::scaleX()
{
    QFETCH(QString, typed);
    QFETCH(int, n);
    QFETCH(int, count);
    GraphFixture f(20);
    for (int p = 0; p < 15; ++p)
        f.add(400);
    typeScale(f.w, "cmbScaleX", typed);
    QCOMPARE(f.w.pointsPerScreen(), n);
    QCOMPARE(f.w.pointCount(), count);
    QCOMPARE(f.w.picture()->axes().xExtent, double(n));
    QCOMPARE(box(f.w, "cmbScaleX")->currentText(), QString::number(n));
    const GraphMapping m = f.w.picture()->mapping();
    QCOMPARE(f.traceAt(f.w.picture()->image(), m.map(5, 400)), count > 0);
}

void TestGraphScales::typedScaleXNotMultipleOf5()
{
    GraphFixture f(20);
    typeScale(f.w, "cmbScaleX", "7");
    QCOMPARE(f.w.pointsPerScreen(), 7);
    for (int p = 0; p < 7; ++p)
        f.add(100 + p);
    QVERIFY(f.n.messages.isEmpty());
    f.add(999);
    QCOMPARE(f.n.messages, QStringList{"Bad Bound if Array"});
    QCOMPARE(f.w.pointCount(), 7);
    QCOMPARE(f.w.arrays().value(6), 106);
}

void TestGraphScales::synchro()
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
    QVERIFY(chkSynh->isChecked());
    QVERIFY(otherSynh->isChecked());
    QCOMPARE(log, (QStringList{"slot0 setSynchro 1", "slot200 setSynchro 1"}));

    log.clear();
    typeScale(f.w, "cmbScaleX", "60");
    typeScale(f.w, "cmbScaleY", "250");
    QCOMPARE(log, (QStringList{"slot0 SetScalesX 60", "slot200 SetScalesX 60",
                               "slot0 SetScalesY 250", "slot200 SetScalesY 250"}));
    QCOMPARE(f.w.pointsPerScreen(), 60);
    QCOMPARE(other.pointsPerScreen(), 60);
    QCOMPARE(other.yExtent(), 250.0F);

    // Out of synchro the change stays in its own window.
    log.clear();
    QTest::mouseClick(otherSynh, Qt::LeftButton);
    QVERIFY(!chkSynh->isChecked());
    typeScale(f.w, "cmbScaleX", "120");
    QCOMPARE(f.w.pointsPerScreen(), 120);
    QCOMPARE(other.pointsPerScreen(), 60);
    QCOMPARE(log, (QStringList{"slot0 setSynchro 0", "slot200 setSynchro 0"}));
}

void TestGraphScales::limitLines_data()
{
    QTest::addColumn<bool>("log");
    QTest::addColumn<QString>("call");
    QTest::addColumn<float>("limit");
    QTest::addColumn<QString>("line");
    QTest::addColumn<double>("y");
    QTest::newRow("linear 1") << false << "SetLimit1Y" << 50.0F << "lnY1" << 50.0;
    QTest::newRow("linear 2") << false << "SetLimit2Y" << 800.0F << "lnY2" << 800.0;
    QTest::newRow("log axis 1") << true << "SetLimit1Y" << 100.0F << "lnY1" << 2.0;
    QTest::newRow("log axis 2") << true << "SetLimit2Y" << 1000.0F << "lnY2" << 3.0;
    QTest::newRow("1 log") << false << "SetLimit1YLog" << 100.0F << "lnY1" << 2.0;
    QTest::newRow("2 log takes the limit as is")
        << true << "SetLimit2YLog" << 1.5F << "lnY2" << 1.5;
}

void TestGraphScales::limitLines()
{
    QFETCH(bool, log);
    QFETCH(QString, call);
    QFETCH(float, limit);
    QFETCH(QString, line);
    QFETCH(double, y);
    GraphFixture f(20);
    f.w.findChild<QCheckBox*>("chkLog")->setChecked(log);
    f.add(10);
    const qint64 drawn = f.w.picture()->image().cacheKey();
    QMetaObject::invokeMethod(&f.w, [&] {
        if (call == "SetLimit1Y")
            f.w.SetLimit1Y(qint32(limit));
        else if (call == "SetLimit2Y")
            f.w.SetLimit2Y(qint32(limit));
        else if (call == "SetLimit1YLog")
            f.w.SetLimit1YLog(limit);
        else
            f.w.SetLimit2YLog(limit);
    });
    auto* ln = f.w.picture()->findChild<PictLine*>(line);
    QVERIFY(ln->isVisible());
    QCOMPARE(ln->Y1(), y);
    QCOMPARE(ln->Y2(), y);
    QCOMPARE(ln->X1(), 0.0);
    QCOMPARE(ln->X2(), 20.0);
    QCOMPARE(ln->y(), int(std::floor(f.w.picture()->mapping().py(y))));
    QCOMPARE(ln->width(), f.w.picture()->width());
    // Moving a limit line repaints from the picture as it is: no redraw of the trace.
    QCoreApplication::processEvents();
    QCOMPARE(f.w.picture()->image().cacheKey(), drawn);
}

void TestGraphScales::limitLinesFollowRescale()
{
    GraphFixture f(20, 1000);
    auto* lnY1 = f.w.picture()->findChild<PictLine*>("lnY1");
    auto* lnY2 = f.w.picture()->findChild<PictLine*>("lnY2");
    f.w.SetLimit1Y(500);
    f.w.SetLimit2Y(800);
    const int h = f.w.picture()->height();
    QCOMPARE(lnY1->y(), h / 2);
    f.w.SetLimit2YLog(1.5F);
    f.w.SetScalesY(2000);
    QCOMPARE(lnY1->Y1(), 500.0);
    QCOMPARE(lnY1->y(), int(std::floor(h * 0.75)));
    QCOMPARE(lnY2->Y1(), 800.0); // re-placed from threshold 2
    typeScale(f.w, "cmbScaleX", "60");
    QCOMPARE(lnY1->X2(), 60.0);
    QCOMPARE(lnY1->width(), f.w.picture()->width());
}

void TestGraphScales::cursor_data()
{
    QTest::addColumn<bool>("option");
    QTest::addColumn<double>("x");
    QTest::addColumn<bool>("lineShown");
    QTest::addColumn<QString>("text");
    QTest::newRow("held point") << true << 5.2 << true << "CH4(ppm)=105 (";
    QTest::newRow("first point") << true << 0.0 << true << "CH4(ppm)=100 (";
    QTest::newRow("beyond the points held") << true << 12.0 << true << "";
    QTest::newRow("option off") << false << 5.0 << false << "";
}

void TestGraphScales::cursor()
{
    QFETCH(bool, option);
    QFETCH(double, x);
    QFETCH(bool, lineShown);
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
    auto* cursor = pict->findChild<PictLine*>("lnCursor");
    QCOMPARE(cursor->isVisible(), lineShown);
    if (lineShown) {
        QCOMPARE(cursor->x(), int(std::floor(at.x())));
        QCOMPARE(cursor->height(), pict->height());
    }
    if (text.isEmpty()) {
        QCOMPARE(spy.count(), 0);
    } else {
        QCOMPARE(spy.count(), 1);
        const QString shown = spy[0][0].toString();
        const QString time = fromOleDate(f.w.arrays().time(int(std::lround(x))))
                                 .time()
                                 .toString(QStringLiteral("HH:mm:ss"));
        QVERIFY2(shown.startsWith(text) && shown.endsWith(time + ")"), qPrintable(shown));
    }
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(pict, &leave);
    QVERIFY(!cursor->isVisible());
}
