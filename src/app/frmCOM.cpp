#include "app/frmCOM.h"

#include "link/RunControl.h"
#include "link/frmSet.h"
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
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollBar>
#include <QSerialPortInfo>
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

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdFormat);
    buttons->addStretch();
    buttons->addWidget(cmdSave);
    buttons->addWidget(cmdClose);
    auto* lay = new QVBoxLayout(this);
    lay->addWidget(chkAllData_);
    lay->addWidget(framSyn);
    lay->addLayout(grid);
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
}

void frmCOM::cmbPortName_Click()
{
    st_.portName = cmbPortName_->currentData().toString();
    st_.applyPortSettings();
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
