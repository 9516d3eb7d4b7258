#pragma once

#include "fleet/SiteModel.h"
#include "mqtt/MqttLink.h"
#include "mqtt/MqttSettings.h"

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <memory>

class Beeper;
class Notifier;
class QLabel;
class SiteAlarms;
class SiteTiles;
class Station;
class frmOscil;

// The control room: every station of the site on one screen, from the
// broker of the [MQTT] section. Tiles grouped by station above, the alarm
// list below, the connection's state in the status bar. A raised alarm beeps
// as the station's own alarm does. A tile opens the station's trend graph
// for its channel, fed from the broker.
//
// It subscribes under a client id of its own (the settings' and
// "-controlroom-" and the process id) with a clean session: it wants what
// happens now, and the broker's retained status and alarms tell it the rest.
class frmControlRoom : public QMainWindow
{
    Q_OBJECT
public:
    explicit frmControlRoom(Notifier& notifier, QWidget* parent = nullptr);
    ~frmControlRoom() override;

    // Connects to the broker of `settings` (again, when already connected);
    // false, with the reason in the status bar, when it can't be used.
    bool connectBroker(const MqttSettings& settings);
    static QString clientId(const MqttSettings& settings);

    SiteModel& model() { return *model_; }
    SiteTiles* tiles() const { return tiles_; }
    SiteAlarms* alarms() const { return alarms_; }
    QString stateText() const;
    // The trend graph open for a channel, if any.
    frmOscil* graph(const QString& station, const QByteArray& channel) const;
    frmOscil* openGraph(const QString& station, const QByteArray& channel);

protected:
    void closeEvent(QCloseEvent* e) override;

private:
    void buildUi();
    void mnuBroker_Click();
    void setState(const QString& text);
    void updateCounts();
    void readLayout();
    void saveLayout();

    std::unique_ptr<Station> graphs_; // the trend graphs' scales and limits
    std::unique_ptr<SiteModel> model_;
    MqttLink link_;
    MqttSettings settings_;
    Beeper* beeper_;
    SiteTiles* tiles_ = nullptr;
    SiteAlarms* alarms_ = nullptr;
    QLabel* lblMqtt_ = nullptr;
    QLabel* lblSite_ = nullptr;
    QHash<QString, QPointer<frmOscil>> open_; // by channel key
    bool loading_ = false;                    // reading the layout: nothing to write back yet
    bool closing_ = false; // the graphs close with the window, and stay in the layout
};
