#include "alarms/AlarmWindows.h"

#include "display/frmVal.h"
#include "recording/frmComment.h"

AlarmWindows::AlarmWindows(AlarmCheck& check, frmVal* value, frmComment* comment, QObject* parent)
    : QObject(parent), check_(&check), value_(value), comment_(comment)
{
    if (comment_) {
        connect(comment_, &frmComment::okPressed, &check, &AlarmCheck::acknowledge);
        connect(comment_, &frmComment::unloaded, &check, &AlarmCheck::commentUnloaded);
    }
    check.setView(this);
}

AlarmWindows::~AlarmWindows()
{
    if (!check_)
        return;
    if (check_->view() == this)
        check_->setView(nullptr);
    if (comment_)
        disconnect(comment_, nullptr, check_, nullptr);
}

void AlarmWindows::beep()
{
    beeper_.beep();
}

void AlarmWindows::setValueColor(int colorNumber)
{
    if (value_)
        value_->setBackColor(colorNumber);
}

void AlarmWindows::showComment()
{
    if (!comment_)
        return;
    // It comes to the front without taking the keyboard from what the
    // operator is typing elsewhere.
    comment_->setAttribute(Qt::WA_ShowWithoutActivating);
    comment_->show();
    comment_->raise();
}

void AlarmWindows::setMessage(const QString& text)
{
    if (comment_)
        comment_->setMessage(text);
}
