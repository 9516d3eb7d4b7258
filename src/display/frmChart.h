#pragma once

#include "display/ScreenRefresh.h"

#include <QWidget>

class QBarSet;
class QChart;
class QChartView;
class QComboBox;
class QValueAxis;
class Station;

// The diagram view: a bar chart "Concentrations" with one bar per component
// and its own Y scale box.
class frmChart : public QWidget
{
    Q_OBJECT
public:
    explicit frmChart(Station& st, QWidget* parent = nullptr);

    // Fills the Y scale box: linear (10 entries, "1000" chosen) or logarithmic.
    void LoadScaleList(bool linear);
    // Shows a reading (ppm x10) as the first component's bar, in ppm, at the
    // next screen refresh.
    void showValue(double raw);
    double axisMax() const;
    double barValue(int component) const;

private:
    void cmbScale_Change();
    void showLatest();

    Station& st_;
    QChart* chart_;
    QChartView* view_;
    QBarSet* bars_;
    QValueAxis* axisY_;
    QComboBox* cmbScale_;
    QComboBox* cmbScaleX_;
    double raw_ = 0;
    ScreenRefresh refresh_{this, [this] { showLatest(); }};
};
