#include "app/frmCOM.h"

#include "link/RunControl.h"
#include "link/frmSet.h"
#include "net/PortAddress.h"
#include "station/IniFile.h"
#include "station/SettingsKeys.h"
#include "station/Station.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHash>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollBar>
#include <QSerialPortInfo>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {
QScrollBar* numberBar(QWidget* parent, const char* name, int min, int max, int value)
{
    auto* s = new QScrollBar(Qt::Vertical, parent);
    s->setObjectName(QLatin1String(name));
    s->setRange(min, max);
    s->setValue(value);
    s->setInvertedAppearance(true); // the upper arrow counts up
    s->setFixedHeight(40);
    return s;
}
} // namespace

frmCOM::frmCOM(Station& st, QWidget* parent) : QDialog(parent), st_(st)
{
    setObjectName(QStringLiteral("frmCOM"));
    setWindowTitle(QStringLiteral("Settings"));

    chkAllData_ = new QCheckBox(QStringLiteral("Full Data To File"), this);
    chkAllData_->setObjectName(QStringLiteral("chkAllData"));
    chkAllData_->setChecked(st_.fullDataToFile);
    connect(chkAllData_, &QCheckBox::clicked, this,
            [this] { st_.fullDataToFile = chkAllData_->isChecked(); });

    auto* framSyn = new QGroupBox(QStringLiteral("Synchro Mode"), this);
    framSyn->setObjectName(QStringLiteral("framSyn"));
    optTime_ = new QRadioButton(QStringLiteral("From Timer"), framSyn);
    optTime_->setObjectName(QStringLiteral("optTime"));
    optDevice_ = new QRadioButton(QStringLiteral("From Device"), framSyn);
    optDevice_->setObjectName(QStringLiteral("optDevice"));
    auto* synLay = new QVBoxLayout(framSyn);
    synLay->addWidget(optTime_);
    synLay->addWidget(optDevice_);

    scrTime_ = numberBar(this, "scrTime", 1, 30, st_.timerPeriod);
    lblNTime_ = new QLabel(QString::number(st_.timerPeriod), this);
    lblNTime_->setObjectName(QStringLiteral("lblNTime"));
    scrCom_ = numberBar(this, "scrCom", 1, 6, qBound(1, st_.ncom, 6));
    lblNCom_ = new QLabel(QString::number(st_.ncom), this);
    lblNCom_->setObjectName(QStringLiteral("lblNCom"));

    cmbPortName_ = new QComboBox(this);
    cmbPortName_->setObjectName(QStringLiteral("cmbPortName"));
    fillPortNames();
    lblPortKind_ = new QLabel(this);
    lblPortKind_->setObjectName(QStringLiteral("lblPortKind"));

    // A line behind a serial device server: raw TCP or telnet with the COM
    // port option, at HOST:PORT.
    auto* framNet = new QGroupBox(QStringLiteral("Device server"), this);
    framNet->setObjectName(QStringLiteral("framNet"));
    cmbNetKind_ = new QComboBox(framNet);
    cmbNetKind_->setObjectName(QStringLiteral("cmbNetKind"));
    cmbNetKind_->addItem(QStringLiteral("Raw TCP"), int(PortAddress::Kind::RawTcp));
    cmbNetKind_->addItem(QStringLiteral("RFC 2217"), int(PortAddress::Kind::Rfc2217));
    txtNetHost_ = new QLineEdit(framNet);
    txtNetHost_->setObjectName(QStringLiteral("txtNetHost"));
    txtNetHost_->setPlaceholderText(QStringLiteral("name or address"));
    txtNetPort_ = new QSpinBox(framNet);
    txtNetPort_->setObjectName(QStringLiteral("txtNetPort"));
    txtNetPort_->setRange(1, 65535);
    txtNetPort_->setValue(4001);
    cmdNetUse_ = new QPushButton(QStringLiteral("&Use"), framNet);
    cmdNetUse_->setObjectName(QStringLiteral("cmdNetUse"));
    lblNetError_ = new QLabel(framNet);
    lblNetError_->setObjectName(QStringLiteral("lblNetError"));
    lblNetError_->setWordWrap(true);
    lblNetError_->hide();
    auto* netLay = new QGridLayout(framNet);
    auto* lblNetKind = new QLabel(QStringLiteral("&Kind"), framNet);
    lblNetKind->setBuddy(cmbNetKind_);
    netLay->addWidget(lblNetKind, 0, 0);
    netLay->addWidget(cmbNetKind_, 0, 1, 1, 2);
    auto* lblNetHost = new QLabel(QStringLiteral("&Host"), framNet);
    lblNetHost->setBuddy(txtNetHost_);
    netLay->addWidget(lblNetHost, 1, 0);
    netLay->addWidget(txtNetHost_, 1, 1, 1, 2);
    auto* lblNetPort = new QLabel(QStringLiteral("&Port"), framNet);
    lblNetPort->setBuddy(txtNetPort_);
    netLay->addWidget(lblNetPort, 2, 0);
    netLay->addWidget(txtNetPort_, 2, 1);
    netLay->addWidget(cmdNetUse_, 2, 2);
    netLay->addWidget(lblNetError_, 3, 0, 1, 3);
    showPort();

    auto* cmdSave = new QPushButton(QStringLiteral("Save"), this);
    cmdSave->setObjectName(QStringLiteral("cmdSave"));
    auto* cmdFormat = new QPushButton(QStringLiteral("Data &Format..."), this);
    cmdFormat->setObjectName(QStringLiteral("cmdFormat"));
    cmdFormat->setToolTip(QStringLiteral("Layout of the analyzer's records"));
    auto* cmdClose = new QPushButton(QStringLiteral("Close"), this);
    cmdClose->setObjectName(QStringLiteral("cmdClose"));
    cmdClose->setDefault(true);

    auto* grid = new QGridLayout;
    auto* lblTime = new QLabel(QStringLiteral("Time Selection (sec)"), this);
    lblTime->setObjectName(QStringLiteral("lblTime"));
    lblTime->setBuddy(scrTime_);
    grid->addWidget(lblTime, 0, 0);
    grid->addWidget(lblNTime_, 0, 1);
    grid->addWidget(scrTime_, 0, 2);
    auto* lblCom = new QLabel(QStringLiteral("COM Port Selection"), this);
    lblCom->setBuddy(scrCom_);
    grid->addWidget(lblCom, 1, 0);
    grid->addWidget(lblNCom_, 1, 1);
    grid->addWidget(scrCom_, 1, 2);
    auto* lblDevice = new QLabel(QStringLiteral("Device"), this);
    lblDevice->setBuddy(cmbPortName_);
    grid->addWidget(lblDevice, 2, 0);
    grid->addWidget(cmbPortName_, 2, 1, 1, 2);
    grid->addWidget(lblPortKind_, 3, 1, 1, 2);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdFormat);
    buttons->addStretch();
    buttons->addWidget(cmdSave);
    buttons->addWidget(cmdClose);
    auto* lay = new QVBoxLayout(this);
    lay->addWidget(chkAllData_);
    lay->addWidget(framSyn);
    lay->addLayout(grid);
    lay->addWidget(framNet);
    lay->addLayout(buttons);

    if (st_.synchroFromTimer)
        optTime_->setChecked(true);
    else
        optDevice_->setChecked(true);
    scrTime_->setEnabled(st_.synchroFromTimer);
    lblNTime_->setEnabled(st_.synchroFromTimer);

    connect(scrTime_, &QScrollBar::valueChanged, this, &frmCOM::scrTime_Change);
    connect(scrCom_, &QScrollBar::valueChanged, this, &frmCOM::scrCom_Change);
    connect(optTime_, &QRadioButton::clicked, this, &frmCOM::optTime_Click);
    connect(optDevice_, &QRadioButton::clicked, this, &frmCOM::optDevice_Click);
    connect(cmbPortName_, &QComboBox::activated, this, &frmCOM::cmbPortName_Click);
    connect(cmdNetUse_, &QPushButton::clicked, this, &frmCOM::cmdNetUse_Click);
    connect(cmdSave, &QPushButton::clicked, this, &frmCOM::cmdSave_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::accept);
    connect(cmdFormat, &QPushButton::clicked, this, [this] {
        frmSet dlg(st_, this);
        // A layout applied with auto-detection on is measured on the live stream.
        if (dlg.exec() == QDialog::Accepted && st_.format.autoLength && st_.running)
            DetectFrame(st_, true);
    });

    adjustSize();
    if (const QScreen* s = screen()) {
        const QRect r = s->availableGeometry();
        move(r.x() + (r.width() - width()) / 2, r.y() + (r.height() - height()) / 2);
    }
}

