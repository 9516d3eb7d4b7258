#pragma once

#include "fleet/SiteModel.h"

#include <QWidget>

class QCheckBox;
class QPushButton;
class QTreeWidget;

// The alarms of all stations, newest first: time, station, channel, level,
// raised or cleared (and whether the broker kept it from before the
// connection), acknowledged. Acknowledge marks the chosen ones (here only:
// nothing goes back to the stations); "unacknowledged only" hides the rest.
class SiteAlarms : public QWidget
{
    Q_OBJECT
public:
    explicit SiteAlarms(SiteModel& model, QWidget* parent = nullptr);

    static QString levelText(SiteModel::Level level);
    static QString stateText(const SiteModel::Alarm& a);

    QTreeWidget* list() const { return lstAlarms_; }

private:
    void fill();
    void acknowledgeChosen();

    SiteModel& model_;
    QTreeWidget* lstAlarms_;
    QPushButton* cmdAcknowledge_;
    QCheckBox* chkUnacknowledged_;
};
