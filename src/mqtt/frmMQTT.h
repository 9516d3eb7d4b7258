#pragma once

#include "mqtt/MqttSettings.h"

#include <QDialog>

class QLineEdit;
class QSpinBox;
class MqttPublisher;

// Set > MQTT: the broker the station publishes to. OK writes the [MQTT]
// section of Tervala.ini and applies it to the publisher at once; an empty
// host turns publishing off. The password is shown as dots.
class frmMQTT : public QDialog
{
    Q_OBJECT
public:
    explicit frmMQTT(MqttPublisher& publisher, QWidget* parent = nullptr);

    MqttSettings settings() const;
    void accept() override;

private:
    MqttPublisher& publisher_;
    QLineEdit* txtHost_;
    QSpinBox* txtPort_;
    QLineEdit* txtTopic_;
    QLineEdit* txtClientId_;
    QLineEdit* txtUser_;
    QLineEdit* txtPassword_;
    QLineEdit* txtCAFile_;
};
