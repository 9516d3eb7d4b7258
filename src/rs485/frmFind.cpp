// The finder's window, its scan and the choice of a device.
#include "rs485/frmFind.h"

#include "rs485/AddressScan.h"
#include "rs485/LinePoller.h"
#include "rs485/mdRS485.h"
#include "station/IniFile.h"
#include "station/Notifier.h"
#include "station/SettingsKeys.h"
#include "station/Station.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QShowEvent>
#include <QTableWidget>
#include <QToolTip>
#include <QVBoxLayout>
#include <cmath>

namespace {
QString threeDigits(int n)
{
    return QString::number(n).rightJustified(3, QLatin1Char('0'));
}
} // namespace

frmFind::frmFind(Station& st, QWidget* parent) : QDialog(parent), st_(st)
{
    setObjectName(QStringLiteral("frmFind"));
    setWindowTitle(QStringLiteral("LAN RS-485"));
    setModal(false);
    tmr.setObjectName(QStringLiteral("tmr"));
    tmr.setSingleShot(true);
    tmr.setInterval(kTerminalWaitMs);
    connect(&tmr, &QTimer::timeout, this, &frmFind::tmr_Timer);

    auto* lay = new QGridLayout(this);
    lay->addWidget(buildFinder(), 0, 0);
    lay->addWidget(buildTerminal(), 1, 0);
    lay->addWidget(buildGraphs(), 0, 1);
    lay->addWidget(buildStats(), 1, 1);

    connect(&st_, &Station::runningChanged, this, &frmFind::showState);
    connect(&st_, &Station::rs485ModeChanged, chkLine_, &QCheckBox::setChecked);
    // Counts change with every exchange; the table is refreshed a few times a second.
    statsRefresh_.setSingleShot(true);
    statsRefresh_.setInterval(250);
    connect(&statsRefresh_, &QTimer::timeout, this, &frmFind::showStats);
    connect(&LinePoller::of(st_), &LinePoller::statsChanged, this, [this] {
        if (!statsRefresh_.isActive())
            statsRefresh_.start();
    });
    // No button of the finder answers Return: a stray Return would start a
    // scan of several minutes.
    for (QPushButton* b : findChildren<QPushButton*>()) {
        b->setAutoDefault(false);
        b->setDefault(false);
    }
    showState();
}

QWidget* frmFind::buildFinder()
{
    auto* box = new QGroupBox(QStringLiteral("Devices"), this);
    cmdScanDev_ = new QPushButton(QStringLiteral("Find Devices"), box);
    cmdScanDev_->setObjectName(QStringLiteral("cmdScanDev"));
    cmdStop_ = new QPushButton(QStringLiteral("Stop Scan Addr"), box);
    cmdStop_->setObjectName(QStringLiteral("cmdStop"));
    PBar_ = new QProgressBar(box);
    PBar_->setObjectName(QStringLiteral("PBar"));
    PBar_->setRange(0, 255);
    PBar_->setValue(0);
    lblAddr_ = new QLabel(QStringLiteral("000"), box);
    lblAddr_->setObjectName(QStringLiteral("lblAddr"));
    cmbDevices_ = new QComboBox(box);
    cmbDevices_->setObjectName(QStringLiteral("cmbDevices"));
    cmbDevices_->setEditable(true);
    cmbDevices_->setInsertPolicy(QComboBox::NoInsert);
    cmbDevices_->setMinimumWidth(220);
    auto* lblList = new QLabel(QStringLiteral("Select Device from List "), box);
    lblList->setBuddy(cmbDevices_);

    auto* g = new QGridLayout(box);
    g->addWidget(cmdScanDev_, 0, 0);
    g->addWidget(cmdStop_, 0, 1);
    g->addWidget(PBar_, 1, 0, 1, 2);
    g->addWidget(new QLabel(QStringLiteral("Current Address:"), box), 2, 0);
    g->addWidget(lblAddr_, 2, 1);
    g->addWidget(lblList, 3, 0, 1, 2);
    g->addWidget(new QLabel(QStringLiteral("Address and SN:"), box), 4, 0, 1, 2);
    g->addWidget(cmbDevices_, 5, 0, 1, 2);

    connect(cmdScanDev_, &QPushButton::clicked, this, &frmFind::cmdScanDev_Click);
    connect(cmdStop_, &QPushButton::clicked, this, &frmFind::cmdStop_Click);
    connect(cmbDevices_, &QComboBox::activated, this, &frmFind::cmbDevices_Click);
    connect(cmbDevices_->lineEdit(), &QLineEdit::textEdited, this, [this] {
        const QString hint = QStringLiteral("You can select UNDO by right mouse Button");
        st_.notifier().status(0, hint);
        QToolTip::showText(cmbDevices_->mapToGlobal(QPoint(0, cmbDevices_->height())), hint,
                           cmbDevices_);
    });
    return box;
}

