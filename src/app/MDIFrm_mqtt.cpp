// The main frame's part in the broker: the publisher, its status-bar label,
// the settings dialog, and the control room.
#include "app/MDIFrm.h"
#include "fleet/frmControlRoom.h"
#include "mqtt/MqttPublisher.h"
#include "mqtt/frmMQTT.h"
#include "station/Station.h"

#include <QLabel>
#include <QStatusBar>

void MDIFrm::buildPublisher()
{
    publisher_ = new MqttPublisher(st_, this);
    lblMqtt_ = new QLabel(statusBar());
    lblMqtt_->setObjectName(QStringLiteral("lblMqtt"));
    lblMqtt_->hide();
    statusBar()->addPermanentWidget(lblMqtt_);
    connect(publisher_, &MqttPublisher::stateChanged, lblMqtt_, [this](const QString& text) {
        // The state in short ("MQTT: lost 10.0.0.5:1883 at 14:05:09"); the
        // whole text, with the reason, in the tip.
        QString brief = text.section(QLatin1Char(';'), 0, 0);
        if (const qsizetype reason = brief.lastIndexOf(QLatin1String(" ("));
            reason > 0 && brief.endsWith(QLatin1Char(')')) &&
            !brief.endsWith(QLatin1String("(TLS)")))
            brief.truncate(reason);
        lblMqtt_->setText(brief);
        lblMqtt_->setToolTip(text);
        lblMqtt_->setVisible(!text.isEmpty());
    });
    publisher_->apply(MqttSettings::read());
}

void MDIFrm::mnuMQTT_Click()
{
    frmMQTT dialog(*publisher_, this);
    dialog.exec();
}

void MDIFrm::mnuControlRoom_Click()
{
    if (!controlRoom_) {
        // A window of its own beside the frame, not a child in its MDI area:
        // it is watched on another screen as often as not.
        auto* room = new frmControlRoom(st_.notifier());
        room->connectBroker(MqttSettings::read());
        controlRoom_ = room;
    }
    controlRoom_->show();
    controlRoom_->raise();
    controlRoom_->activateWindow();
}
