#include "app/GuiNotifier.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>

namespace {
QMessageBox::Icon boxIcon(Notifier::Icon icon)
{
    switch (icon) {
    case Notifier::Icon::Information:
        return QMessageBox::Information;
    case Notifier::Icon::Question:
        return QMessageBox::Question;
    case Notifier::Icon::Exclamation:
        return QMessageBox::Warning;
    case Notifier::Icon::Critical:
        return QMessageBox::Critical;
    case Notifier::Icon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

constexpr std::pair<int, QMessageBox::StandardButton> kButtons[] = {
    {Notifier::Ok, QMessageBox::Ok},       {Notifier::Cancel, QMessageBox::Cancel},
    {Notifier::Yes, QMessageBox::Yes},     {Notifier::No, QMessageBox::No},
    {Notifier::Retry, QMessageBox::Retry},
};
} // namespace

void GuiNotifier::setPanels(const QList<QLabel*>& panels)
{
    panels_.clear();
    for (QLabel* l : panels)
        panels_.append(l);
}

void GuiNotifier::message(const QString& text, Icon icon)
{
    // Shown without waiting for OK: a message raised on the reading path must
    // not hold up the readings behind it. The same text already on screen is
    // brought forward instead of stacking a second box.
    if (QPointer<QMessageBox> open = open_.value(text)) {
        open->raise();
        return;
    }
    auto* box = new QMessageBox(boxIcon(icon), QApplication::applicationDisplayName(), text,
                                QMessageBox::Ok, parent_);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    open_.insert(text, box);
    QObject::connect(box, &QObject::destroyed, box, [this, text] { open_.remove(text); });
    box->show();
}

QList<QMessageBox*> GuiNotifier::openMessages() const
{
    QList<QMessageBox*> out;
    for (const QPointer<QMessageBox>& b : open_) {
        if (b)
            out << b;
    }
    return out;
}

namespace {
QMessageBox::StandardButtons boxButtons(int buttons)
{
    QMessageBox::StandardButtons std;
    for (const auto& [ours, theirs] : kButtons) {
        if (buttons & ours)
            std |= theirs;
    }
    return std;
}

// The button chosen; a box closed otherwise (Esc, the close box) counts as
// Cancel when offered.
int ourButton(int chosen, int buttons)
{
    for (const auto& [ours, theirs] : kButtons) {
        if (chosen == theirs)
            return ours;
    }
    return (buttons & Notifier::Cancel) ? Notifier::Cancel : Notifier::Ok;
}
} // namespace

int GuiNotifier::ask(const QString& text, int buttons, Icon icon)
{
    QMessageBox box(boxIcon(icon), QApplication::applicationDisplayName(), text,
                    boxButtons(buttons), parent_);
    return ourButton(box.exec(), buttons);
}

void GuiNotifier::askLater(const QString& text, int buttons, const Answer& answered, Icon icon)
{
    auto* box = new QMessageBox(boxIcon(icon), QApplication::applicationDisplayName(), text,
                                boxButtons(buttons), parent_);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    QObject::connect(box, &QMessageBox::finished, box, [box, answered, buttons] {
        answered(ourButton(box->standardButton(box->clickedButton()), buttons));
    });
    box->show();
}

void GuiNotifier::status(int panel, const QString& text)
{
    if (panel >= 0 && panel < panels_.size() && panels_[panel])
        panels_[panel]->setText(text);
}
