#include "link/frmCUST.h"

#include "link/Maintenance.h"
#include "station/Station.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

frmCUST::frmCUST(Station& st, QWidget* parent) : QDialog(parent), st_(st)
{
    setObjectName(QStringLiteral("frmCUST"));
    setWindowTitle(QStringLiteral("CUSTOMER ID"));
    setMinimumWidth(360); // the caption stays readable
    txtCUSTN_ = new QLineEdit(this);
    txtCUSTN_->setObjectName(QStringLiteral("txtCUSTN"));
    txtCUSTN_->setMaxLength(kUserIdLen);
    txtNewID_ = new QLineEdit(this);
    txtNewID_->setObjectName(QStringLiteral("txtNewID"));
    txtNewID_->setReadOnly(true);
    auto* lblCust = new QLabel(QStringLiteral("CUST ID ="), this);
    lblCust->setBuddy(txtCUSTN_);
    auto* lblNew = new QLabel(QStringLiteral("NEW ID ="), this);
    auto* cmdSet = new QPushButton(QStringLiteral("&Set"), this);
    cmdSet->setObjectName(QStringLiteral("cmdSet"));
    cmdSet->setDefault(true);
    auto* cmdOK = new QPushButton(QStringLiteral("Close"), this);
    cmdOK->setObjectName(QStringLiteral("cmdOK"));

    // A fixed-pitch face shows the identifier's blanks as they are stored.
    QFont mono(QStringLiteral("monospace"));
    mono.setStyleHint(QFont::TypeWriter);
    txtCUSTN_->setFont(mono);
    txtNewID_->setFont(mono);

    auto* lay = new QGridLayout(this);
    lay->addWidget(lblCust, 0, 0);
    lay->addWidget(txtCUSTN_, 0, 1);
    lay->addWidget(lblNew, 1, 0);
    lay->addWidget(txtNewID_, 1, 1);
    lay->addWidget(cmdSet, 2, 0);
    lay->addWidget(cmdOK, 2, 1);

    connect(cmdSet, &QPushButton::clicked, this, &frmCUST::cmdSet_Click);
    connect(cmdOK, &QPushButton::clicked, this, &QDialog::close);
}

void frmCUST::cmdSet_Click()
{
    const QString id = txtCUSTN_->text();
    if (id.isEmpty())
        return;
    txtCUSTN_->setText(QStringLiteral("Wait..."));
    setEnabled(false);
    const UserIdResult r = WriteUserId(st_, id);
    setEnabled(true);
    if (r.timedOut)
        txtNewID_->setText(QStringLiteral("Time Out"));
    else if (!r.refused && !r.sent.isEmpty())
        txtNewID_->setText(r.readBack);
    txtCUSTN_->setText(id);
}
