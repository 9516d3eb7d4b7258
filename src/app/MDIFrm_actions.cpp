// Menu, toolbar and lifetime operations of the main frame.
#include "alarms/frmAlarm.h"
#include "app/MDIFrm.h"
#include "app/ScreenPlace.h"
#include "app/frmAbout.h"
#include "app/frmCOM.h"
#include "app/frmPathA.h"
#include "app/frm_txt.h"
#include "app/twips.h"
#include "display/frmOscil.h"
#include "display/frmVal.h"
#include "link/RunControl.h"
#include "link/frmCUST.h"
#include "link/frmCalib.h"
#include "mqtt/MqttPublisher.h"
#include "recording/DataRecorder.h"
#include "recording/LineRecorder.h"
#include "recording/frmComment.h"
#include "recording/frmRecord.h"
#include "rs485/LinePoller.h"
#include "rs485/Waits.h"
#include "rs485/frmFind.h"
#include "station/Notifier.h"
#include "station/Settings.h"
#include "station/Station.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QLineEdit>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QScreen>
#include <QTimer>

void MDIFrm::tile(Qt::Orientation direction)
{
    const auto subs = mdi_->subWindowList();
    const int n = int(subs.size());
    const QRect area = mdi_->viewport()->rect();
    for (int i = 0; i < n; ++i) {
        subs[i]->showNormal();
        if (direction == Qt::Vertical)
            subs[i]->setGeometry(0, area.height() * i / n, area.width(), area.height() / n);
        else
            subs[i]->setGeometry(area.width() * i / n, 0, area.width() / n, area.height());
    }
}

void MDIFrm::applyLayout()
{
    const Layout& l = st_.layout;
    // Before the frame is first shown its window manager's margins are not
    // known yet: placeWindows() gives the place again once they are.
    move(fromTwips(l.mdiLeft), fromTwips(l.mdiTop));
    resize(fromTwips(l.mdiWidth), fromTwips(l.mdiHeight));
    placeValueWindow();
    if (isVisible())
        placeWindows();
}

void MDIFrm::placeWindows()
{
    const Layout& l = st_.layout;
    const QPoint saved(fromTwips(l.mdiLeft), fromTwips(l.mdiTop));
    if (frameGeometry().topLeft() != saved)
        move(saved);
    keepOnScreen(this);
    placeValueWindow();
}

void MDIFrm::placeValueWindow()
{
    const Layout& l = st_.layout;
    if (l.valPlaced) {
        val_->move(fromTwips(l.valLeft), fromTwips(l.valTop));
        if (val_->isVisible())
            keepOnScreen(val_);
        return;
    }
    const QRect frame = frameGeometry();
    val_->move(defaultValuePlace(frame, val_->frameGeometry().size(), availableFor(frame)));
}

void MDIFrm::collectLayout()
{
    Layout& l = st_.layout;
    // A frame whose title bar went off the screen is saved where it can be reached.
    const QRect g = keptOnScreen(frameGeometry(), availableFor(frameGeometry()));
    l.mdiLeft = toTwips(g.left());
    l.mdiTop = toTwips(g.top());
    l.mdiWidth = toTwips(width());
    l.mdiHeight = toTwips(height());
    l.valLeft = toTwips(val_->x());
    l.valTop = toTwips(val_->y());
    l.valPlaced = true;
    collectGraphLayout();
}

void MDIFrm::mnuSaveConf_Click()
{
    collectLayout();
    SaveSettings(st_);
}

void MDIFrm::mnuReadConf_Click()
{
    Layout& l = st_.layout;
    l.mdiLeft = 50;
    l.mdiTop = 50;
    l.mdiWidth = 10000;
    l.mdiHeight = 8000;
    l.valLeft = 0;
    l.valTop = 360;
    l.valPlaced = false;
    l.scaleYIndex = 4;
    l.scaleYIndexAdd = 4;
    l.scaleXIndex = 7;
    l.scaleXIndexAdd = 5;
    st_.limit1 = 50;
    st_.limit2 = 80;
    applyLayout();
    applyGraphPreset();
    // Save what was just restored, not the places before the move.
    collectGraphLayout();
    SaveSettings(st_);
}

