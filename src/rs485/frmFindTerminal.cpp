// The finder's terminal, its choice of graphed analyzers and its counts.
#include "rs485/AddressScan.h"
#include "rs485/LineMonitor.h"
#include "rs485/LinePoller.h"
#include "rs485/frmFind.h"
#include "rs485/mdRS485.h"
#include "station/ByteText.h"
#include "station/Notifier.h"
#include "station/Station.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>

QWidget* frmFind::buildTerminal()
{
    auto* box = new QGroupBox(QStringLiteral("Terminal"), this);
    cmbComand_ = new QComboBox(box);
    cmbComand_->setObjectName(QStringLiteral("cmbComand"));
    cmbComand_->setEditable(true);
    cmbComand_->setInsertPolicy(QComboBox::NoInsert);
    chkCR_ = new QCheckBox(QStringLiteral("Add CR"), box);
    chkCR_->setObjectName(QStringLiteral("chkCR"));
    chkCR_->setChecked(true);
    cmdSend_ = new QPushButton(QStringLiteral("&Send"), box);
    cmdSend_->setObjectName(QStringLiteral("cmdSend"));
    lblSend_ = new QLabel(box);
    lblSend_->setObjectName(QStringLiteral("lblSend"));
    txtReply_ = new QLineEdit(box);
    txtReply_->setObjectName(QStringLiteral("txtReply"));
    txtReply_->setReadOnly(true);
    txtReply_->setMinimumWidth(360);
    auto* lblCommand = new QLabel(QStringLiteral("Select or Type Command:"), box);
    lblCommand->setBuddy(cmbComand_);

    auto* g = new QGridLayout(box);
    g->addWidget(lblCommand, 0, 0, 1, 3);
    g->addWidget(cmbComand_, 1, 0);
    g->addWidget(chkCR_, 1, 1);
    g->addWidget(cmdSend_, 1, 2);
    g->addWidget(new QLabel(QStringLiteral("Send"), box), 2, 0, 1, 3);
    g->addWidget(lblSend_, 3, 0, 1, 3);
    g->addWidget(new QLabel(QStringLiteral("Reply:"), box), 4, 0, 1, 3);
    g->addWidget(txtReply_, 5, 0, 1, 3);
    connect(cmdSend_, &QPushButton::clicked, this, &frmFind::cmdSend_Click);
    return box;
}

QWidget* frmFind::buildGraphs()
{
    auto* column = new QWidget(this);
    auto* v = new QVBoxLayout(column);
    v->setContentsMargins(0, 0, 0, 0);

    auto* add = new QGroupBox(QStringLiteral("Add Graph for Device"), column);
    cmbDevicesA_ = new QComboBox(add);
    cmbDevicesA_->setObjectName(QStringLiteral("cmbDevicesA"));
    cmbDevicesA_->setMinimumWidth(220);
    cmdAdd_ = new QPushButton(QStringLiteral("&Add"), add);
    cmdAdd_->setObjectName(QStringLiteral("cmdAdd"));
    chkAutoFN_ = new QCheckBox(QStringLiteral("Auto File Name"), add);
    chkAutoFN_->setObjectName(QStringLiteral("chkAutoFN"));
    chkAutoFN_->setChecked(true);
    auto* ga = new QGridLayout(add);
    ga->addWidget(cmbDevicesA_, 0, 0);
    ga->addWidget(cmdAdd_, 0, 1);
    ga->addWidget(chkAutoFN_, 1, 0, 1, 2);
    connect(cmdAdd_, &QPushButton::clicked, this, &frmFind::cmdAdd_Click);

    auto* show = new QGroupBox(QStringLiteral("Show Add Data - Select Component"), column);
    cmbScaleY_ = new QComboBox(show);
    cmbScaleY_->setObjectName(QStringLiteral("cmbScaleY"));
    cmbScaleY_->setEditable(true);
    cmbScaleY_->setInsertPolicy(QComboBox::InsertAtCurrent);
    for (int i = 0; i < 10; ++i)
        cmbScaleY_->addItem(QString::number(st_.scaleY[size_t(i)]));
    cmbScaleY_->setCurrentIndex(-1);
    scrNC_ = new QScrollBar(Qt::Vertical, show);
    scrNC_->setObjectName(QStringLiteral("scrNC"));
    scrNC_->setRange(1, 2);
    scrNC_->setInvertedAppearance(true);
    scrNC_->setFixedHeight(36);
    lblNC_ = new QLabel(QStringLiteral("1"), show);
    lblNC_->setObjectName(QStringLiteral("lblNC"));
    chkRus_ = new QCheckBox(QStringLiteral("Rus Data Format"), show);
    chkRus_->setObjectName(QStringLiteral("chkRus"));
    chkRus_->setChecked(st_.rus);
    auto* gs = new QGridLayout(show);
    gs->addWidget(new QLabel(QStringLiteral("Y(ppm x10)"), show), 0, 0);
    gs->addWidget(cmbScaleY_, 0, 1);
    gs->addWidget(new QLabel(QStringLiteral("Component"), show), 1, 0);
    auto* nc = new QHBoxLayout;
    nc->addWidget(lblNC_);
    nc->addWidget(scrNC_);
    nc->addStretch();
    gs->addLayout(nc, 1, 1);
    gs->addWidget(chkRus_, 2, 0, 1, 2);
    connect(scrNC_, &QScrollBar::valueChanged, this,
            [this](int n) { lblNC_->setText(QString::number(n)); });
    connect(cmbScaleY_, &QComboBox::activated, this, [this] {
        bool ok = false;
        const double v = cmbScaleY_->currentText().toDouble(&ok);
        if (ok && v > 0)
            Q_EMIT scaleYChosen(v);
        else
            st_.notifier().message(QStringLiteral("Bad Data"));
    });

    chkLine_ = new QCheckBox(QStringLiteral("Run on this line (RS-485 mode)"), column);
    chkLine_->setObjectName(QStringLiteral("chkLine"));
    chkLine_->setChecked(st_.rs485Mode);
    connect(chkLine_, &QCheckBox::clicked, this, [this](bool on) {
        if (refusedWhileRecording()) {
            chkLine_->setChecked(st_.rs485Mode);
            return;
        }
        st_.setRs485Mode(on);
    });
    auto* monitor = new QPushButton(QStringLiteral("Line &Monitor..."), column);
    monitor->setObjectName(QStringLiteral("cmdMonitor"));
    connect(monitor, &QPushButton::clicked, this, &frmFind::monitorWanted);

    v->addWidget(add);
    v->addWidget(show);
    v->addWidget(chkLine_);
    v->addWidget(monitor);
    v->addStretch();
    return column;
}

