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
    QMessageBox box(boxIcon(icon), QApplication::applicationDisplayName(), text, QMessageBox::Ok,
                    parent_);
    box.exec();
}

int GuiNotifier::ask(const QString& text, int buttons, Icon icon)
{
    QMessageBox::StandardButtons std;
    for (const auto& [ours, theirs] : kButtons) {
        if (buttons & ours)
            std |= theirs;
    }
    QMessageBox box(boxIcon(icon), QApplication::applicationDisplayName(), text, std, parent_);
    const int chosen = box.exec();
    for (const auto& [ours, theirs] : kButtons) {
        if (chosen == theirs)
            return ours;
    }
    return (buttons & Cancel) ? Cancel : Ok;
}

void GuiNotifier::status(int panel, const QString& text)
{
    if (panel >= 0 && panel < panels_.size() && panels_[panel])
        panels_[panel]->setText(text);
}