void MDIFrm::mnuRunSaving_Click()
{
    // On the RS-485 line each polled analyzer gets a file of its own;
    // without any, recording does not start.
    if (st_.rs485Mode) {
        if (!lineRecorder_->start(LinePoller::of(st_).pollList())) {
            // The write button was pressed by the click; it goes up again.
            keys_.value(QStringLiteral("Write"))->setChecked(false);
            return;
        }
        setWindowTitle(
            QStringLiteral("RS-485 line: %1 data files").arg(lineRecorder_->openFiles()));
    } else {
        recorder_->start();
    }
    findChild<QAction*>(QStringLiteral("mnuRunSaving"))->setEnabled(false);
    findChild<QAction*>(QStringLiteral("mnuRunSaving"))->setVisible(false);
    findChild<QAction*>(QStringLiteral("mnuEndSaving"))->setVisible(true);
    findChild<QAction*>(QStringLiteral("mnuEndSaving"))->setEnabled(true);
    QAction* write = keys_.value(QStringLiteral("Write"));
    write->setText(QStringLiteral("End"));
    write->setChecked(true);
}

void MDIFrm::mnuOpenRecord_Click()
{
    // Each choice of files gets a viewer window of its own beside the frame,
    // so two days can be compared; cancelling the choice opens none.
    auto* viewer = new frmRecord(st_, this);
    if (!viewer->cmdOpen_Click()) {
        delete viewer;
        return;
    }
    // Over the frame's middle, whole on the screen; a little room is left
    // for the frame the window manager puts around it.
    QRect place(QPoint(), viewer->size());
    place.moveCenter(frameGeometry().center());
    const QRect screen = availableFor(frameGeometry());
    place = keptOnScreen(place, screen.adjusted(0, 0, -8, -40));
    viewer->setGeometry(place);
    viewer->show();
    QTimer::singleShot(200, viewer, [viewer] { keepOnScreen(viewer); });
}

void MDIFrm::mnuEndSaving_Click()
{
    recorder_->end();
    if (lineRecorder_->openFiles() > 0) {
        lineRecorder_->end();
        setWindowTitle(QStringLiteral("Velmora"));
    }
    QAction* write = keys_.value(QStringLiteral("Write"));
    write->setChecked(false);
    write->setText(QStringLiteral("&Write"));
    findChild<QAction*>(QStringLiteral("mnuEndSaving"))->setVisible(false);
    findChild<QAction*>(QStringLiteral("mnuRunSaving"))->setVisible(true);
    findChild<QAction*>(QStringLiteral("mnuRunSaving"))->setEnabled(true);
}

void MDIFrm::setOnTop(bool on)
{
    for (QWidget* w : {static_cast<QWidget*>(this), static_cast<QWidget*>(val_),
                       static_cast<QWidget*>(comment_)}) {
        if (!w || (!on && w != this))
            continue; // "off top" releases the frame only; the small windows keep floating
        const bool visible = w->isVisible();
        w->setAttribute(Qt::WA_ShowWithoutActivating, true);
        w->setWindowFlag(Qt::WindowStaysOnTopHint, on);
        if (visible || on)
            w->show();
        w->setAttribute(Qt::WA_ShowWithoutActivating, false);
    }
}

void MDIFrm::mnuOnTop_Click()
{
    setOnTop(true);
    findChild<QAction*>(QStringLiteral("mnuOffTop"))->setVisible(true);
    findChild<QAction*>(QStringLiteral("mnuOnTop"))->setVisible(false);
}

void MDIFrm::mnuOffTop_Click()
{
    setOnTop(false);
    findChild<QAction*>(QStringLiteral("mnuOnTop"))->setVisible(true);
    findChild<QAction*>(QStringLiteral("mnuOffTop"))->setVisible(false);
}

void MDIFrm::mnuContents_Click()
{
    // Help is bound to F1; the menu item presses it.
    QKeyEvent* f1 = new QKeyEvent(QEvent::KeyPress, Qt::Key_F1, Qt::NoModifier);
    QCoreApplication::postEvent(this, f1);
}

void MDIFrm::keyPressEvent(QKeyEvent* e)
{
    if (e->key() == Qt::Key_F1) {
        textWindow()->showHelp();
        return;
    }
    QMainWindow::keyPressEvent(e);
}

void MDIFrm::mnuShowVal_Click()
{
    const bool on = findChild<QAction*>(QStringLiteral("mnuShowVal"))->isChecked();
    textWindow()->setVisible(on);
    // The text window is where the graph's cursor read-out appears.
    for (frmOscil* g : {mainGraph_.data(), addedGraph_.data()}) {
        if (g)
            g->cursorOption = on;
    }
}

