#include "app/MDIFrm.h"

#include "alarms/AlarmCheck.h"
#include "alarms/AlarmWindows.h"
#include "app/frm_txt.h"
#include "display/frmOscil.h"
#include "display/frmVal.h"
#include "link/RunControl.h"
#include "recording/DataFileDialog.h"
#include "recording/DataRecorder.h"
#include "recording/frmComment.h"
#include "rs485/LinePoller.h"
#include "station/Notifier.h"
#include "station/Station.h"
#include "station/zep_cmnd.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenuBar>
#include <QPushButton>
#include <QShortcut>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>

MDIFrm::MDIFrm(Station& st, QWidget* parent) : QMainWindow(parent), st_(st)
{
    wireRunControl(st_);
    LinePoller::of(st_);
    setObjectName(QStringLiteral("MDIFrm"));
    setWindowTitle(QStringLiteral("Velmora"));
    mdi_ = new QMdiArea(this);
    mdi_->setObjectName(QStringLiteral("mdiArea"));
    mdi_->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    mdi_->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setCentralWidget(mdi_);

    buildMenus();
    buildToolbar();
    buildCommandPanel();
    buildStatusBar();
    buildZeroOffsetLabel();
    buildLine();

    val_ = new frmVal(this);
    recorder_ = new DataRecorder(st_, this);
    recorder_->chooseFile = fileDialogChooser(this);
    connect(recorder_, &DataRecorder::dataFileChanged, this, [this](const QString& path) {
        // The application's name follows the file in the caption: "…/14h15_11.dat — Velmora".
        setWindowTitle(path.isEmpty() ? QStringLiteral("Velmora") : QDir::toNativeSeparators(path));
    });
    InitTypesFromDB();
    MDIForm_Load();
    connectSinks();
    buildPublisher();
    connect(&st_, &Station::runningChanged, this, &MDIFrm::showRunning);
}

MDIFrm::~MDIFrm()
{
    delete controlRoom_; // it speaks through the station's notifier
    // The station outlives the frame: nothing of it may call back into the windows.
    for (auto& sink : {Station::MainGraphSink, Station::AddedGraphSink, Station::ValueWindowSink})
        st_.sinks[sink] = nullptr;
    disconnect(&st_, nullptr, this, nullptr);
    if (mainGraph_)
        disconnect(mainGraph_, nullptr, this, nullptr);
    for (const QPointer<QWidget>& v : std::as_const(views_)) {
        if (v)
            disconnect(v, nullptr, this, nullptr);
    }
}

QAction* MDIFrm::addItem(QMenu* menu, const char* name, const QString& caption)
{
    QAction* a = menu->addAction(caption);
    a->setObjectName(QLatin1String(name));
    return a;
}