QWidget* frmFind::buildStats()
{
    grdStats_ = new QTableWidget(0, 5, this);
    grdStats_->setObjectName(QStringLiteral("grdStats"));
    grdStats_->setHorizontalHeaderLabels({QStringLiteral("Addr"), QStringLiteral("Sent"),
                                          QStringLiteral("Replies"), QStringLiteral("Time-outs"),
                                          QStringLiteral("Refused")});
    grdStats_->verticalHeader()->hide();
    grdStats_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    grdStats_->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    grdStats_->setMinimumHeight(120);
    return grdStats_;
}

int frmFind::component() const
{
    return scrNC_->value();
}

void frmFind::cmdSend_Click()
{
    if (cmbDevices_->count() == 0)
        return;
    if (!st_.ensurePortOpen())
        return;
    txtReply_->clear();
    replyBytes_.clear();
    const QString command = cmbComand_->currentText();
    QByteArray bytes = toCp1251(command);
    if (chkCR_->isChecked())
        bytes += '\r';
    lblSend_->setText(command);
    // Unlike an exchange of the polling cycle, what waits in the port is kept.
    st_.myComm.Output(bytes);
    LineMonitor::of(st_).sent(bytes);
    tmr.start();
}

void frmFind::tmr_Timer()
{
    CommPort& port = st_.myComm;
    if (port.InBufferCount() > 0) {
        const QByteArray bytes = ReadReply(st_, port);
        replyBytes_ += bytes;
        txtReply_->setText(readableBytes(replyBytes_));
        txtReply_->setCursorPosition(0); // a long reply shows from its start
    }
    if (replyBytes_.size() == RS485ReplyLen) {
        QString first;
        QString second;
        if (!CutData(replyBytes_, first, second))
            st_.notifier().message(QStringLiteral("BAD DATA"));
        else
            st_.notifier().status(0, QStringLiteral("CH4 %1, second value %2").arg(first, second));
    }
    tmr.stop();
}

void frmFind::cmdAdd_Click()
{
    const QString item = cmbDevicesA_->currentText();
    const int address = AddressOfItem(item);
    if (address < 0 || refusedWhileRecording())
        return;
    st_.polled[size_t(address)] = true;
    st_.lineAutoName[size_t(address)] = chkAutoFN_->isChecked();
    st_.lineRus[size_t(address)] = chkRus_->isChecked();
    st_.setRs485Mode(true);
    Q_EMIT graphWanted(address, DeviceCaption(SerialOfItem(item), address));
}

void frmFind::showStats()
{
    const LinePoller& poller = LinePoller::of(st_);
    const QList<int> asked = poller.pollList();
    grdStats_->setRowCount(int(asked.size()));
    for (int row = 0; row < asked.size(); ++row) {
        const int a = asked[row];
        const LinePoller::Stats& s = poller.stats(a);
        const QStringList cells{QString::number(a).rightJustified(3, QLatin1Char('0')),
                                QString::number(s.requests), QString::number(s.replies),
                                QString::number(s.timeouts), QString::number(s.rejected)};
        for (int c = 0; c < cells.size(); ++c) {
            if (!grdStats_->item(row, c))
                grdStats_->setItem(row, c, new QTableWidgetItem);
            grdStats_->item(row, c)->setText(cells[c]);
        }
    }
}
