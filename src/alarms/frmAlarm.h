#pragma once

#include <QDialog>

class QLineEdit;
class Station;

// "Set Alarm": the two alarm thresholds in ppm x10. Every change of a box is
// checked character by character (codes 47..57 pass, anything else is "Bad
// Data" and clears the box). cmdOK stores whole numbers as Limit1/Limit2 and
// moves the limit lines of the main graph and the first added graph; the
// thresholds reach the settings file with the next save of all settings.
//   frmAlarm dlg(st, frame);  dlg.exec();      // menu Set → Alarm (mnuAlarm)
class frmAlarm : public QDialog
{
    Q_OBJECT
public:
    explicit frmAlarm(Station& st, QWidget* parent = nullptr);

    void txtAlarm_Change(QLineEdit* box);
    void cmdOK_Click();

private:
    Station& st_;
    QLineEdit* txtAlarm1_;
    QLineEdit* txtAlarm2_;
};