void MDIFrm::buildMenus()
{
    auto menu = [this](const char* name, const QString& caption) {
        QMenu* m = menuBar()->addMenu(caption);
        m->setObjectName(QLatin1String(name));
        m->menuAction()->setObjectName(QLatin1String(name));
        return m;
    };
    QMenu* file = menu("mnuFile", QStringLiteral("&File"));
    connect(addItem(file, "mnuRunSaving", QStringLiteral("&Run Saving")), &QAction::triggered, this,
            &MDIFrm::mnuRunSaving_Click);
    QAction* endSaving = addItem(file, "mnuEndSaving", QStringLiteral("&End Saving"));
    endSaving->setVisible(false);
    connect(endSaving, &QAction::triggered, this, &MDIFrm::mnuEndSaving_Click);
    connect(addItem(file, "mnuOpenRecord", QStringLiteral("&Open Record...")), &QAction::triggered,
            this, &MDIFrm::mnuOpenRecord_Click);
    connect(addItem(file, "mnuControlRoom", QStringLiteral("&Control Room")), &QAction::triggered,
            this, &MDIFrm::mnuControlRoom_Click);
    connect(addItem(file, "mnuReadConf", QStringLiteral("Load &PreSet")), &QAction::triggered, this,
            &MDIFrm::mnuReadConf_Click);
    connect(addItem(file, "mnuSaveConf", QStringLiteral("&Save Config")), &QAction::triggered, this,
            &MDIFrm::mnuSaveConf_Click);
    connect(addItem(file, "mnuExit", QStringLiteral("E&xit")), &QAction::triggered, this,
            &MDIFrm::mnuExit_Click);

    QMenu* mode = menu("mnuMode", QStringLiteral("&Mode"));
    connect(addItem(mode, "mnuFind", QStringLiteral("&Find")), &QAction::triggered, this,
            &MDIFrm::mnuFind_Click);
    connect(addItem(mode, "mnuRun", QStringLiteral("&Run")), &QAction::triggered, this,
            &MDIFrm::mnuRun_Click);
    QAction* stop = addItem(mode, "mnuStop", QStringLiteral("&Stop"));
    stop->setVisible(false);
    connect(stop, &QAction::triggered, this, &MDIFrm::mnuStop_Click);

    QMenu* view = menu("mnuView", QStringLiteral("&View"));
    for (auto [name, caption] : {std::pair{"mnuDigital", "&Digital"},
                                 {"mnuTable", "&Table"},
                                 {"mnuDiagram", "Dia&gram"},
                                 {"mnuGraph", "&Graph"}}) {
        QAction* a = addItem(view, name, QLatin1String(caption));
        a->setCheckable(true);
        const QString key = a->objectName().mid(3); // "mnuTable" is the "Table" view
        viewItems_.insert(key, a);
        connect(a, &QAction::triggered, this, [this, key] { Tbr1_ButtonClick(key); });
    }

    QMenu* set = menu("mnuSet", QStringLiteral("&Set"));
    connect(addItem(set, "mnuSetCom", QStringLiteral("&Com Port")), &QAction::triggered, this,
            [this] { Tbr1_ButtonClick(QStringLiteral("Set")); });
    connect(addItem(set, "mnuSetPath", QStringLiteral("&Path")), &QAction::triggered, this,
            [this] { Tbr1_ButtonClick(QStringLiteral("Path")); });
    connect(addItem(set, "mnuAlarm", QStringLiteral("&Alarm")), &QAction::triggered, this,
            &MDIFrm::mnuAlarm_Click);
    connect(addItem(set, "mnuMQTT", QStringLiteral("&MQTT...")), &QAction::triggered, this,
            &MDIFrm::mnuMQTT_Click);

    QMenu* window = menu("mnuWindow", QStringLiteral("&Window"));
    QMenu* arrange = window->addMenu(QStringLiteral("&Arrange"));
    arrange->setObjectName(QStringLiteral("mnuArrange"));
    arrange->menuAction()->setObjectName(QStringLiteral("mnuArrange"));
    connect(addItem(arrange, "mnuHorizontal", QStringLiteral("&Horizontal")), &QAction::triggered,
            this, [this] { tile(Qt::Vertical); });
    connect(addItem(arrange, "mnuVertical", QStringLiteral("&Vertical")), &QAction::triggered, this,
            [this] { tile(Qt::Horizontal); });
    connect(addItem(arrange, "mnuCascade", QStringLiteral("&Cascade")), &QAction::triggered, mdi_,
            &QMdiArea::cascadeSubWindows);
    connect(addItem(window, "mnuOnTop", QStringLiteral("Window O&n Top")), &QAction::triggered,
            this, &MDIFrm::mnuOnTop_Click);
    QAction* offTop = addItem(window, "mnuOffTop", QStringLiteral("Window O&ff Top"));
    offTop->setVisible(false);
    connect(offTop, &QAction::triggered, this, &MDIFrm::mnuOffTop_Click);

    QMenu* help = menu("mnuHelp", QStringLiteral("Help"));
    connect(addItem(help, "mnuContents", QStringLiteral("Contents")), &QAction::triggered, this,
            &MDIFrm::mnuContents_Click);
    connect(addItem(help, "mnuAbout", QStringLiteral("About Velmora")), &QAction::triggered, this,
            [this] { Tbr1_ButtonClick(QStringLiteral("About")); });
    // "Help" keeps its caption without a marked letter; Alt+H opens it all the same.
    auto* openHelp = new QShortcut(QKeySequence(Qt::ALT | Qt::Key_H), this);
    openHelp->setObjectName(QStringLiteral("scHelp"));
    connect(openHelp, &QShortcut::activated, this,
            [this, help] { menuBar()->setActiveAction(help->menuAction()); });

    // The value menu has no caption of its own: it opens from the right mouse
    // button over the frame's window area, and its item has a shortcut.
    QMenu* sv = menu("mnuSV", QString());
    sv->menuAction()->setVisible(false);
    QAction* showVal = addItem(sv, "mnuShowVal", QStringLiteral("Sh&ow Value"));
    showVal->setCheckable(true);
    // Not Ctrl+W: the graph windows' own Close takes that one.
    showVal->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_V));
    addAction(showVal);
    connect(showVal, &QAction::triggered, this, &MDIFrm::mnuShowVal_Click);
    mdi_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(mdi_, &QWidget::customContextMenuRequested, sv,
            [this, sv](const QPoint& p) { sv->popup(mdi_->mapToGlobal(p)); });

    QMenu* zcor = menu("mnuZCor", QStringLiteral("&Zcor"));
    connect(addItem(zcor, "mnu2ppmNow", QStringLiteral("&2ppmNow")), &QAction::triggered, this,
            &MDIFrm::mnu2ppmNow_Click);
}

