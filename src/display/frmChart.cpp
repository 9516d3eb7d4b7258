#include "display/frmChart.h"

#include "station/Notifier.h"
#include "station/Station.h"

#include <QBarCategoryAxis>
#include <QBarSeries>
#include <QBarSet>
#include <QChart>
#include <QChartView>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QValueAxis>

frmChart::frmChart(Station& st, QWidget* parent) : QWidget(parent), st_(st)
{
    setObjectName(QStringLiteral("frmChart"));
    setWindowTitle(QStringLiteral("Diagram"));

    bars_ = new QBarSet(QStringLiteral("CH4"));
    const int components = qMax(1, st_.format.components);
    QStringList names;
    for (int i = 0; i < components; ++i) {
        *bars_ << 0.0;
        names << (i == 0 ? QStringLiteral("CH4") : QStringLiteral("C%1").arg(i + 1));
    }
    auto* series = new QBarSeries;
    series->append(bars_);
    chart_ = new QChart;
    chart_->setTitle(QStringLiteral("Concentrations"));
    chart_->addSeries(series);
    chart_->legend()->hide();
    auto* axisX = new QBarCategoryAxis;
    axisX->append(names);
    axisY_ = new QValueAxis;
    axisY_->setTitleText(QStringLiteral("Y (ppm)  "));
    axisY_->setRange(0, 1000);
    chart_->addAxis(axisX, Qt::AlignBottom);
    chart_->addAxis(axisY_, Qt::AlignLeft);
    series->attachAxis(axisX);
    series->attachAxis(axisY_);
    view_ = new QChartView(chart_, this);
    view_->setObjectName(QStringLiteral("MSChart1"));
    view_->setRenderHint(QPainter::Antialiasing);

    cmbScale_ = new QComboBox(this);
    cmbScale_->setObjectName(QStringLiteral("cmbScale"));
    cmbScale_->setEditable(true);
    cmbScaleX_ = new QComboBox(this);
    cmbScaleX_->setObjectName(QStringLiteral("cmbScaleX"));
    cmbScaleX_->addItems({"24000", "12000", "6000", "2400", "1200", "600", "240", "120", "60"});
    LoadScaleList(true);
    // The diagram takes the graph's saved Y index, although its list is
    // shorter; an index past its end takes the last (smallest) entry.
    cmbScale_->setCurrentIndex(qBound(0, st_.layout.scaleYIndex, int(cmbScale_->count()) - 1));
    cmbScale_Change();
    // A scale applies when picked from the list or confirmed with Enter.
    cmbScale_->setInsertPolicy(QComboBox::NoInsert);
    connect(cmbScale_, &QComboBox::activated, this, &frmChart::cmbScale_Change);
    connect(cmbScale_->lineEdit(), &QLineEdit::returnPressed, this, &frmChart::cmbScale_Change);

    auto* top = new QHBoxLayout;
    top->addWidget(new QLabel(QStringLiteral("Y"), this));
    top->addWidget(cmbScale_);
    top->addWidget(new QLabel(QStringLiteral("X"), this));
    top->addWidget(cmbScaleX_);
    top->addStretch();
    auto* lay = new QVBoxLayout(this);
    lay->setContentsMargins(2, 2, 2, 2);
    lay->addLayout(top);
    lay->addWidget(view_, 1);
    resize(420, 320);
}

void frmChart::LoadScaleList(bool linear)
{
    const QSignalBlocker quiet(cmbScale_);
    cmbScale_->clear();
    if (linear) {
        cmbScale_->addItems(
            {"200000", "100000", "25000", "10000", "2500", "1000", "250", "100", "25", "10"});
        cmbScale_->setCurrentIndex(5);
    } else {
        cmbScale_->addItems({"100", "25", "10", "2.5", "1", "0.25", "0.1", "0.025", "0.01"});
        cmbScale_->setCurrentIndex(-1);
    }
}

void frmChart::cmbScale_Change()
{
    const QString text = cmbScale_->currentText().trimmed();
    if (text.isEmpty())
        return;
    bool ok = false;
    const double v = text.toDouble(&ok);
    if (ok && v > 0) {
        axisY_->setRange(0, v);
        return;
    }
    st_.notifier().message(QStringLiteral("Bad Data"));
    cmbScale_->setEditText(QString::number(axisY_->max()));
}

void frmChart::showValue(double raw)
{
    raw_ = raw;
    refresh_.request();
}

void frmChart::showLatest()
{
    bars_->replace(0, raw_ / 10.0);
}

double frmChart::axisMax() const
{
    return axisY_->max();
}

double frmChart::barValue(int component) const
{
    return bars_->at(component);
}