void MDIFrm::mnuAlarm_Click()
{
    frmAlarm dlg(st_, this);
    dlg.exec();
}

void MDIFrm::Tbr1_ButtonClick(const QString& key)
{
    if (key == QLatin1String("Send")) {
        st_.sendLine(txtTo_->text());
    } else if (key == QLatin1String("Write")) {
        QAction* write = keys_.value(key);
        if (write->text() == QLatin1String("&Write"))
            mnuRunSaving_Click();
        else
            mnuEndSaving_Click();
    } else if (key == QLatin1String("Set")) {
        frmCOM dlg(st_, this);
        dlg.exec();
    } else if (key == QLatin1String("Path")) {
        frmPathA dlg(st_, this);
        dlg.exec();
    } else if (key == QLatin1String("About")) {
        frmAbout dlg(this);
        dlg.exec();
    } else if (key == QLatin1String("Find")) {
        mnuFind_Click();
    } else if (key == QLatin1String("Run")) {
        mnuRun_Click();
    } else if (key == QLatin1String("Stop")) {
        mnuStop_Click();
    } else if (key == QLatin1String("Graph")) {
        mnuGraph_Click();
    } else if (key == QLatin1String("Digital") || key == QLatin1String("Table") ||
               key == QLatin1String("Diagram")) {
        toggleView(key);
    } else if (key == QLatin1String("Exit")) {
        mnuExit_Click();
    } else if (key == QLatin1String("Z") || key == QLatin1String("Z0") ||
               key == QLatin1String("ZT")) {
        zeroButton(key);
    }
}

void MDIFrm::showEvent(QShowEvent* e)
{
    QMainWindow::showEvent(e);
    if (!activated_) {
        activated_ = true;
        MDIForm_Activate();
        // The window manager puts its frame around the window after it is
        // shown; the saved place is then given again, by the frame.
        QTimer::singleShot(200, this, &MDIFrm::placeWindows);
        QTimer::singleShot(1000, this, &MDIFrm::placeWindows);
    }
}

void MDIFrm::mnuRun_Click()
{
    Run(st_);
    // The button was pressed by the click; it stays so only if Run got going.
    showRunning(st_.running);
}

void MDIFrm::mnuStop_Click()
{
    st_.Stop();
}

void MDIFrm::showRunning(bool running)
{
    findChild<QAction*>(QStringLiteral("mnuRun"))->setVisible(!running);
    findChild<QAction*>(QStringLiteral("mnuStop"))->setVisible(running);
    keys_.value(QStringLiteral("Run"))->setChecked(running);
    keys_.value(QStringLiteral("Stop"))->setChecked(!running);
    // The finder's scan would mix its frames with the readings'.
    findChild<QAction*>(QStringLiteral("mnuFind"))->setEnabled(!running);
    keys_.value(QStringLiteral("Find"))->setEnabled(!running);
}

void MDIFrm::mnuExit_Click()
{
    if (exiting_)
        return;
    exiting_ = true;
    st_.exitFlag = true;
    st_.HTmr.stop();
    st_.HTmr.setInterval(0);
    st_.Stop();
    for (frmOscil* g : {mainGraph_.data(), addedGraph_.data()}) {
        if (g)
            g->cursorOption = false; // the cursor watch ends with the graphs
    }
    PauseMs(100, 10);
    if (txt_)
        txt_->close();
    if (cust_)
        cust_->close();
    if (find_)
        find_->close();
    if (comment_)
        comment_->close();
    val_->close();
    MDIForm_Unload();
    close();
}

void MDIFrm::MDIForm_Unload()
{
    if (keys_.value(QStringLiteral("Write"))->text() != QLatin1String("&Write"))
        mnuEndSaving_Click();
    for (QDialog* d : {static_cast<QDialog*>(cust_.data()), static_cast<QDialog*>(calib_.data())}) {
        if (d)
            d->close();
    }
    // The port is released here, not left to process exit.
    st_.myComm.setPortOpen(false);
    publisher_->flush();
}

void MDIFrm::closeEvent(QCloseEvent* e)
{
    if (!exiting_)
        mnuExit_Click();
    if (controlRoom_)
        controlRoom_->close();
    e->accept();
    QMainWindow::closeEvent(e);
}
