#include "fleet/frmControlRoom.h"

#include "alarms/Beeper.h"
#include "display/frmOscil.h"
#include "fleet/SiteAlarms.h"
#include "fleet/SiteTiles.h"
#include "fleet/frmBroker.h"
#include "mqtt/MqttIncoming.h"
#include "station/IniFile.h"
#include "station/Settings.h"
#include "station/SettingsKeys.h"
#include "station/Station.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QSplitter>
#include <QStatusBar>
#include <QTreeWidget>
#include <algorithm>

namespace {
QString readKey(const char* key)
{
    return ReadIni(QLatin1String(Ini::SecControlRoom), QLatin1String(key),
                   QLatin1String(Ini::File));
}
void writeKey(const char* key, const QString& value)
{
    WriteIni(QLatin1String(Ini::SecControlRoom), QLatin1String(key), value,
             QLatin1String(Ini::File));
}
} // namespace

frmControlRoom::frmControlRoom(Notifier& notifier, QWidget* parent)
    : QMainWindow(parent), graphs_(std::make_unique<Station>(notifier)),
      settings_(MqttSettings::read()), beeper_(new Beeper(this))
{
    setObjectName(QStringLiteral("frmControlRoom"));
    setWindowTitle(QStringLiteral("Control Room"));
    setAttribute(Qt::WA_DeleteOnClose);
    iniDef(*graphs_);
    ReadSettings(*graphs_);
    model_ = std::make_unique<SiteModel>(settings_.topic);
    buildUi();
    readLayout();

    connect(&link_, &MqttLink::message, model_.get(), &SiteModel::take);
    connect(&link_, &MqttLink::connected, this, [this] {
        setState(QStringLiteral("MQTT: connected to %1, subscribing").arg(settings_.describe()));
    });
    connect(&link_, &MqttLink::subscribed, this,
            [this] { setState(QStringLiteral("MQTT: watching %1").arg(settings_.describe())); });
    connect(&link_, &MqttLink::connectFailed, this, [this](const QString& why) {
        setState(QStringLiteral("MQTT: can't reach %1 (%2); trying again")
                     .arg(settings_.describe(), why));
    });
    connect(&link_, &MqttLink::disconnected, this, [this](const QString& why) {
        setState(
            QStringLiteral("MQTT: lost %1 (%2); connecting again").arg(settings_.describe(), why));
    });
    connect(model_.get(), &SiteModel::alarmRaised, beeper_, &Beeper::beep);
    connect(model_.get(), &SiteModel::readingTaken, this, [this](const QString& key, int raw) {
        if (frmOscil* g = open_.value(key)) {
            g->newValue = raw;
            g->SetNewPoint();
        }
    });
    for (auto signal : {&SiteModel::layoutChanged, &SiteModel::alarmsChanged})
        connect(model_.get(), signal, this, &frmControlRoom::updateCounts);
    connect(model_.get(), &SiteModel::stationsChanged, this, &frmControlRoom::updateCounts);
    connect(model_.get(), &SiteModel::layoutChanged, this, &frmControlRoom::saveLayout);
    updateCounts();
}

frmControlRoom::~frmControlRoom()
{
    link_.stop(500);
    closing_ = true;
    const QList<QPointer<frmOscil>> graphs = open_.values();
    open_.clear();
    for (const QPointer<frmOscil>& g : graphs)
        delete g.data(); // before the station they draw for
}

QString frmControlRoom::clientId(const MqttSettings& settings)
{
    return QStringLiteral("%1-controlroom-%2")
        .arg(settings.effectiveClientId())
        .arg(QCoreApplication::applicationPid());
}

void frmControlRoom::buildUi()
{
    tiles_ = new SiteTiles(*model_, this);
    alarms_ = new SiteAlarms(*model_, this);
    auto* split = new QSplitter(Qt::Vertical, this);
    split->setObjectName(QStringLiteral("splControlRoom"));
    split->addWidget(tiles_);
    split->addWidget(alarms_);
    split->setStretchFactor(0, 3);
    split->setStretchFactor(1, 1);
    split->setSizes({560, 200});
    setCentralWidget(split);
    connect(tiles_, &SiteTiles::tileOpened, this,
            [this](const QString& station, const QByteArray& channel) {
                if (frmOscil* g = openGraph(station, channel)) {
                    g->raise();
                    g->activateWindow();
                }
            });

    QMenu* site = menuBar()->addMenu(QStringLiteral("&Site"));
    site->setObjectName(QStringLiteral("mnuSite"));
    QAction* broker = site->addAction(QStringLiteral("&Broker..."));
    broker->setObjectName(QStringLiteral("mnuBroker"));
    broker->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_B));
    connect(broker, &QAction::triggered, this, &frmControlRoom::mnuBroker_Click);
    QAction* sorted = site->addAction(QStringLiteral("&Sort Stations by Name"));
    sorted->setObjectName(QStringLiteral("mnuSorted"));
    sorted->setCheckable(true);
    connect(sorted, &QAction::toggled, this, [this](bool on) {
        tiles_->setSorted(on);
        saveLayout();
    });
    QAction* tilesKey = site->addAction(QStringLiteral("&Tiles"));
    tilesKey->setShortcut(QKeySequence(Qt::ALT | Qt::Key_T));
    connect(tilesKey, &QAction::triggered, tiles_, &SiteTiles::focusFirst);
    QAction* alarmsKey = site->addAction(QStringLiteral("A&larms"));
    alarmsKey->setShortcut(QKeySequence(Qt::ALT | Qt::Key_L));
    connect(alarmsKey, &QAction::triggered, this, [this] { alarms_->list()->setFocus(); });
    site->addSeparator();
    QAction* close = site->addAction(QStringLiteral("&Close"));
    close->setObjectName(QStringLiteral("mnuClose"));
    close->setShortcut(QKeySequence::Close);
    connect(close, &QAction::triggered, this, &QWidget::close);

    lblMqtt_ = new QLabel(this);
    lblMqtt_->setObjectName(QStringLiteral("lblMqtt"));
    lblSite_ = new QLabel(this);
    lblSite_->setObjectName(QStringLiteral("lblSite"));
    statusBar()->addWidget(lblMqtt_, 1);
    statusBar()->addPermanentWidget(lblSite_);
    resize(820, 840);
}