void frmFind::cmdScanDev_Click()
{
    st_.stopScan = false;
    scanning_ = true;
    showState();
    cmbDevices_->clear();
    cmbDevicesA_->clear();
    cmbComand_->clear();
    st_.polled.fill(false);
    PBar_->setRange(scanFirst, scanLast);
    PBar_->setValue(scanFirst);
    ScanHooks hooks;
    hooks.visiting = [this](int address) {
        PBar_->setValue(address);
        lblAddr_->setText(threeDigits(address));
    };
    hooks.found = [this](int address, const QString& serial) {
        const QString item = DeviceItem(serial, address);
        cmbDevices_->addItem(item);
        cmbDevicesA_->addItem(item);
        cmbDevices_->setCurrentIndex(cmbDevices_->count() - 1);
        cmbDevicesA_->setCurrentIndex(cmbDevicesA_->count() - 1);
        Q_EMIT deviceFound(address);
    };
    const bool found = ScanAddressFromTo(st_, scanFirst, scanLast, st_.myComm, hooks);
    scanning_ = false;
    scanFound_ = found;
    showState();
    if (!found && !st_.exitFlag)
        st_.notifier().message(QStringLiteral("No Devices Found"));
}

void frmFind::cmdStop_Click()
{
    st_.stopScan = true;
}

void frmFind::cmbDevices_Click()
{
    const QString item = cmbDevices_->currentText();
    const int address = AddressOfItem(item);
    if (item.isEmpty() || address < 0)
        return;
    SelectedDeviceADR = quint8(address);
    const QString hex = QString::fromLatin1(ByteToFF(SelectedDeviceADR));
    lblAddr_->setText(threeDigits(address));
    SelectedDevice = hex;
    loadCmb(hex);
    Q_EMIT deviceSelected(address, DeviceCaption(SerialOfItem(item), address));
}

void frmFind::loadCmb(const QString& hex)
{
    cmbComand_->clear();
    for (const char* c : {"SRAL?", "F", "ALMH?", "ALML?", "ALMH ####", "ZERO", "INIT", "ALML ####",
                          "CALB ####", "DATA?", "CLBON", "CLBOFF", "AMB?", "AMB ####"})
        cmbComand_->addItem(QLatin1Char('#') + hex + QLatin1String(c));
}

void frmFind::showState()
{
    // While the line is polled the scan and the terminal would mix their
    // frames with the cycle's; during a scan the device list is being made.
    const bool running = st_.running;
    const bool idle = !scanning_;
    cmdScanDev_->setEnabled(!running && idle && !scanFound_);
    cmdSend_->setEnabled(!running && idle);
    cmbDevices_->setEnabled(idle);
    cmbComand_->setEnabled(idle);
    cmdAdd_->setEnabled(idle);
    cmbDevicesA_->setEnabled(idle);
    chkLine_->setEnabled(!running && idle);
}

bool frmFind::refusedWhileRecording()
{
    if (!st_.recording)
        return false;
    st_.notifier().message(
        QStringLiteral("Recording is on. Choose End Saving before adding an analyzer or "
                       "changing between the single analyzer and the RS-485 line."),
        Notifier::Icon::Exclamation);
    return true;
}

void frmFind::saveScaleY()
{
    bool ok = false;
    const int entry = cmbScaleY_->currentIndex();
    const double value = cmbScaleY_->currentText().trimmed().toDouble(&ok);
    // The key holds a whole number, written out in full ("1234567", never
    // "1.23457e+06"); a value that rounds to 0 would be ignored when read.
    if (entry < 0 || entry > 9 || !ok || !(value >= 0.5) || value >= 2147483647.5)
        return;
    const qint64 whole = std::llround(value);
    st_.scaleY[size_t(entry)] = double(whole);
    WriteIni(QLatin1String(Ini::SecScales), QLatin1String(Ini::SCALEY) + QString::number(entry),
             QString::number(whole), QLatin1String(Ini::File));
}

void frmFind::showEvent(QShowEvent* e)
{
    // A finder opened again may scan again.
    if (!scanning_)
        scanFound_ = false;
    showState();
    QDialog::showEvent(e);
}

void frmFind::closeEvent(QCloseEvent* e)
{
    st_.stopScan = true; // a scan in progress ends with the window
    saveScaleY();
    QDialog::closeEvent(e);
}
