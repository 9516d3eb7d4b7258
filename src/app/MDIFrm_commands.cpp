// The main frame's command panel: the maintenance command buttons, the
// device type, the send line and the zero position (Z-pos) with its toolbar
// keys "Z", "Z0", "ZT" and the menu item "&2ppmNow".
#include "app/MDIFrm.h"
#include "link/Maintenance.h"
#include "link/ProcessReply.h"
#include "link/ZeroCorrection.h"
#include "link/frmCUST.h"
#include "link/frmCalib.h"
#include "station/Notifier.h"
#include "station/Station.h"
#include "station/zep_cmnd.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStatusBar>
#include <QToolBar>

namespace {
const QColor kUnsent(255, 224, 192); // an edited zero position not sent yet
} // namespace

void MDIFrm::buildCommandPanel()
{
    QToolBar* panel = new QToolBar(QStringLiteral("Commands"), this);
    panel->setObjectName(QStringLiteral("cmdPanel"));
    addToolBarBreak();
    addToolBar(panel);
    // Each control is an item of the toolbar of its own, so that on a narrow
    // screen the ones that don't fit go into the toolbar's extension menu
    // instead of widening the frame past the screen.

    cmbType_ = new QComboBox(panel);
    cmbType_->setObjectName(QStringLiteral("cmbType"));
    cmbType_->setToolTip(QStringLiteral("Analyzer type"));
    panel->addWidget(cmbType_);

    const QStringList captions = zep_cmnd::buttonCaptions();
    for (int i = 0; i < captions.size(); ++i) {
        auto* b = new QPushButton(captions[i], panel);
        b->setObjectName(QStringLiteral("cmdCommands"));
        b->setProperty("Index", i);
        connect(b, &QPushButton::clicked, this, [this, i] { cmdCommands_Click(i); });
        cmdCommands_.append(b);
        panel->addWidget(b);
    }

    txtTo_ = new QLineEdit(panel);
    txtTo_->setObjectName(QStringLiteral("TxtTo"));
    txtTo_->setPlaceholderText(QStringLiteral("command to send"));
    txtTo_->setMinimumWidth(120);
    connect(txtTo_, &QLineEdit::returnPressed, this,
            [this] { Tbr1_ButtonClick(QStringLiteral("Send")); });
    panel->addWidget(txtTo_);

    auto* lblZ = new QLabel(QStringLiteral("Z-pos"), panel);
    lblZ->setObjectName(QStringLiteral("lblZ"));
    txtZ_ = new QLineEdit(QStringLiteral("0000"), panel);
    txtZ_->setObjectName(QStringLiteral("txtZ"));
    txtZ_->setMaxLength(4);
    txtZ_->setFixedWidth(52);
    txtZ_->setToolTip(QStringLiteral("Zero position to set with Z, in ppm x10"));
    lblZ->setBuddy(txtZ_);
    // Typing is checked; what the exchange fills in is not an edit.
    connect(txtZ_, &QLineEdit::textEdited, this, &MDIFrm::txtZ_Change);
    txtZR_ = new QLineEdit(panel);
    txtZR_->setObjectName(QStringLiteral("txtZR"));
    txtZR_->setReadOnly(true);
    txtZR_->setFixedWidth(52);
    txtZR_->setToolTip(QStringLiteral("Second value of the analyzer's last zero answer"));
    panel->addWidget(lblZ);
    panel->addWidget(txtZ_);
    panel->addWidget(txtZR_);

    connect(&st_, &Station::lineBusyChanged, this, &MDIFrm::updateCommandPanel);
}

void MDIFrm::buildZeroOffsetLabel()
{
    lblZeroOffset_ = new QLabel(statusBar());
    lblZeroOffset_->setObjectName(QStringLiteral("lblZeroOffset"));
    lblZeroOffset_->setToolTip(
        QStringLiteral("Zero position in force: subtracted from every reading"));
    statusBar()->addPermanentWidget(lblZeroOffset_);
    auto show = [this](int offset) {
        lblZeroOffset_->setText(QStringLiteral("Zero offset %1 ppm").arg(FormatVal(offset)));
    };
    connect(&st_, &Station::zeroChanged, this, show);
    show(st_.zeroOffset);
}