bool frmControlRoom::connectBroker(const MqttSettings& settings)
{
    link_.stop(500);
    settings_ = settings;
    model_->setTopic(settings.topic);
    if (!settings.enabled()) {
        setState(QStringLiteral("MQTT: no broker; choose one in Site > Broker"));
        return false;
    }
    MqttLink::Config c = MqttLink::configFor(settings, clientId(settings));
    c.subscriptions = MqttIncoming::subscriptions(settings.topic);
    QString why;
    if (!link_.start(c, &why)) {
        setState(QStringLiteral("MQTT: %1").arg(why));
        return false;
    }
    setState(QStringLiteral("MQTT: connecting to %1").arg(settings.describe()));
    return true;
}

QString frmControlRoom::stateText() const
{
    return lblMqtt_->text();
}

void frmControlRoom::setState(const QString& text)
{
    lblMqtt_->setText(text);
}

void frmControlRoom::updateCounts()
{
    const int online = int(std::count_if(model_->stationOrder().cbegin(),
                                         model_->stationOrder().cend(), [this](const QString& id) {
                                             const SiteModel::Station* s = model_->station(id);
                                             return s && s->online;
                                         }));
    lblSite_->setText(
        QStringLiteral("%1 stations, %2 online, %3 channels, %4 alarms unacknowledged")
            .arg(model_->stationOrder().size())
            .arg(online)
            .arg(model_->channelCount())
            .arg(model_->unacknowledged()));
}

void frmControlRoom::mnuBroker_Click()
{
    frmBroker dialog(settings_, this);
    if (dialog.exec() == QDialog::Accepted)
        connectBroker(dialog.settings());
}

frmOscil* frmControlRoom::graph(const QString& station, const QByteArray& channel) const
{
    return open_.value(station + QLatin1Char('/') + QLatin1String(channel));
}

frmOscil* frmControlRoom::openGraph(const QString& station, const QByteArray& channel)
{
    const QString key = station + QLatin1Char('/') + QLatin1String(channel);
    if (frmOscil* g = open_.value(key))
        return g;
    auto* g = new frmOscil(*graphs_);
    g->setObjectName(QStringLiteral("frmOscil_%1_%2").arg(station, QLatin1String(channel)));
    g->setWindowTitle(QStringLiteral("Graph %1 %2").arg(station, QLatin1String(channel)));
    g->setAttribute(Qt::WA_DeleteOnClose);
    g->setWindowFlag(Qt::Window);
    g->cursorOption = true;
    g->resize(640, 360);
    open_.insert(key, g);
    connect(g, &QObject::destroyed, this, [this, key] {
        open_.remove(key);
        if (!closing_)
            saveLayout();
    });
    g->show();
    saveLayout();
    return g;
}

void frmControlRoom::readLayout()
{
    loading_ = true;
    tiles_->setKnownOrder(readKey(Ini::CrStations).split(QLatin1Char(','), Qt::SkipEmptyParts));
    if (readKey(Ini::CrSorted) == QLatin1String("1"))
        findChild<QAction*>(QStringLiteral("mnuSorted"))->setChecked(true);
    for (const QString& key : readKey(Ini::CrGraphs).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const qsizetype slash = key.lastIndexOf(QLatin1Char('/'));
        if (slash > 0)
            openGraph(key.left(slash), key.mid(slash + 1).toLatin1());
    }
    loading_ = false;
}

void frmControlRoom::saveLayout()
{
    if (loading_)
        return;
    writeKey(Ini::CrStations, tiles_->knownOrder().join(QLatin1Char(',')));
    writeKey(Ini::CrSorted, tiles_->sorted() ? QStringLiteral("1") : QStringLiteral("0"));
    QStringList graphs = open_.keys();
    graphs.sort();
    writeKey(Ini::CrGraphs, graphs.join(QLatin1Char(',')));
}

void frmControlRoom::closeEvent(QCloseEvent* e)
{
    saveLayout();
    closing_ = true;
    const QList<QPointer<frmOscil>> graphs = open_.values();
    for (const QPointer<frmOscil>& g : graphs)
        if (g)
            g->close();
    e->accept();
}
