// The main frame's graph windows: opening them on first activation, the
// Graph view toggle, their places in the layout, and the reading sinks that
// feed them and the value window.
#include "app/MDIFrm.h"
#include "app/frm_txt.h"
#include "app/twips.h"
#include "display/GraphTable.h"
#include "display/frmOscil.h"
#include "display/frmVal.h"
#include "link/ProcessReply.h"
#include "station/Station.h"

#include <QAction>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <cmath>

namespace {
int stateOf(const QWidget* w)
{
    if (w->isMinimized())
        return 1;
    if (w->isMaximized())
        return 2;
    return 0;
}

void takePlace(WindowPlace& p, const QMdiSubWindow* sub)
{
    p.state = stateOf(sub);
    const QRect g =
        sub->isMinimized() || sub->isMaximized() ? sub->normalGeometry() : sub->geometry();
    p.left = toTwips(g.x());
    p.top = toTwips(g.y());
    p.width = toTwips(g.width());
    p.height = toTwips(g.height());
}
} // namespace

QMdiSubWindow* MDIFrm::addGraphWindow(frmOscil* graph, const WindowPlace& place,
                                      const QRect& fallback)
{
    QMdiSubWindow* sub = mdi_->addSubWindow(graph);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    if (place.width > 0 && place.height > 0)
        sub->setGeometry(fromTwips(place.left), fromTwips(place.top), fromTwips(place.width),
                         fromTwips(place.height));
    else
        sub->setGeometry(fallback);
    graph->cursorOption = findChild<QAction*>(QStringLiteral("mnuShowVal"))->isChecked();
    connect(graph, &frmOscil::cursorText, this, [this](const QString& text) {
        if (txt_)
            txt_->setText(text);
    });
    graph->SetLimit1Y(st_.limit1);
    graph->SetLimit2Y(st_.limit2);
    if (place.state == 1)
        sub->showMinimized();
    else if (place.state == 2)
        sub->showMaximized();
    else
        sub->show();
    return sub;
}

void MDIFrm::MDIForm_Activate()
{
    const QRect area = mdi_->viewport()->rect();
    const int w = qMax(200, area.width() - fromTwips(160));
    const int h = qMax(160, area.height() - fromTwips(60));
    // Main graph above, added graph below, when the settings hold no places.
    openMainGraph(QRect(0, 0, w, h * 3 / 5));

    auto* added = new frmOscil(st_);
    added->setObjectName(QStringLiteral("frmOscilAdd"));
    added->setWindowTitle(added->windowTitle() + QStringLiteral(" Add"));
    added->setScaleIndices(st_.layout.scaleYIndexAdd, st_.layout.scaleXIndexAdd);
    GraphTable::of(st_).set(0, added);
    addedGraph_ = added;
    addGraphWindow(added, st_.layout.w2, QRect(0, h * 3 / 5, w, h * 2 / 5));
    if (mainGraph_)
        mdi_->setActiveSubWindow(qobject_cast<QMdiSubWindow*>(mainGraph_->parentWidget()));
}

void MDIFrm::openMainGraph(const QRect& fallback)
{
    auto* graph = new frmOscil(st_);
    graph->setObjectName(QStringLiteral("frmOscil"));
    graph->setScaleIndices(st_.layout.scaleYIndex, st_.layout.scaleXIndex);
    GraphTable::of(st_).setMainGraph(graph);
    mainGraph_ = graph;
    QMdiSubWindow* sub = addGraphWindow(graph, st_.layout.w1, fallback);
    // Closing the window by its own box releases the menu check and the button.
    connect(graph, &QObject::destroyed, this,
            [this] { setViewChecked(QStringLiteral("Graph"), false); });
    Q_UNUSED(sub);
    setViewChecked(QStringLiteral("Graph"), true);
}

void MDIFrm::setViewChecked(const QString& key, bool on)
{
    // Looked up in a table, not the widget tree: this also runs while a
    // window is being destroyed.
    if (QAction* a = viewItems_.value(key))
        a->setChecked(on);
    if (QAction* b = keys_.value(key))
        b->setChecked(on);
}

void MDIFrm::mnuGraph_Click()
{
    if (!mainGraph_) {
        const QRect area = mdi_->viewport()->rect();
        openMainGraph(QRect(0, 0, qMax(200, area.width() - fromTwips(160)),
                            qMax(160, area.height() - fromTwips(60))));
    } else {
        mainGraph_->parentWidget()->close();
    }
}

void MDIFrm::connectSinks()
{
    st_.sinks[Station::MainGraphSink] = [this](double value, const QByteArray&) {
        if (mainGraph_) {
            mainGraph_->curValue = std::round(value);
            mainGraph_->SetNewPointA();
        }
    };
    st_.sinks[Station::AddedGraphSink] = [this](double value, const QByteArray&) {
        TrendGraph* first = nullptr;
        GraphTable::of(st_).forEachSlot([&](int, TrendGraph* g) {
            if (!first)
                first = g;
        });
        if (first) {
            first->curValue = value;
            first->SetNewPointA();
        }
    };
    st_.sinks[Station::ValueWindowSink] = [this](double value, const QByteArray&) {
        if (!dataReceived_) {
            dataReceived_ = true;
            updateCommandPanel();
        }
        val_->setValueText(FormatVal(value));
        showOnViews(value);
    };
}

void MDIFrm::collectGraphLayout()
{
    Layout& l = st_.layout;
    auto keep = [](int index, int& into) {
        if (index >= 0)
            into = index;
    };
    if (mainGraph_) {
        takePlace(l.w1, qobject_cast<QMdiSubWindow*>(mainGraph_->parentWidget()));
        keep(mainGraph_->scaleYIndex(), l.scaleYIndex);
        keep(mainGraph_->scaleXIndex(), l.scaleXIndex);
    }
    if (addedGraph_) {
        takePlace(l.w2, qobject_cast<QMdiSubWindow*>(addedGraph_->parentWidget()));
        keep(addedGraph_->scaleYIndex(), l.scaleYIndexAdd);
        keep(addedGraph_->scaleXIndex(), l.scaleXIndexAdd);
    }
}

void MDIFrm::applyGraphPreset()
{
    const Layout& l = st_.layout;
    const QRect area = mdi_->viewport()->rect();
    const int w = qMax(200, area.width() - fromTwips(160));
    const int h = qMax(160, area.height() - fromTwips(60));
    if (mainGraph_) {
        mainGraph_->setScaleIndices(l.scaleYIndex, l.scaleXIndex);
        mainGraph_->SetLimit1Y(st_.limit1);
        mainGraph_->SetLimit2Y(st_.limit2);
        auto* sub = qobject_cast<QMdiSubWindow*>(mainGraph_->parentWidget());
        sub->showNormal();
        sub->setGeometry(0, 0, w, h * 3 / 5);
    }
    if (addedGraph_) {
        addedGraph_->setScaleIndices(l.scaleYIndexAdd, l.scaleXIndexAdd);
        addedGraph_->SetLimit1Y(st_.limit1);
        addedGraph_->SetLimit2Y(st_.limit2);
        auto* sub = qobject_cast<QMdiSubWindow*>(addedGraph_->parentWidget());
        sub->showNormal();
        sub->setGeometry(0, h * 3 / 5, w, h * 2 / 5);
    }
}
