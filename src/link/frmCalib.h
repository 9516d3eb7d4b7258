#pragma once

#include <QDialog>

class QLineEdit;
class QPushButton;
class Station;

// "Gas Concentration": the concentration of the calibration gas that "CALB"
// then carries. Enter stores it (with "," sent as "."), Cancel clears it.
class frmCalib : public QDialog
{
    Q_OBJECT
public:
    explicit frmCalib(Station& st, QWidget* parent = nullptr);

    void txtConc_Change();
    void cmdEnter_Click();
    void cmdEnd_Click();

private:
    Station& st_;
    QLineEdit* txtConc_ = nullptr;
    QPushButton* cmdEnter_ = nullptr;
};
