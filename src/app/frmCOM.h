#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QRadioButton;
class QScrollBar;
class Station;

// "Settings": port number or device, polling period and synchronisation mode.
// Changes take effect at once; Save makes the port and period last.
class frmCOM : public QDialog
{
    Q_OBJECT
public:
    explicit frmCOM(Station& st, QWidget* parent = nullptr);

    void scrCom_Change();
    void scrTime_Change();
    void optTime_Click();
    void optDevice_Click();
    void cmbPortName_Click();
    void cmdSave_Click();

private:
    void fillPortNames();

    Station& st_;
    QCheckBox* chkAllData_;
    QRadioButton* optTime_;
    QRadioButton* optDevice_;
    QScrollBar* scrTime_;
    QLabel* lblNTime_;
    QScrollBar* scrCom_;
    QLabel* lblNCom_;
    QComboBox* cmbPortName_;
};
