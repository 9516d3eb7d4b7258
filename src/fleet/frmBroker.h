#pragma once

#include "mqtt/MqttSettings.h"

#include <QDialog>

class QLineEdit;
class QSpinBox;

// The control room's broker: host, port, base topic, user, password and the
// TLS CA file of the [MQTT] section. OK writes them back there, so the
// station and the control room on one PC watch the same broker.
class frmBroker : public QDialog
{
    Q_OBJECT
public:
    explicit frmBroker(const MqttSettings& current, QWidget* parent = nullptr);

    // The settings as edited, the client id kept from `current`.
    MqttSettings settings() const;
    void accept() override;

private:
    MqttSettings current_;
    QLineEdit* txtHost_;
    QSpinBox* txtPort_;
    QLineEdit* txtTopic_;
    QLineEdit* txtUser_;
    QLineEdit* txtPassword_;
    QLineEdit* txtCAFile_;
};
