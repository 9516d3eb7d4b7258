#include "fleet/frmBroker.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
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

frmBroker::frmBroker(const MqttSettings& current, QWidget* parent)
    : QDialog(parent), current_(current)
{
    setObjectName(QStringLiteral("frmBroker"));
    setWindowTitle(QStringLiteral("Control Room Broker"));
    txtHost_ = field(this, "txtHost", current.host);
    txtPort_ = new QSpinBox(this);
    txtPort_->setObjectName(QStringLiteral("txtPort"));
    txtPort_->setRange(0, 65535);
    txtPort_->setSpecialValueText(QStringLiteral("default (1883, TLS 8883)"));
    txtPort_->setValue(current.port);
    txtTopic_ = field(this, "txtTopic", current.topic);
    txtUser_ = field(this, "txtUser", current.user);
    txtPassword_ = field(this, "txtPassword", current.password);
    txtPassword_->setEchoMode(QLineEdit::Password);
    txtCAFile_ = field(this, "txtCAFile", current.caFile);
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
    form->addRow(QStringLiteral("&User:"), txtUser_);
    form->addRow(QStringLiteral("Pass&word:"), txtPassword_);
    form->addRow(QStringLiteral("CA &File:"), ca);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &frmBroker::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &frmBroker::reject);
    auto* top = new QVBoxLayout(this);
    top->addLayout(form);
    top->addWidget(buttons);
}

MqttSettings frmBroker::settings() const
{
    MqttSettings s = current_;
    s.host = txtHost_->text().trimmed();
    s.port = txtPort_->value();
    s.topic = txtTopic_->text().trimmed();
    if (s.topic.isEmpty())
        s.topic = MqttSettings().topic;
    s.user = txtUser_->text().trimmed();
    s.password = txtPassword_->text();
    s.caFile = txtCAFile_->text().trimmed();
    return s;
}

void frmBroker::accept()
{
    const MqttSettings s = settings();
    if (s.host.isEmpty() || s.topic.contains(QLatin1Char('#')) ||
        s.topic.contains(QLatin1Char('+'))) {
        QMessageBox::warning(this, windowTitle(),
                             QStringLiteral("The host is needed, and the topic may not hold # "
                                            "or +."));
        return;
    }
    if (!s.write())
        QMessageBox::warning(this, windowTitle(),
                             QStringLiteral("The settings file can't be written; the broker "
                                            "applies until the window closes."));
    QDialog::accept();
}
