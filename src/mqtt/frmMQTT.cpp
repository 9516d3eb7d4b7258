#include "mqtt/frmMQTT.h"

#include "mqtt/MqttPublisher.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {
QLineEdit* field(QWidget* parent, const char* name, const QString& text)
{
    auto* e = new QLineEdit(text, parent);
    e->setObjectName(QLatin1String(name));
    return e;
}
} // namespace

frmMQTT::frmMQTT(MqttPublisher& publisher, QWidget* parent) : QDialog(parent), publisher_(publisher)
{
    setObjectName(QStringLiteral("frmMQTT"));
    setWindowTitle(QStringLiteral("MQTT Publishing"));
    const MqttSettings s = MqttSettings::read();

    txtHost_ = field(this, "txtHost", s.host);
    txtHost_->setPlaceholderText(QStringLiteral("empty: not publishing"));
    txtPort_ = new QSpinBox(this);
    txtPort_->setObjectName(QStringLiteral("txtPort"));
    txtPort_->setRange(0, 65535);
    txtPort_->setSpecialValueText(QStringLiteral("default (1883, TLS 8883)"));
    txtPort_->setValue(s.port);
    txtTopic_ = field(this, "txtTopic", s.topic);
    txtClientId_ = field(this, "txtClientId", s.clientId);
    txtClientId_->setPlaceholderText(s.effectiveClientId());
    txtUser_ = field(this, "txtUser", s.user);
    txtPassword_ = field(this, "txtPassword", s.password);
    txtPassword_->setEchoMode(QLineEdit::Password);
    txtCAFile_ = field(this, "txtCAFile", s.caFile);
    txtCAFile_->setPlaceholderText(QStringLiteral("empty: no TLS"));
    auto* cmdBrowse = new QPushButton(QStringLiteral("..."), this);
    cmdBrowse->setObjectName(QStringLiteral("cmdBrowse"));
    connect(cmdBrowse, &QPushButton::clicked, this, [this] {
        const QString f = QFileDialog::getOpenFileName(this, QStringLiteral("CA Certificate"),
                                                       txtCAFile_->text());
        if (!f.isEmpty())
            txtCAFile_->setText(f);
    });
    auto* ca = new QHBoxLayout;
    ca->addWidget(txtCAFile_, 1);
    ca->addWidget(cmdBrowse);

    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("&Host:"), txtHost_);
    form->addRow(QStringLiteral("&Port:"), txtPort_);
    form->addRow(QStringLiteral("&Topic:"), txtTopic_);
    form->addRow(QStringLiteral("&Client ID:"), txtClientId_);
    form->addRow(QStringLiteral("&User:"), txtUser_);
    form->addRow(QStringLiteral("Pass&word:"), txtPassword_);
    form->addRow(QStringLiteral("CA &File:"), ca);

    auto* state = new QLabel(publisher.stateText(), this);
    state->setObjectName(QStringLiteral("lblState"));
    state->setWordWrap(true);
    connect(&publisher, &MqttPublisher::stateChanged, state, &QLabel::setText);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &frmMQTT::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &frmMQTT::reject);

    auto* top = new QVBoxLayout(this);
    top->addLayout(form);
    top->addWidget(state);
    top->addWidget(buttons);
}

MqttSettings frmMQTT::settings() const
{
    MqttSettings s;
    s.host = txtHost_->text().trimmed();
    s.port = txtPort_->value();
    s.topic = txtTopic_->text().trimmed();
    if (s.topic.isEmpty())
        s.topic = MqttSettings().topic;
    s.clientId = txtClientId_->text().trimmed();
    s.user = txtUser_->text().trimmed();
    s.password = txtPassword_->text();
    s.caFile = txtCAFile_->text().trimmed();
    return s;
}

void frmMQTT::accept()
{
    const MqttSettings s = settings();
    if (s.topic.contains(QLatin1Char('#')) || s.topic.contains(QLatin1Char('+')) ||
        s.clientId.contains(QLatin1Char('/'))) {
        QMessageBox::warning(this, windowTitle(),
                             QStringLiteral("The topic may not hold # or +, nor the client ID /."));
        return;
    }
    if (!s.write())
        QMessageBox::warning(this, windowTitle(),
                             QStringLiteral("The settings file can't be written; the settings "
                                            "apply until the station ends."));
    publisher_.apply(s);
    QDialog::accept();
}
