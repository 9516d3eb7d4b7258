#pragma once

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QScrollBar;
class QSpinBox;
class Station;

// "Settings": port number or device, polling period and synchronisation mode.
// The device may be a local port or a serial device server on the network.
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
    void cmdNetUse_Click();
    void cmdSave_Click();

protected:
    void keyPressEvent(QKeyEvent* e) override;

private:
    void fillPortNames();
    // The kind of the port in force, and the device server fields for a network one.
    void showPort();

    Station& st_;
    QCheckBox* chkAllData_;
    QRadioButton* optTime_;
    QRadioButton* optDevice_;
    QScrollBar* scrTime_;
    QLabel* lblNTime_;
    QScrollBar* scrCom_;
    QLabel* lblNCom_;
    QComboBox* cmbPortName_;
    QLabel* lblPortKind_;
    QComboBox* cmbNetKind_;
    QLineEdit* txtNetHost_;
    QSpinBox* txtNetPort_;
    QPushButton* cmdNetUse_;
    QLabel* lblNetError_;
};