void frmCOM::fillPortNames()
{
    cmbPortName_->addItem(QStringLiteral("By COM number"), QString());
    if (!st_.simulatorTty.isEmpty())
        cmbPortName_->addItem(QStringLiteral("Simulator (%1)").arg(st_.simulatorTty),
                              st_.simulatorTty);
    // The stable names the system gives USB adapters: a by-id name stays the
    // same when the adapter comes back as another ttyUSBn, so the station
    // finds it again after an unplug.
    QHash<QString, QString> byId;
    const QDir ids(QStringLiteral("/dev/serial/by-id"));
    for (const QFileInfo& f : ids.entryInfoList(QDir::System | QDir::Files | QDir::NoDotAndDotDot))
        byId.insert(f.canonicalFilePath(), f.absoluteFilePath());
    for (const QSerialPortInfo& info : QSerialPortInfo::availablePorts()) {
        if (const QString stable = byId.value(info.systemLocation()); !stable.isEmpty())
            cmbPortName_->addItem(QStringLiteral("%1 (%2)").arg(stable, info.systemLocation()),
                                  stable);
        const QString text =
            info.description().isEmpty()
                ? info.systemLocation()
                : QStringLiteral("%1 (%2)").arg(info.systemLocation(), info.description());
        cmbPortName_->addItem(text, info.systemLocation());
    }
    if (!st_.portName.isEmpty()) {
        int i = cmbPortName_->findData(st_.portName);
        if (i < 0) {
            cmbPortName_->addItem(st_.portName, st_.portName);
            i = cmbPortName_->count() - 1;
        }
        cmbPortName_->setCurrentIndex(i);
    }
}

