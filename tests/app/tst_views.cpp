// The views' toggles and contents, driven through the main frame.
#include "StationRig.h"
#include "app/MDIFrm.h"
#include "display/frmChart.h"
#include "display/frmData.h"
#include "display/frmFData.h"
#include "display/frmVal.h"
#include "tst_app.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QTableWidget>
#include <QTest>

void ViewsTest::toggles_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<bool>("byMenu");
    QTest::addColumn<bool>("closeBox");
    for (const char* key : {"Digital", "Table", "Diagram", "Graph"}) {
        QTest::addRow("%s menu, menu", key) << QString::fromLatin1(key) << true << false;
        QTest::addRow("%s button, close box", key) << QString::fromLatin1(key) << false << true;
    }
}

void ViewsTest::toggles()
{
    QFETCH(QString, key);
    QFETCH(bool, byMenu);
    QFETCH(bool, closeBox);
    StationRig r;
    MDIFrm f(r.st);
    f.show(); // first activation opens the graphs
    QAction* menu = f.findChild<QAction*>(QStringLiteral("mnu") + key);
    QAction* button = f.toolButton(key);
    auto window = [&]() -> QWidget* {
        return key == QLatin1String("Graph") ? static_cast<QWidget*>(f.mainGraph()) : f.view(key);
    };
    auto inStep = [&](bool open) {
        return menu->isChecked() == open && button->isChecked() == open &&
               (window() != nullptr) == open;
    };
    if (key == QLatin1String("Graph")) {
        QVERIFY(inStep(true)); // the main graph opens with the frame
        menu->trigger();
        QVERIFY(QTest::qWaitFor([&] { return inStep(false); }, 2000));
    }
    QVERIFY(inStep(false));
    (byMenu ? menu : button)->trigger();
    QVERIFY(inStep(true));
    if (closeBox)
        window()->parentWidget()->close();
    else
        (byMenu ? menu : button)->trigger();
    QVERIFY(QTest::qWaitFor([&] { return inStep(false); }, 2000));
}

void ViewsTest::readingsReachViews()
{
    StationRig r;
    MDIFrm f(r.st);
    f.show();
    for (const char* key : {"Digital", "Table", "Diagram"})
        f.toolButton(QLatin1String(key))->trigger();
    auto* table = qobject_cast<frmFData*>(f.view(QStringLiteral("Table")));
    QVERIFY(table);
    QTableWidget* flx = table->Flx();
    // Before any reading the value column holds the row numbers.
    QCOMPARE(flx->item(0, 2)->text(), QStringLiteral("1"));
    for (double v : {19.0, 23.0, 85.0})
        r.st.deliver(v, "00000\n");
    // The views show a burst at their next screen refresh; the table keeps each reading.
    QTRY_COMPARE(flx->item(0, 2)->text(), QStringLiteral("08.5"));
    QCOMPARE(flx->item(1, 2)->text(), QStringLiteral("02.3"));
    QCOMPARE(flx->item(2, 2)->text(), QStringLiteral("01.9"));
    QCOMPARE(flx->item(3, 2)->text(), QStringLiteral("1")); // placeholders move down too
    QCOMPARE(flx->item(2, 0)->text(), QStringLiteral("3"));
    QVERIFY(!flx->item(0, 1)->text().isEmpty());
    QTRY_COMPARE(qobject_cast<frmData*>(f.view(QStringLiteral("Digital")))->valueText(),
                 QStringLiteral("08.5"));
    auto* chart = qobject_cast<frmChart*>(f.view(QStringLiteral("Diagram")));
    QTRY_COMPARE(chart->barValue(0), 8.5);
    QTRY_COMPARE(f.valueWindow()->Label1()->text(), QStringLiteral("08.5"));
    QCOMPARE(chart->axisMax(), 2500.0); // index 4 of the diagram's own list
}

void ViewsTest::chartScales_data()
{
    QTest::addColumn<int>("initIndex"); // InitScaleYIndex, shared with the graph
    QTest::addColumn<QString>("typed"); // then typed and confirmed with Enter
    QTest::addColumn<double>("axisMax");
    QTest::addColumn<QStringList>("messages");
    QTest::newRow("index 9, the last") << 9 << QString() << 10.0 << QStringList();
    QTest::newRow("index past the shorter list") << 12 << QString() << 10.0 << QStringList();
    QTest::newRow("typed 50") << 4 << "50" << 50.0 << QStringList();
    QTest::newRow("typed text keeps the scale") << 4 << "abc" << 2500.0 << QStringList{"Bad Data"};
}

void ViewsTest::chartScales()
{
    QFETCH(int, initIndex);
    QFETCH(QString, typed);
    StationRig r;
    r.st.layout.scaleYIndex = initIndex;
    frmChart chart(r.st);
    auto* y = chart.findChild<QComboBox*>(QStringLiteral("cmbScale"));
    if (!typed.isEmpty()) {
        y->lineEdit()->clear();
        QTest::keyClicks(y->lineEdit(), typed);
        QTest::keyClick(y->lineEdit(), Qt::Key_Return);
    }
    QTEST(chart.axisMax(), "axisMax");
    QTEST(r.n.messages, "messages");
}
