// The main frame driven through its menus, toolbar and dialogs.
#include "Pty.h"
#include "RecordingNotifier.h"
#include "alarms/AlarmCheck.h"
#include "app/MDIFrm.h"
#include "app/frmCOM.h"
#include "app/frm_txt.h"
#include "display/frmVal.h"
#include "station/IniFile.h"
#include "station/Settings.h"
#include "station/Station.h"
#include "tst_app.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTimer>

namespace {
QAction* item(MDIFrm& f, const char* name)
{
    return f.findChild<QAction*>(QLatin1String(name));
}

// Captions of a menu's items, with a submenu written as its caption.
QStringList captions(const QMenu* m)
{
    QStringList out;
    for (const QAction* a : m->actions())
        out << a->objectName() + QLatin1Char('=') + a->text();
    return out;
}
} // namespace

void MainFrameTest::init()
{
    dir_ = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CONFIG_HOME", dir_->path().toLocal8Bit());
}

void MainFrameTest::menus()
{
    RecordingNotifier n;
    Station st(n);
    MDIFrm f(st);
    QStringList top;
    for (const QAction* a : f.menuBar()->actions())
        top << a->objectName() + QLatin1Char('=') + a->text();
    QCOMPARE(top, (QStringList{"mnuFile=&File", "mnuMode=&Mode", "mnuView=&View", "mnuSet=&Set",
                               "mnuWindow=&Window", "mnuHelp=Help", "mnuSV=", "mnuZCor=&Zcor"}));
    auto menu = [&](const char* name) { return f.findChild<QMenu*>(QLatin1String(name)); };
    QCOMPARE(
        captions(menu("mnuFile")),
        (QStringList{"mnuRunSaving=&Run Saving", "mnuEndSaving=&End Saving",
                     "mnuReadConf=Load &PreSet", "mnuSaveConf=&Save Config", "mnuExit=E&xit"}));
    QCOMPARE(captions(menu("mnuMode")),
             (QStringList{"mnuFind=&Find", "mnuRun=&Run", "mnuStop=&Stop"}));
    QCOMPARE(captions(menu("mnuView")), (QStringList{"mnuDigital=&Digital", "mnuTable=&Table",
                                                     "mnuDiagram=Dia&gram", "mnuGraph=&Graph"}));
    QCOMPARE(captions(menu("mnuSet")),
             (QStringList{"mnuSetCom=&Com Port", "mnuSetPath=&Path", "mnuAlarm=&Alarm"}));
    QCOMPARE(captions(menu("mnuWindow")),
             (QStringList{"mnuArrange=&Arrange", "mnuOnTop=Window O&n Top",
                          "mnuOffTop=Window O&ff Top"}));
    QCOMPARE(
        captions(menu("mnuArrange")),
        (QStringList{"mnuHorizontal=&Horizontal", "mnuVertical=&Vertical", "mnuCascade=&Cascade"}));
    QCOMPARE(captions(menu("mnuHelp")),
             (QStringList{"mnuContents=Contents", "mnuAbout=About Velmora"}));
    QCOMPARE(captions(menu("mnuSV")), QStringList{"mnuShowVal=Sh&ow Value"});
    QCOMPARE(captions(menu("mnuZCor")), QStringList{"mnu2ppmNow=&2ppmNow"});
    QVERIFY(item(f, "mnuShowVal")->isCheckable());
}

void MainFrameTest::onTopToggle()
{
    RecordingNotifier n;
    Station st(n);
    MDIFrm f(st);
    f.show();
    auto oneVisible = [&] {
        return item(f, "mnuOnTop")->isVisible() != item(f, "mnuOffTop")->isVisible();
    };
    QVERIFY(oneVisible());
    QVERIFY(item(f, "mnuOnTop")->isVisible());
    item(f, "mnuOnTop")->trigger();
    QVERIFY(oneVisible());
    QVERIFY(item(f, "mnuOffTop")->isVisible());
    QVERIFY(f.windowFlags() & Qt::WindowStaysOnTopHint);
    QVERIFY(f.isVisible());
    item(f, "mnuOffTop")->trigger();
    QVERIFY(oneVisible());
    QVERIFY(item(f, "mnuOnTop")->isVisible());
    QVERIFY(!(f.windowFlags() & Qt::WindowStaysOnTopHint));
    QVERIFY(f.isVisible());
}

