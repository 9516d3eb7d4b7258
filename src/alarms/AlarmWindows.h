#pragma once

#include "alarms/AlarmCheck.h"
#include "alarms/Beeper.h"

#include <QObject>
#include <QPointer>

class frmComment;
class frmVal;

// The alarm check's view in the windowed station: the beeper, the value
// window's back colour, and the comment window, whose OK and unloading clear
// the check's flags.
//   AlarmWindows screen(alarms, frame.valueWindow(), comment);
// Either window may be missing or go away.
class AlarmWindows : public QObject, public AlarmView
{
    Q_OBJECT
public:
    AlarmWindows(AlarmCheck& check, frmVal* value, frmComment* comment, QObject* parent = nullptr);
    ~AlarmWindows() override;

    Beeper& beeper() { return beeper_; }

    void beep() override;
    void setValueColor(int colorNumber) override;
    void showComment() override;
    void setMessage(const QString& text) override;

private:
    QPointer<AlarmCheck> check_;
    QPointer<frmVal> value_;
    QPointer<frmComment> comment_;
    Beeper beeper_;
};
