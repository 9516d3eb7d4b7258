// The digital, table and diagram views: their toggles from menu and toolbar,
// kept in step with the windows, and the readings they show.
#include "app/MDIFrm.h"
#include "app/twips.h"
#include "display/frmChart.h"
#include "display/frmData.h"
#include "display/frmFData.h"
#include "station/Station.h"

#include <QAction>
#include <QDateTime>
#include <QMdiArea>
#include <QMdiSubWindow>

QWidget* MDIFrm::view(const QString& key) const
{
    return views_.value(key).data();
}

void MDIFrm::toggleView(const QString& key)
{
    if (QWidget* open = view(key)) {
        open->parentWidget()->close(); // the window's own unload releases menu and button
        return;
    }
    QWidget* w = nullptr;
    if (key == QLatin1String("Digital"))
        w = new frmData;
    else if (key == QLatin1String("Table"))
        w = new frmFData;
    else if (key == QLatin1String("Diagram"))
        w = new frmChart(st_);
    if (!w)
        return;
    views_.insert(key, w);
    QMdiSubWindow* sub = mdi_->addSubWindow(w);
    sub->setAttribute(Qt::WA_DeleteOnClose);
    const QRect area = mdi_->viewport()->rect();
    // A view opens at the top left of the window area, nearly filling it.
    sub->setGeometry(0, 0, qMax(240, area.width() - fromTwips(200)),
                     qMax(180, area.height() - fromTwips(60)));
    connect(w, &QObject::destroyed, this, [this, key] {
        views_.remove(key);
        setViewChecked(key, false);
    });
    sub->show();
    setViewChecked(key, true);
}

void MDIFrm::showOnViews(double value, const QString& temper)
{
    if (auto* d = qobject_cast<frmData*>(view(QStringLiteral("Digital"))))
        d->showValue(value);
    if (auto* t = qobject_cast<frmFData*>(view(QStringLiteral("Table"))))
        t->addReading(QDateTime::currentDateTime(), value, temper);
    if (auto* c = qobject_cast<frmChart*>(view(QStringLiteral("Diagram"))))
        c->showValue(value);
}