void MainFrameTest::showValueShortcut()
{
    RecordingNotifier n;
    Station st(n);
    MDIFrm f(st);
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

void MainFrameTest::loadPreSet()
{
    QFile file(dir_->filePath(QStringLiteral("Tervala.ini")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[LIMIT]\nLimit1=12\nLimit2=34\n[SCALES]\nInitScaleXIndex=2\n");
    file.close();
    RecordingNotifier n;
    Station st(n);
    MDIFrm f(st);
    ReadSettings(st);
    QCOMPARE(st.limit1, 12);
    item(f, "mnuReadConf")->trigger();
    QCOMPARE(st.limit1, 50);
    QCOMPARE(st.limit2, 80);
    QCOMPARE(ReadIni("LIMIT", "Limit1", "Tervala.ini"), QStringLiteral("50"));
    QCOMPARE(ReadIni("LIMIT", "Limit2", "Tervala.ini"), QStringLiteral("80"));
    QCOMPARE(ReadIni("SCALES", "InitScaleXIndex", "Tervala.ini"), QStringLiteral("7"));
    QCOMPARE(ReadIni("SCALES", "InitScaleXIndexAdd0", "Tervala.ini"), QStringLiteral("5"));
    QCOMPARE(ReadIni("POSITIONS", "MDIHeight", "Tervala.ini"), QStringLiteral("8000"));
    QCOMPARE(ReadIni("POSITIONS", "frmValTop", "Tervala.ini"), QStringLiteral("360"));
}

void MainFrameTest::writeToggle()
{
    RecordingNotifier n;
    Station st(n);
    st.dataFolder = dir_->path();
    MDIFrm f(st);
    QAction* write = f.toolButton(QStringLiteral("Write"));
    QCOMPARE(write->text(), QStringLiteral("&Write"));
    write->trigger();
    QCOMPARE(write->text(), QStringLiteral("End"));
    QVERIFY(write->isChecked());
    QVERIFY(st.recording);
    QVERIFY(f.windowTitle().endsWith(QLatin1String(".dat")));
    QVERIFY(!item(f, "mnuRunSaving")->isVisible());
    QVERIFY(item(f, "mnuEndSaving")->isVisible());
    write->trigger();
    QVERIFY(!st.recording);
    QCOMPARE(write->text(), QStringLiteral("&Write"));
    QVERIFY(!write->isChecked());
    QVERIFY(item(f, "mnuRunSaving")->isVisible());
    QVERIFY(!item(f, "mnuEndSaving")->isVisible());
}

void MainFrameTest::alarmReachesWindowsAndFiles()
{
    RecordingNotifier n;
    Station st(n);
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
    QFile text(QDir(st.dataFolder).filePath(QDate::currentDate().toString("dd_MM_yy") + ".txt"));
    QVERIFY(text.open(QIODevice::ReadOnly));
    QVERIFY(text.readAll().contains("-vent open\r\n"));

    // Set → Alarm moves the thresholds the check uses.
    QTimer::singleShot(0, [] {
        QWidget* dlg = QApplication::activeModalWidget();
        QVERIFY(dlg && dlg->objectName() == QLatin1String("frmAlarm"));
        dlg->findChild<QLineEdit*>(QStringLiteral("txtAlarm1"))->setText(QStringLiteral("100"));
        dlg->findChild<QLineEdit*>(QStringLiteral("txtAlarm2"))->setText(QStringLiteral("200"));
        dlg->findChild<QPushButton*>(QStringLiteral("cmdOK"))->click();
    });
    item(f, "mnuAlarm")->trigger();
    QCOMPARE(QList<int>({st.limit1, st.limit2}), QList<int>({100, 200}));
    st.deliver(90, "00090\r"); // now below the first threshold: quiet and green
    QVERIFY(!f.alarms()->tmrSound.isActive());
    QCOMPARE(f.valueWindow()->backColor(), int(frmVal::Green));
    QVERIFY(n.messages.isEmpty());
}

void MainFrameTest::commandPanel()
{
    RecordingNotifier n;
    Station st(n);
    MDIFrm f(st);
    QStringList seen;
    for (QPushButton* b : f.findChildren<QPushButton*>(QStringLiteral("cmdCommands")))
        seen << b->text();
    QCOMPARE(seen, (QStringList{"Ser. Number", "ZERO", "INITIAL", "CALIBR", "CUST", "SET CUST",
                                "DATA?", "CDAT?"}));
    const auto buttons = f.commandButtons();
    QCOMPARE(buttons[1]->toolTip(), QStringLiteral("Set ZERO results"));
    QVERIFY(!buttons[6]->isEnabled());
    QVERIFY(!buttons[7]->isEnabled());
    auto* type = f.findChild<QComboBox*>(QStringLiteral("cmbType"));
    QCOMPARE(type->count(), 2);
    QCOMPARE(type->currentText(), QStringLiteral("ZEP-D"));
    QCOMPARE(int(st.format.marker), 13);
}

void MainFrameTest::typeChangeStops()
{
    Pty line;
    QVERIFY(line.ok());
    RecordingNotifier n;
    Station st(n);
    st.portName = line.slavePath();
    st.applyPortSettings();
    MDIFrm f(st);
    auto* type = f.findChild<QComboBox*>(QStringLiteral("cmbType"));
    QVERIFY(!st.myComm.PortOpen()); // the first selection at start-up sends nothing
    type->setCurrentIndex(0);
    QCOMPARE(int(st.format.marker), 10);
    QCOMPARE(line.read(6, 2000), QByteArray("CDAT?\r"));
    QVERIFY(st.myComm.PortOpen());
}

void MainFrameTest::closeBoxRunsExit()
{
    Pty line;
    QVERIFY(line.ok());
    RecordingNotifier n;
    Station st(n);
    st.portName = line.slavePath();
    st.applyPortSettings();
    QVERIFY(st.ensurePortOpen());
    st.HTmr.start(1000);
    MDIFrm f(st);
    f.show();
    f.valueWindow()->show();
    QVERIFY(QTest::qWaitForWindowExposed(&f));
    f.close(); // what the window's close box does
    QVERIFY(st.exitFlag);
    QVERIFY(!st.HTmr.isActive());
    QCOMPARE(st.HTmr.interval(), 0);
    QCOMPARE(line.read(6, 2000), QByteArray("CDAT?\r"));
    QVERIFY(!st.myComm.PortOpen());
    QVERIFY(!f.valueWindow()->isVisible());
    QVERIFY(!f.isVisible());
}

void MainFrameTest::comPortChangeReopens()
{
    Pty com2;
    Pty com3;
    QVERIFY(com2.ok() && com3.ok());
    QVERIFY(QFile::link(com2.slavePath(), dir_->filePath(QStringLiteral("ttyS1"))));
    QVERIFY(QFile::link(com3.slavePath(), dir_->filePath(QStringLiteral("ttyS2"))));
    RecordingNotifier n;
    Station st(n);
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
    QVERIFY(n.messages.isEmpty());

    dlg.findChild<QPushButton*>(QStringLiteral("cmdSave"))->click();
    QCOMPARE(ReadIni("COMPORTS", "NCOM", "Tervala.ini"), QStringLiteral("3"));
    QCOMPARE(ReadIni("INTERVAL", "TIMER", "Tervala.ini"), QStringLiteral("4"));
}
