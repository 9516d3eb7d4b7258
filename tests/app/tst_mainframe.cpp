// The main frame driven through its menus, toolbar and dialogs.
#include "Files.h"
#include "StationRig.h"
#include "alarms/AlarmCheck.h"
#include "app/MDIFrm.h"
#include "app/ScreenPlace.h"
#include "app/frmCOM.h"
#include "app/frm_txt.h"
#include "app/twips.h"
#include "display/frmVal.h"
#include "station/IniFile.h"
#include "station/Settings.h"
#include "tst_app.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

QAction* item(MDIFrm& f, const char* name)
{
    return f.findChild<QAction*>(QLatin1String(name));
}

void FreshConfigTest::init()
{
    dir_ = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CONFIG_HOME", dir_->path().toLocal8Bit());
}

// Every item of the frame can be reached from its menu bar.
void MainFrameTest::menus()
{
    StationRig r;
    MDIFrm f(r.st);
    QList<QAction*> reached = f.menuBar()->actions();
    for (qsizetype i = 0; i < reached.size(); ++i) {
        if (reached[i]->menu())
            reached += reached[i]->menu()->actions();
    }
    for (QAction* a : f.findChildren<QAction*>()) {
        if (a->objectName().startsWith(QLatin1String("mnu")))
            QVERIFY2(reached.contains(a), qPrintable(a->objectName()));
    }
}

void MainFrameTest::onTopToggle()
{
    StationRig r;
    MDIFrm f(r.st);
    f.show();
    // Staying on top, and which of the two items is offered; the frame stays shown.
    auto state = [&] {
        return QList<bool>{bool(f.windowFlags() & Qt::WindowStaysOnTopHint),
                           item(f, "mnuOnTop")->isVisible(), item(f, "mnuOffTop")->isVisible(),
                           f.isVisible()};
    };
    QCOMPARE(state(), (QList<bool>{false, true, false, true}));
    item(f, "mnuOnTop")->trigger();
    QCOMPARE(state(), (QList<bool>{true, false, true, true}));
    item(f, "mnuOffTop")->trigger();
    QCOMPARE(state(), (QList<bool>{false, true, false, true}));
}

