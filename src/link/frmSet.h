#pragma once

#include "station/DataFormat.h"

#include <QDialog>
#include <QList>

class QCheckBox;
class QLabel;
class QLineEdit;
class QScrollBar;
class Station;

// "Settings" of the record layout: the number of components, where each
// component's value starts and how long it is, the marker and the record
// length. Apply stores what the dialog shows; Cancel leaves the record alone.
class frmSet : public QDialog
{
    Q_OBJECT
public:
    explicit frmSet(Station& st, QWidget* parent = nullptr);

    void scrNofC_Change();
    void scrN_Change();
    void cmdApply_Click();

private:
    void showComponent(int n);
    // Takes the shown component's boxes into the working copy; false (after
    // "Bad Data") when a box does not hold a number in range.
    bool storeShownComponent();
    // The box's number, rounded, into `into` when it lies in min..max;
    // otherwise "Bad Data", the box shows the old value again, false.
    bool takeNumber(QLineEdit* box, int min, int max, int& into);
    void runSetAllComponents();
    void refreshComponent();

    Station& st_;
    // Per-component values being edited; stored into the station by Apply.
    QList<ComponentFormat> comp_;
    int shown_ = 1;

    QScrollBar* scrN_;
    QLabel* lblN_;
    QLineEdit* txtStart_;
    QLineEdit* txtLenD_;
    QCheckBox* chkShow_;
    QScrollBar* scrNofC_;
    QLineEdit* txtNComp_;
    QLineEdit* txtLenS_;
    QLineEdit* txtMark_;
    QCheckBox* ckhAsc_;
    QCheckBox* chkMark_;
    QCheckBox* chkForComp_;
    QCheckBox* Check1_;
    QCheckBox* chkGContrSum_;
    QCheckBox* chkIdentData_;
    QCheckBox* chkAutoLen_;
};
