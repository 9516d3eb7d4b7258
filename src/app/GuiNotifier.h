#pragma once

#include "station/Notifier.h"

#include <QHash>
#include <QList>
#include <QPointer>

class QLabel;
class QMessageBox;
class QWidget;

// Message boxes and status-bar panels for the windowed station.
class GuiNotifier : public Notifier
{
public:
    void setParentWindow(QWidget* w) { parent_ = w; }
    void setPanels(const QList<QLabel*>& panels);

    void message(const QString& text, Icon icon = Icon::None) override;
    int ask(const QString& text, int buttons, Icon icon = Icon::Question) override;
    void askLater(const QString& text, int buttons, const Answer& answered,
                  Icon icon = Icon::Question) override;
    void status(int panel, const QString& text) override;

    // The message boxes on screen (a text is shown once however often it comes).
    QList<QMessageBox*> openMessages() const;

private:
    QHash<QString, QPointer<QMessageBox>> open_;
    QPointer<QWidget> parent_;
    QList<QPointer<QLabel>> panels_;
};