void MainFrameTest::showValueShortcut()
{
    StationRig r;
    MDIFrm f(r.st);
    f.show(); // with the graph windows open, whose Close owns Ctrl+W
    QApplication::setActiveWindow(&f);
    QVERIFY(QTest::qWaitForWindowActive(&f));
    QTest::keyClick(&f, Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(item(f, "mnuShowVal")->isChecked());
    QVERIFY(f.textWindow()->isVisible());
    QVERIFY(f.mainGraph()->cursorOption);
    QTest::keyClick(&f, Qt::Key_V, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(!f.textWindow()->isVisible());
}

// Load PreSet puts back the built-in limits, scales and places and saves them;
// the graph windows' places saved are where they are, not where they were.
void MainFrameTest::loadPreSet()
{
    QVERIFY(!put(dir_->filePath(QStringLiteral("Tervala.ini")),
                 "[LIMIT]\nLimit1=12\nLimit2=34\n[SCALES]\nInitScaleXIndex=2\n")
                 .isEmpty());
    StationRig r;
    MDIFrm f(r.st);
    ReadSettings(r.st);
    QCOMPARE(r.st.limit1, 12);
    f.resize(1000, 700);
    f.show();
    auto* sub = qobject_cast<QMdiSubWindow*>(f.mainGraph()->parentWidget());
    sub->setGeometry(123, 77, 300, 200);
    item(f, "mnuSaveConf")->trigger();
    const auto ini = [](const char* section, const char* key) {
        return ReadIni(section, key, "Tervala.ini");
    };
    QCOMPARE(ini("POSITIONS", "W1X1"), QString::number(toTwips(123)));
    item(f, "mnuReadConf")->trigger();
    QCOMPARE(QList<int>({r.st.limit1, r.st.limit2}), QList<int>({50, 80}));
    QCOMPARE(QStringList({ini("LIMIT", "Limit1"), ini("LIMIT", "Limit2"),
                          ini("SCALES", "InitScaleXIndex"), ini("SCALES", "InitScaleXIndexAdd0"),
                          ini("POSITIONS", "MDIHeight"), ini("POSITIONS", "frmValTop")}),
             QStringList({"50", "80", "7", "5", "8000", "360"}));
    const QRect g = sub->geometry();
    QVERIFY(g.x() != 123);
    const QRect a = qobject_cast<QMdiSubWindow*>(f.addedGraph()->parentWidget())->geometry();
    QCOMPARE(QStringList({ini("POSITIONS", "W1X1"), ini("POSITIONS", "W1Y1"),
                          ini("POSITIONS", "W1X2"), ini("POSITIONS", "W2Y1")}),
             QStringList({QString::number(toTwips(g.x())), QString::number(toTwips(g.y())),
                          QString::number(toTwips(g.width())), QString::number(toTwips(a.y()))}));
}

void MainFrameTest::writeToggle()
{
    StationRig r;
    r.st.dataFolder = dir_->path();
    MDIFrm f(r.st);
    QAction* write = f.toolButton(QStringLiteral("Write"));
    // Caption, pressed, recording, and which of Run / End Saving the File menu offers.
    auto state = [&] {
        return QStringLiteral("%1 %2 %3 %4%5")
            .arg(write->text())
            .arg(write->isChecked())
            .arg(r.st.recording)
            .arg(item(f, "mnuRunSaving")->isVisible())
            .arg(item(f, "mnuEndSaving")->isVisible());
    };
    write->trigger();
    QCOMPARE(state(), QStringLiteral("End 1 1 01"));
    QVERIFY(f.windowTitle().endsWith(QLatin1String(".dat")));
    write->trigger();
    QCOMPARE(state(), QStringLiteral("&Write 0 0 10"));
}

void MainFrameTest::alarmReachesWindowsAndFiles()
{
    StationRig r;
    Station& st = r.st;
    st.dataFolder = dir_->path();
    MDIFrm f(st);
    f.show();
    f.valueWindow()->show();
    f.toolButton(QStringLiteral("Write"))->trigger();
    auto* comment = f.findChild<QWidget*>(QStringLiteral("frmComment"));
    QVERIFY(comment && !comment->isVisible());

    // Readings above both thresholds, faster than the 250 ms blink: the blink
    // must go on regardless.
    QTimer readings;
    connect(&readings, &QTimer::timeout, [&] { st.deliver(90, "00090\r"); });
    readings.start(100);
    QList<int> colors{f.valueWindow()->backColor()};
    QVERIFY(QTest::qWaitFor(
        [&] {
            if (colors.last() != f.valueWindow()->backColor())
                colors << f.valueWindow()->backColor();
            return colors.size() >= 3;
        },
        3000));
    readings.stop();
    QCOMPARE(colors, QList<int>({frmVal::Green, frmVal::Red, frmVal::Green}));
    const QString shown = comment->findChild<QLabel*>(QStringLiteral("lblMessage"))->text();
    QVERIFY2(comment->isVisible() && shown.contains(QStringLiteral("1-й порог превышен\n")) &&
                 shown.endsWith(QStringLiteral("2-й порог превышен")),
             qPrintable(shown));
    comment->close(); // unloading clears the window flag only
    QVERIFY(!f.alarms()->alarmWindowShown() && f.alarms()->secondLogged());
    st.deliver(90, "00090\r");
    QVERIFY(comment->isVisible());

    // A comment entered with OK goes into the day's file and clears both flags.
    comment->findChild<QLineEdit*>(QStringLiteral("txtComment"))
        ->setText(QStringLiteral("vent open"));
    comment->findChild<QPushButton*>(QStringLiteral("cmdOK"))->click();
    QVERIFY(!comment->isVisible());
    QVERIFY(!f.alarms()->alarmWindowShown() && !f.alarms()->secondLogged());
    QVERIFY(contents(onlyFile(st.dataFolder, QStringLiteral("*.txt"))).contains("-vent open\r\n"));

    // Set → Alarm moves the thresholds.
    QTimer::singleShot(0, [] {
        QWidget* dlg = QApplication::activeModalWidget();
        QVERIFY(dlg && dlg->objectName() == QLatin1String("frmAlarm"));
        dlg->findChild<QLineEdit*>(QStringLiteral("txtAlarm1"))->setText(QStringLiteral("100"));
        dlg->findChild<QLineEdit*>(QStringLiteral("txtAlarm2"))->setText(QStringLiteral("200"));
        dlg->findChild<QPushButton*>(QStringLiteral("cmdOK"))->click();
    });
    item(f, "mnuAlarm")->trigger();
    QCOMPARE(QList<int>({st.limit1, st.limit2}), QList<int>({100, 200}));
    QVERIFY(r.n.messages.isEmpty());
}

// Changing the analyzer type and closing the frame both stop the stream. The
// type selected at start-up sends nothing; each type brings its record marker.
void MainFrameTest::typeChangeAndExitStop()
{
    PtyRig r;
    MDIFrm f(r.st);
    auto* type = f.findChild<QComboBox*>(QStringLiteral("cmbType"));
    QVERIFY(!r.st.myComm.PortOpen());
    type->setCurrentIndex(0); // ZEP-C, whose records end in LF
    QCOMPARE(int(r.st.format.marker), 10);
    QCOMPARE(r.line.read(6, 2000), QByteArray("CDAT?\r"));
    QVERIFY(r.st.myComm.PortOpen());
    type->setCurrentIndex(1); // and back to ZEP-D, CR
    QCOMPARE(int(r.st.format.marker), 13);
    QCOMPARE(r.line.read(6, 2000), QByteArray("CDAT?\r"));

    r.st.HTmr.start(1000);
    f.show();
    f.valueWindow()->show();
    QVERIFY(QTest::qWaitForWindowExposed(&f));
    f.close(); // what the window's close box does: Exit
    QCOMPARE(r.line.read(6, 2000), QByteArray("CDAT?\r"));
    // Exit flagged; the timer stopped at interval 0; port, frame and value window closed.
    QCOMPARE((QList<bool>{r.st.exitFlag, r.st.HTmr.isActive(), r.st.HTmr.interval() == 0,
                          r.st.myComm.PortOpen(), f.valueWindow()->isVisible(), f.isVisible()}),
             (QList<bool>{true, false, true, false, false, false}));
}

void MainFrameTest::comPortChangeReopens()
{
    Pty com2;
    Pty com3;
    QVERIFY(com2.ok() && com3.ok());
    QVERIFY(QFile::link(com2.slavePath(), dir_->filePath(QStringLiteral("ttyS1"))));
    QVERIFY(QFile::link(com3.slavePath(), dir_->filePath(QStringLiteral("ttyS2"))));
    StationRig r;
    Station& st = r.st;
    st.myComm.setDevicePattern(dir_->filePath(QStringLiteral("ttyS%1")));
    st.ncom = 2;
    st.applyPortSettings();
    QVERIFY(st.sendLine(QStringLiteral("A")));
    QCOMPARE(com2.read(2, 2000), QByteArray("A\r"));

    frmCOM dlg(st);
    auto* scrCom = dlg.findChild<QScrollBar*>(QStringLiteral("scrCom"));
    QCOMPARE(scrCom->value(), 2);
    scrCom->setValue(3);
    QCOMPARE(st.ncom, 3);
    QVERIFY(st.myComm.PortOpen()); // reopened at once, before any Save
    QVERIFY(st.myComm.Output("B\r"));
    QCOMPARE(com3.read(2, 2000), QByteArray("B\r"));
    QCOMPARE(com2.readAll(100), QByteArray());
    QVERIFY(r.n.messages.isEmpty());

    dlg.findChild<QPushButton*>(QStringLiteral("cmdSave"))->click();
    QCOMPARE(ReadIni("COMPORTS", "NCOM", "Tervala.ini"), QStringLiteral("3"));
    QCOMPARE(ReadIni("INTERVAL", "TIMER", "Tervala.ini"), QStringLiteral("4"));
}

void MainFrameTest::keptOnScreen_data()
{
    QTest::addColumn<QRect>("frame");
    QTest::addColumn<QRect>("kept");
    const QRect screen(0, 0, 1280, 800);
    QTest::newRow("whole on it") << QRect(10, 10, 600, 400) << QRect(10, 10, 600, 400);
    QTest::newRow("title bar above the top") << QRect(3, -17, 600, 400) << QRect(3, 0, 600, 400);
    QTest::newRow("past the bottom") << QRect(100, 215, 1000, 600) << QRect(100, 200, 1000, 600);
    QTest::newRow("from a wider desk") << QRect(2500, 300, 600, 400) << QRect(680, 300, 600, 400);
    QTest::newRow("bigger than the screen") << QRect(-50, -50, 1400, 900) << screen;
}

void MainFrameTest::keptOnScreen()
{
    QFETCH(QRect, frame);
    QTEST(::keptOnScreen(frame, QRect(0, 0, 1280, 800)), "kept");
}

// Without a saved place the value window stays clear of the frame's menus,
// toolbars and the graphs' scale boxes, on a small screen too.
void MainFrameTest::valueWindowDefault_data()
{
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<QRect>("frame");
    QTest::newRow("room beside") << QRect(0, 0, 1024, 768) << QRect(3, 3, 667, 560);
    QTest::newRow("no room beside") << QRect(0, 0, 1024, 768) << QRect(0, 0, 1024, 740);
    QTest::newRow("wide screen") << QRect(0, 0, 1920, 1080) << QRect(3, 3, 1300, 900);
}

void MainFrameTest::valueWindowDefault()
{
    QFETCH(QRect, screen);
    QFETCH(QRect, frame);
    const QSize value(110, 44);
    const QRect at(defaultValuePlace(frame, value, screen), value);
    QVERIFY(screen.contains(at));
    // Menus, the toolbar, the command panel and the scale boxes take the
    // frame's top 160 pixels.
    QVERIFY2(!at.intersects(QRect(frame.topLeft(), QSize(frame.width(), 160))),
             qPrintable(QStringLiteral("%1,%2").arg(at.x()).arg(at.y())));
}

// Ten save-and-start cycles leave the frame and the value window where
// they were: what is saved is what is restored.
void MainFrameTest::placesDoNotDrift()
{
    StationRig r;
    Layout& l = r.st.layout;
    l.mdiLeft = toTwips(40);
    l.mdiTop = toTwips(30);
    Layout first;
    for (int i = 0; i < 10; ++i) {
        MDIFrm f(r.st);
        f.applyLayout();
        f.valueWindow()->show();
        f.show();
        QVERIFY(QTest::qWaitForWindowExposed(&f));
        f.placeWindows();
        f.collectLayout();
        f.valueWindow()->hide();
        if (i == 0)
            first = l; // the frame's own minimum size may have widened it once
    }
    QCOMPARE(QList<int>({l.mdiLeft, l.mdiTop, l.mdiWidth, l.mdiHeight}),
             QList<int>({first.mdiLeft, first.mdiTop, first.mdiWidth, first.mdiHeight}));
    QVERIFY(l.valPlaced);
    // The frame fits a screen 1024 wide: the command panel's controls that
    // don't fit go into its extension menu.
    QVERIFY2(MDIFrm(r.st).minimumSizeHint().width() <= 1024,
             qPrintable(QString::number(MDIFrm(r.st).minimumSizeHint().width())));
    const QPoint value(l.valLeft, l.valTop);
    MDIFrm f(r.st);
    f.applyLayout();
    QCOMPARE(QPoint(toTwips(f.valueWindow()->x()), toTwips(f.valueWindow()->y())), value);
}