void MDIFrm::updateCommandPanel()
{
    const bool idle = !st_.commandBusy();
    QStringList captions;
    for (QPushButton* b : std::as_const(cmdCommands_))
        captions << b->text();
    // Stopping the stream and single readings make sense once the analyzer
    // has been heard from.
    const int gated[] = {zep_cmnd::FindCDATIndex(captions, QStringLiteral("CDAT?")),
                         zep_cmnd::FindCDATIndex(captions, QStringLiteral("DATA?"))};
    for (int i = 0; i < cmdCommands_.size(); ++i) {
        const bool needsData = i == gated[0] || i == gated[1];
        cmdCommands_[i]->setEnabled(idle && (!needsData || dataReceived_));
    }
    for (QWidget* w : {static_cast<QWidget*>(cmbType_), static_cast<QWidget*>(txtTo_),
                       static_cast<QWidget*>(txtZ_)})
        w->setEnabled(idle);
    for (const char* key : {"Run", "Stop", "Send", "Z", "Z0", "ZT"})
        keys_.value(QLatin1String(key))->setEnabled(idle);
    for (const char* item : {"mnuRun", "mnuStop", "mnu2ppmNow"})
        findChild<QAction*>(QLatin1String(item))->setEnabled(idle);
}

void MDIFrm::cmdCommands_Click(int index)
{
    const QString caption = cmdCommands_.value(index) ? cmdCommands_[index]->text() : QString();
    if (caption == QLatin1String("SET CUST")) {
        // The identifier dialog does its own exchange; the stream goes on meanwhile.
        if (!cust_)
            cust_ = new frmCUST(st_, this);
        cust_->show();
        cust_->raise();
        cust_->activateWindow();
        return;
    }
    if (caption == QLatin1String("CALIBR")) {
        // The concentration is asked before the port is touched, so readings
        // keep coming while the operator types it.
        frmCalib dlg(st_, this);
        calib_ = &dlg;
        dlg.exec();
        if (exiting_ || st_.calibrationConc.isEmpty())
            return;
    }
    if (deferredWhilePolled([this, index] { ::cmdCommands_Click(st_, index); }))
        return;
    ::cmdCommands_Click(st_, index);
}

bool MDIFrm::deferredWhilePolled(std::function<void()> again)
{
    if (!st_.lineBusy() || st_.commandBusy())
        return false;
    st_.whenLineFree(this, std::move(again));
    return true;
}

void MDIFrm::txtZ_Change()
{
    if (!ZEntryValid(txtZ_->text())) {
        st_.notifier().message(QStringLiteral("Bad Data"));
        txtZ_->clear();
    }
    QPalette p = txtZ_->palette();
    p.setColor(QPalette::Base, kUnsent);
    txtZ_->setPalette(p);
}

void MDIFrm::zeroButton(const QString& key)
{
    if (deferredWhilePolled([this, key] { zeroButton(key); }))
        return;
    if (!dataReceived_) {
        st_.notifier().message(QStringLiteral("Данные не получены"));
        txtZ_->setText(QStringLiteral("0000"));
        return;
    }
    if (key == QLatin1String("Z0"))
        txtZ_->setText(QStringLiteral("0000"));
    ZeroFields fields{txtZ_->text(), txtZR_->text()};
    if (key == QLatin1String("ZT")) {
        GetZParam(st_, fields);
    } else {
        QString echo;
        MakeZCorr(st_, fields, echo);
        txtZ_->setPalette(QPalette()); // the entry went out
    }
    txtZ_->setText(fields.z);
    txtZR_->setText(fields.companion);
}

void MDIFrm::mnu2ppmNow_Click()
{
    txtZ_->setText(QStringLiteral("20"));
    Tbr1_ButtonClick(QStringLiteral("Z"));
}
