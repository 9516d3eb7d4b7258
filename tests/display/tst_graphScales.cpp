#include "FakeGraph.h"
#include "GraphFixture.h"
#include "display/PictLine.h"
#include "tst_display.h"

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
    QLineEdit* edit = box(w, name)->lineEdit();
    edit->clear();
    QTest::keyClicks(edit, text);
    QTest::keyClick(edit, Qt::Key_Return);
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

PictLine* line(frmOscil& w, const QString& name)
{
    return w.picture()->findChild<PictLine*>(name);
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
    QCOMPARE(f.w.yExtent(), linear ? 1000.0F : 500.0F); // the chosen "1000" applies
    QCOMPARE(items(box(f.w, "cmbScaleX")), (QStringList{"24000", "12000", "6000", "2400", "1200",
                                                        "600", "240", "120", "60", "20"}));
}

void TestGraphScales::typedScaleY_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<float>("extent");
    QTest::addColumn<QString>("label1");
    QTest::newRow("typed 500") << "500" << 500.0F << "10.0";
    QTest::newRow("typed 2.5") << "2.5" << 2.5F << "0.1";
    QTest::newRow("not a number") << "5x0" << 1000.0F << "20.0";
    QTest::newRow("zero") << "0" << 1000.0F << "20.0";
}

void TestGraphScales::typedScaleY()
{
    QFETCH(QString, typed);
    QFETCH(float, extent);
    QFETCH(QString, label1);
    GraphFixture f(20, 1000);
    typeScale(f.w, "cmbScaleY", typed);
    QCOMPARE(f.w.yExtent(), extent);
    QCOMPARE(f.w.GetabScaleY(8), int(std::lround(extent)));
    QCOMPARE(label(f.w, 1), label1);
    const bool refused = extent == 1000.0F;
    QCOMPARE(f.n.messages, refused ? QStringList{"Bad Data"} : QStringList());
    // The box shows the scale in force, also after a refused entry.
    QCOMPARE(box(f.w, "cmbScaleY")->currentText().toDouble(), double(extent));
}

void TestGraphScales::logAxis()
{
    GraphFixture f(20, 1000);
    auto* chkLog = f.w.findChild<QCheckBox*>("chkLog");
    QTest::mouseClick(chkLog, Qt::LeftButton);
    QCOMPARE(f.w.yExtent(), 3.0F);
    QCOMPARE(f.w.GetabScaleY(8), 3);
    // Each grid line is captioned with the ppm drawn at its height: -2..3 in
    // decades of ppm x10.
    QCOMPARE(QStringList({label(f.w, 0), label(f.w, 1), label(f.w, 3), label(f.w, 5)}),
             QStringList({"0.001", "0.01", "1", "100"}));
    typeScale(f.w, "cmbScaleY", "2.5");
    QCOMPARE(f.w.yExtent(), Log10(2.5));
    QCOMPARE(label(f.w, 5), QStringLiteral("0.25"));
    QCOMPARE(label(f.w, 0), QStringLiteral("0.001"));
    QTest::mouseClick(chkLog, Qt::LeftButton);
    QCOMPARE(f.w.yExtent(), 2.5F);
    QCOMPARE(f.w.picture()->axes().yBottom, 0.0);
    QCOMPARE(label(f.w, 5), QStringLiteral("0.3"));
    QVERIFY(f.n.messages.isEmpty());
}

void TestGraphScales::typedScaleX()
{
    GraphFixture f(20);
    typeScale(f.w, "cmbScaleX", "abc");
    QCOMPARE(f.n.messages, QStringList{"Bad Data"});
    QCOMPARE(f.w.pointsPerScreen(), 20);
    // Not a multiple of 5: fine until the screen is full.
    typeScale(f.w, "cmbScaleX", "7");
    QCOMPARE(f.w.picture()->axes().xExtent, 7.0);
    for (int p = 0; p < 8; ++p)
        f.add(100 + p);
    QCOMPARE(f.n.messages, (QStringList{"Bad Data", "Bad Bound if Array"}));
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
    QVERIFY(chkSynh->isChecked() && otherSynh->isChecked());

    log.clear();
    typeScale(f.w, "cmbScaleX", "60");
    typeScale(f.w, "cmbScaleY", "250");
    QCOMPARE(log, (QStringList{"slot0 SetScalesX 60", "slot200 SetScalesX 60",
                               "slot0 SetScalesY 250", "slot200 SetScalesY 250"}));
    QCOMPARE(other.pointsPerScreen(), 60);
    QCOMPARE(other.yExtent(), 250.0F);

    // Synchro off from the other window: the change stays in its own window.
    log.clear();
    QTest::mouseClick(otherSynh, Qt::LeftButton);
    QVERIFY(!chkSynh->isChecked());
    QCOMPARE(log, (QStringList{"slot0 setSynchro 0", "slot200 setSynchro 0"}));
    typeScale(f.w, "cmbScaleX", "120");
    QCOMPARE(f.w.pointsPerScreen(), 120);
    QCOMPARE(other.pointsPerScreen(), 60);
}

void TestGraphScales::limitLines_data()
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

void TestGraphScales::limitLines()
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
    QCOMPARE(ln->Y1(), y);
    QCOMPARE(ln->Y2(), y);
    QCOMPARE(ln->y(), int(std::floor(f.w.picture()->mapping().py(y))));
    QCOMPARE(ln->width(), f.w.picture()->width());
    // Moving a limit line repaints from the picture as it is: no redraw of the trace.
    QCoreApplication::processEvents();
    QCOMPARE(f.w.picture()->image().cacheKey(), drawn);
}

void TestGraphScales::limitLinesFollowRescale()
{
    GraphFixture f(20, 1000);
    f.w.SetLimit1Y(500);
    f.w.SetLimit2Y(800);
    const int h = f.w.picture()->height();
    QCOMPARE(line(f.w, "lnY1")->y(), h / 2);
    f.w.SetLimit2YLog(1.5F);
    f.w.SetScalesY(2000);
    QCOMPARE(line(f.w, "lnY1")->y(), int(std::floor(h * 0.75)));
    QCOMPARE(line(f.w, "lnY2")->Y1(), 800.0); // re-placed from threshold 2
    typeScale(f.w, "cmbScaleX", "60");
    QCOMPARE(line(f.w, "lnY1")->X2(), 60.0);
    QCOMPARE(line(f.w, "lnY1")->width(), f.w.picture()->width());
}

void TestGraphScales::cursor_data()
{
    QTest::addColumn<bool>("option");
    QTest::addColumn<double>("x");
    QTest::addColumn<QString>("text");
    QTest::newRow("held point") << true << 5.2 << "CH4(ppm)=105 (";
    QTest::newRow("first point") << true << 0.0 << "CH4(ppm)=100 (";
    QTest::newRow("beyond the points held") << true << 12.0 << "";
    QTest::newRow("option off") << false << 5.0 << "";
}

void TestGraphScales::cursor()
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