void frmCOM::scrTime_Change()
{
    st_.timerPeriod = scrTime_->value();
    lblNTime_->setText(QString::number(st_.timerPeriod));
    if (st_.HTmr.isActive())
        st_.HTmr.setInterval(st_.timerPeriod * 1000);
}

void frmCOM::scrCom_Change()
{
    st_.ncom = scrCom_->value();
    lblNCom_->setText(QString::number(st_.ncom));
    // A COM number chosen here means the numbered port, not a named device.
    st_.portName.clear();
    cmbPortName_->setCurrentIndex(0);
    st_.applyPortSettings();
    showPort();
}

void frmCOM::cmbPortName_Click()
{
    st_.portName = cmbPortName_->currentData().toString();
    st_.applyPortSettings();
    showPort();
}

void frmCOM::cmdNetUse_Click()
{
    PortAddress a;
    a.kind = PortAddress::Kind(cmbNetKind_->currentData().toInt());
    a.host = txtNetHost_->text().trimmed();
    // An IPv6 address typed with its brackets: the name gets them once. A
    // bracketed host without a colon stays as typed and is refused below.
    if (a.host.startsWith(u'[') && a.host.endsWith(u']') && a.host.contains(u':'))
        a.host = a.host.mid(1, a.host.size() - 2);
    a.port = quint16(txtNetPort_->value());
    PortAddress checked;
    QString error;
    if (!PortAddress::parse(a.toString(), &checked, &error)) {
        lblNetError_->setText(error);
        lblNetError_->show();
        return;
    }
    // Chosen as if it were picked from the list of devices.
    const QString name = checked.toString();
    int i = cmbPortName_->findData(name);
    if (i < 0) {
        cmbPortName_->addItem(name, name);
        i = cmbPortName_->count() - 1;
    }
    cmbPortName_->setCurrentIndex(i);
    cmbPortName_Click();
}

void frmCOM::showPort()
{
    PortAddress a;
    QString error;
    if (!PortAddress::parse(st_.portName, &a, &error)) {
        lblPortKind_->setText(QStringLiteral("Unusable port name"));
        lblNetError_->setText(error);
        lblNetError_->show();
        return;
    }
    lblNetError_->clear();
    lblNetError_->hide();
    switch (a.kind) {
    case PortAddress::Kind::Local:
        lblPortKind_->setText(QStringLiteral("Local port"));
        return;
    case PortAddress::Kind::RawTcp:
        lblPortKind_->setText(QStringLiteral("Raw TCP (device server)"));
        break;
    case PortAddress::Kind::Rfc2217:
        lblPortKind_->setText(QStringLiteral("RFC 2217 (device server)"));
        break;
    }
    cmbNetKind_->setCurrentIndex(cmbNetKind_->findData(int(a.kind)));
    txtNetHost_->setText(a.host);
    txtNetPort_->setValue(a.port);
}

void frmCOM::keyPressEvent(QKeyEvent* e)
{
    // Return in the device server's host or port uses that address; it
    // would otherwise close the dialog through its default button.
    const bool enter = e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter;
    if (enter && (txtNetHost_->hasFocus() || txtNetPort_->hasFocus())) {
        cmdNetUse_Click();
        return;
    }
    QDialog::keyPressEvent(e);
}

void frmCOM::optTime_Click()
{
    st_.HTmr.setInterval(scrTime_->value() * 1000);
    st_.HTmr.start();
    scrTime_->setEnabled(true);
    lblNTime_->setEnabled(true);
    st_.synchroFromTimer = true;
}

void frmCOM::optDevice_Click()
{
    st_.HTmr.stop();
    st_.HTmr.setInterval(0);
    scrTime_->setEnabled(false);
    lblNTime_->setEnabled(false);
    st_.synchroFromTimer = false;
}

void frmCOM::cmdSave_Click()
{
    const QString file = QLatin1String(Ini::File);
    WriteIni(QLatin1String(Ini::SecComPorts), QLatin1String(Ini::NCOM), QString::number(st_.ncom),
             file);
    WriteIni(QLatin1String(Ini::SecInterval), QLatin1String(Ini::TIMER),
             QString::number(scrTime_->value()), file);
    WriteIni(QLatin1String(Ini::SecComPorts), QLatin1String(Ini::PortName), st_.portName, file);
}