void MDIFrm::buildToolbar()
{
    tbr1_ = addToolBar(QStringLiteral("Toolbar"));
    tbr1_->setObjectName(QStringLiteral("Tbr1"));
    // Icons, from the desktop's theme or else Qt's own; the captions are the
    // buttons' tool tips, and a key without an icon shows its caption.
    tbr1_->setToolButtonStyle(Qt::ToolButtonIconOnly);
    struct Key
    {
        const char* key;
        const char* caption;
        const char* tip;
        const char* icon;
        QStyle::StandardPixmap fallback;
    };
    static constexpr Key kKeys[] = {
        {"Find", "Find", "Find the analyzers on the RS-485 line", "edit-find",
         QStyle::SP_FileDialogContentsView},
        {"Run", "Run", "Start reading the analyzer", "media-playback-start", QStyle::SP_MediaPlay},
        {"Stop", "Stop", "Stop reading the analyzer", "media-playback-stop", QStyle::SP_MediaStop},
        {"Send", "Send", "Send the text of the send line, followed by CR", "mail-send",
         QStyle::SP_ArrowRight},
        {"Write", "&Write", "Start or end recording to the data files", "media-record",
         QStyle::SP_DialogSaveButton},
        {"Graph", "Graph", "Show or close the trend graph", "utilities-system-monitor",
         QStyle::SP_FileDialogDetailedView},
        {"Diagram", "Diagram", "Show or close the bar diagram", "x-office-presentation",
         QStyle::SP_FileDialogListView},
        {"Table", "Table", "Show or close the table of readings", "x-office-spreadsheet",
         QStyle::SP_FileDialogInfoView},
        {"Digital", "Digital", "Show or close the large digital value", "accessories-calculator",
         QStyle::SP_DesktopIcon},
        {"Set", "Set", "Port and polling settings", "preferences-system", QStyle::SP_ComputerIcon},
        {"Exit", "Exit", "Close the station", "application-exit", QStyle::SP_DialogCloseButton},
        {"Z", "Z", "Set the analyzer's zero position to the Z-pos value", nullptr,
         QStyle::SP_CustomBase},
        {"Z0", "Z0", "Set the analyzer's zero position to 0000", nullptr, QStyle::SP_CustomBase},
        {"ZT", "ZT", "Read the analyzer's zero position", nullptr, QStyle::SP_CustomBase},
    };
    for (const Key& k : kKeys) {
        const QString key = QLatin1String(k.key);
        QAction* a = tbr1_->addAction(QLatin1String(k.caption));
        a->setObjectName(QStringLiteral("Tbr1_") + key);
        a->setData(key);
        if (k.icon)
            a->setIcon(QIcon::fromTheme(QLatin1String(k.icon), style()->standardIcon(k.fallback)));
        // The tool tip is the caption (it follows "&Write"/"End"); what the
        // key does shows in the status bar.
        a->setStatusTip(QLatin1String(k.tip));
        keys_.insert(key, a);
        connect(a, &QAction::triggered, this, [this, key] { Tbr1_ButtonClick(key); });
    }
    keys_.value(QStringLiteral("Write"))->setCheckable(true);
    for (const char* k : {"Run", "Stop", "Graph", "Diagram", "Table", "Digital"})
        keys_.value(QLatin1String(k))->setCheckable(true);
}

void MDIFrm::buildStatusBar()
{
    QStatusBar* bar = statusBar();
    bar->setObjectName(QStringLiteral("StatusBar1"));
    for (int i = 0; i < 3; ++i) {
        auto* l = new QLabel(bar);
        l->setObjectName(QStringLiteral("Panel%1").arg(i + 1));
        l->setMinimumWidth(i == 0 ? 260 : 140);
        bar->addWidget(l, i == 0 ? 2 : 1);
        panels_.append(l);
    }
}

void MDIFrm::InitTypesFromDB()
{
    // Filling the list must not count as a selection; choosing "ZEP-D" does.
    cmbType_->addItems(zep_cmnd::deviceTypes());
    cmbType_->setCurrentIndex(-1);
    connect(cmbType_, &QComboBox::currentIndexChanged, this, &MDIFrm::cmbType_Click);
    cmbType_->setCurrentIndex(zep_cmnd::defaultTypeIndex);
}

void MDIFrm::cmbType_Click()
{
    const QString type = cmbType_->currentText();
    st_.deviceType = type;
    if (st_.useDatabase)
        zep_cmnd::InitDataFormatFromDB(st_.format, type);
    else
        zep_cmnd::InitDataFormat(st_.format, type);
    // A new type means a new record marker: the running stream is stopped so
    // that no record is framed with the old one.
    if (typeSelected_)
        st_.Stop();
    typeSelected_ = true;
}

void MDIFrm::MDIForm_Load()
{
    st_.applyTimerPeriod();
    for (QPushButton* b : cmdCommands_)
        b->setToolTip(zep_cmnd::toolTipFor(b->text()));
    QStringList captions;
    for (QPushButton* b : cmdCommands_)
        captions << b->text();
    for (const char* c : {"CDAT?", "DATA?"}) {
        const int i = zep_cmnd::FindCDATIndex(captions, QLatin1String(c));
        if (i >= 0)
            cmdCommands_[i]->setEnabled(false);
    }
    // The comment window exists beside the frame from the start: the alarm
    // check writes into it and shows it.
    comment_ = new frmComment(st_, *recorder_, this);
    alarms_ = new AlarmCheck(st_, this);
    new AlarmWindows(*alarms_, val_, comment_, alarms_);
}

frm_txt* MDIFrm::textWindow()
{
    if (!txt_)
        txt_ = new frm_txt(this);
    return txt_;
}
