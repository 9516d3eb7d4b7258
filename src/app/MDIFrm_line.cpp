// The main frame on the RS-485 line: the finder, one graph window per polled
// analyzer, the views following the chosen analyzer, the mode shown in the
// status bar and the line's data files.
#include "app/MDIFrm.h"
#include "app/ScreenPlace.h"
#include "app/frm_txt.h"
#include "display/GraphTable.h"
#include "display/frmChart.h"
#include "display/frmData.h"
#include "display/frmFData.h"
#include "display/frmOscil.h"
#include "display/frmVal.h"
#include "link/ProcessReply.h"
#include "recording/DataFileDialog.h"
#include "recording/LineRecorder.h"
#include "rs485/frmFind.h"
#include "rs485/frmMonitor.h"
#include "station/Station.h"

#include <QAction>
#include <QLabel>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QStatusBar>
#include <QStyle>
#include <QTableWidget>
#include <cmath>

void MDIFrm::buildLine()
{
    lblMode_ = new QLabel(statusBar());
    lblMode_->setObjectName(QStringLiteral("lblMode"));
    statusBar()->addPermanentWidget(lblMode_);
    connect(&st_, &Station::rs485ModeChanged, this, &MDIFrm::showMode);
    showMode(st_.rs485Mode);

    lineRecorder_ = new LineRecorder(st_, this);
    lineRecorder_->chooseFile = fileDialogChooser(this);

    st_.lineSinks[Station::LineGraphSink] = [this](const Station::LineReading& r) {
        auto* g = lineGraph(r.address);
        if (!g)
            return;
        const bool second = find_ && find_->component() == 2;
        g->curValue = second ? r.second.trimmed().toDouble() : r.value;
        g->SetNewPointA();
    };
    st_.lineSinks[Station::LineViewSink] = [this](const Station::LineReading& r) {
        if (r.address != lineSelected_)
            return;
        if (mainGraph_) {
            mainGraph_->curValue = std::round(r.value);
            mainGraph_->SetNewPointA();
        }
        val_->setValueText(FormatVal(r.value));
        showOnViews(r.value, r.second);
    };
}

frmFind* MDIFrm::finder() const
{
    return find_;
}

frmOscil* MDIFrm::lineGraph(int address) const
{
    return dynamic_cast<frmOscil*>(GraphTable::of(st_).at(address));
}

void MDIFrm::showMode(bool rs485)
{
    lblMode_->setText(rs485 ? QStringLiteral("RS-485 line") : QStringLiteral("Single analyzer"));
    lblMode_->setToolTip(rs485 ? QStringLiteral("Run polls the analyzers chosen in Find")
                               : QStringLiteral("Run reads the analyzer that streams on the port"));
}

void MDIFrm::mnuFind_Click()
{
    if (!find_) {
        find_ = new frmFind(st_, this);
        connect(find_, &frmFind::graphWanted, this, &MDIFrm::addLineGraph);
        connect(find_, &frmFind::deviceSelected, this, &MDIFrm::selectLineDevice);
        connect(find_, &frmFind::monitorWanted, this, &MDIFrm::openMonitor);
        connect(find_, &frmFind::deviceFound, this, [this] {
            // The table window's caption during a scan, as the finder has always set it.
            if (QWidget* t = view(QStringLiteral("Table")))
                t->setWindowTitle(QStringLiteral("sSN(i)"));
        });
        connect(find_, &frmFind::scaleYChosen, this, [this](double fullScale) {
            GraphTable::of(st_).forEachSlot([&](int, TrendGraph* g) {
                if (g != addedGraph_.data())
                    g->SetScalesY(fullScale);
            });
        });
    }
    find_->show();
    find_->raise();
    find_->activateWindow();
}

QRect MDIFrm::cascaded(int windows, const QRect& from) const
{
    // A title bar's height a step, eight steps before it starts again; a
    // window that would then leave the area is made smaller.
    const int step = style()->pixelMetric(QStyle::PM_TitleBarHeight) + 4;
    const int n = windows % 8;
    QRect r = from.translated(n * step, n * step);
    const QRect area(QPoint(0, 0), mdi_->viewport()->size());
    if (!area.contains(r))
        r.setSize(
            r.size().boundedTo(area.size() - QSize(r.left(), r.top())).expandedTo({160, 120}));
    return r;
}

void MDIFrm::addLineGraph(int address, const QString& caption)
{
    frmOscil* g = lineGraph(address);
    if (!g) {
        g = new frmOscil(st_);
        g->setObjectName(QStringLiteral("frmOscil%1").arg(address));
        GraphTable::of(st_).set(address, g);
        // Sized like the main graph window and cascaded from it, one step
        // for each graph window already there, so that none hides another.
        QRect place(0, 0, 480, 300);
        if (mainGraph_)
            place = mainGraph_->parentWidget()->geometry();
        place = cascaded(int(mdi_->subWindowList().size()), place);
        QMdiSubWindow* sub = mdi_->addSubWindow(g);
        sub->setAttribute(Qt::WA_DeleteOnClose);
        sub->setGeometry(place);
        g->SetLimit1Y(st_.limit1);
        g->SetLimit2Y(st_.limit2);
    }
    g->setWindowTitle(caption);
    g->parentWidget()->show();
    mdi_->setActiveSubWindow(qobject_cast<QMdiSubWindow*>(g->parentWidget()));
}

void MDIFrm::selectLineDevice(int address, const QString& caption)
{
    lineSelected_ = address;
    for (const char* key : {"Table", "Digital", "Diagram"}) {
        if (QWidget* v = view(QLatin1String(key)))
            v->setWindowTitle(caption);
    }
    if (auto* t = qobject_cast<frmFData*>(view(QStringLiteral("Table")))) {
        t->Flx()->clearContents();
        t->FormatFlex();
        t->FillFlex();
    }
    if (mainGraph_) {
        mainGraph_->setWindowTitle(caption);
        mainGraph_->ClsOscil();
    }
}

void MDIFrm::openMonitor()
{
    // A window of its own beside the finder that opened it, in front of it
    // and whole on the screen.
    if (!monitor_) {
        auto* m = new frmMonitor(st_, this);
        m->setWindowFlag(Qt::Window);
        m->setAttribute(Qt::WA_DeleteOnClose);
        monitor_ = m;
        const QRect opener = find_ ? find_->frameGeometry() : frameGeometry();
        const QRect beside(opener.topRight() + QPoint(8, 0), m->size());
        m->move(keptOnScreen(beside, availableFor(opener)).topLeft());
    }
    monitor_->show();
    keepOnScreen(monitor_);
    monitor_->raise();
    monitor_->activateWindow();
}
