#pragma once

#include "display/frmOscil.h"

#include <QHash>
#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <functional>

class QAction;
class QComboBox;
class QLabel;
class QLineEdit;
class QMdiArea;
class QMdiSubWindow;
struct WindowPlace;
class QMenu;
class QPushButton;
class QToolBar;
class AlarmCheck;
class DataRecorder;
class frmComment;
class frmCUST;
class frmCalib;
class frmFind;
class LineRecorder;
class MqttPublisher;
class Station;
class frm_txt;
class frmVal;

// The station's main frame: menus, toolbar Tbr1, the command panel, the
// status bar StatusBar1 and the area that holds the graph and view windows.
class MDIFrm : public QMainWindow
{
    Q_OBJECT
public:
    explicit MDIFrm(Station& st, QWidget* parent = nullptr);
    ~MDIFrm() override;

    Station& station() const { return st_; }
    QMdiArea* mdiArea() const { return mdi_; }
    QList<QLabel*> statusPanels() const { return panels_; }
    frmVal* valueWindow() const { return val_; }
    AlarmCheck* alarms() const { return alarms_; }
    frm_txt* textWindow();

    // The toolbar button with this key ("Run", "Write", ...).
    QAction* toolButton(const QString& key) const { return keys_.value(key); }
    QList<QPushButton*> commandButtons() const { return cmdCommands_; }

    // Moves and sizes the frame and the value window from the station's layout.
    void applyLayout();
    // Takes the current places of the frame and its windows into the station's layout.
    void collectLayout();
    // Gives the frame its place again now that its frame is known, keeps it
    // whole on the screen, and places the value window.
    void placeWindows();

    // Menu and toolbar operations.
    void mnuExit_Click();
    void mnuReadConf_Click();
    void mnuSaveConf_Click();
    void mnuRunSaving_Click();
    void mnuEndSaving_Click();
    // Asks for data files and opens a record viewer (frmRecord) on them.
    void mnuOpenRecord_Click();
    void mnuOnTop_Click();
    void mnuOffTop_Click();
    void mnuContents_Click();
    void mnuShowVal_Click();
    void mnuAlarm_Click();
    // Set > MQTT: the broker settings (frmMQTT), applied on OK.
    void mnuMQTT_Click();
    MqttPublisher* publisher() const { return publisher_; }
    // File > Control Room: every station of the site from the broker, in a
    // window of its own (one at a time).
    void mnuControlRoom_Click();
    QWidget* controlRoom() const { return controlRoom_; }
    void Tbr1_ButtonClick(const QString& key);
    void cmbType_Click();
    void mnuGraph_Click();
    // Opens the view with this toolbar key ("Digital", "Table", "Diagram"), or closes it.
    void toggleView(const QString& key);
    QWidget* view(const QString& key) const;
    void mnuRun_Click();
    void mnuStop_Click();
    void mnu2ppmNow_Click();
    // Opens the RS-485 finder (one window, kept until exit).
    void mnuFind_Click();
    frmFind* finder() const;
    LineRecorder* lineRecorder() const { return lineRecorder_; }
    // The per-address graph window of the RS-485 line; nullptr when none.
    frmOscil* lineGraph(int address) const;
    // A command button: "CALIBR" asks for the concentration first, "SET CUST"
    // opens its dialog, the others go to the analyzer at once.
    void cmdCommands_Click(int index);
    void txtZ_Change();

    frmOscil* mainGraph() const { return mainGraph_; }
    frmOscil* addedGraph() const { return addedGraph_; }

    bool exiting() const { return exiting_; }

protected:
    void closeEvent(QCloseEvent* e) override;
    void keyPressEvent(QKeyEvent* e) override;
    void showEvent(QShowEvent* e) override;

private:
    void buildMenus();
    void buildToolbar();
    void buildCommandPanel();
    void buildStatusBar();
    void buildZeroOffsetLabel();
    // The MQTT publisher, started from the settings, and its status-bar label.
    void buildPublisher();
    // The RS-485 line: mode label, the line's sinks and recorder.
    void buildLine();
    void showMode(bool rs485);
    void addLineGraph(int address, const QString& caption);
    void selectLineDevice(int address, const QString& caption);
    void openMonitor();
    // Enables the commands by the line's state and what was received.
    void updateCommandPanel();
    void placeValueWindow();
    // Where the next graph window goes from the main graph's place: cascaded
    // one title bar a window, within the window area.
    QRect cascaded(int windows, const QRect& from) const;
    // True when the polling timer's exchange holds the line; `again` then
    // runs as soon as it lets go, so the operator's command is not refused.
    bool deferredWhilePolled(std::function<void()> again);
    void MDIForm_Load();
    void MDIForm_Unload();
    void InitTypesFromDB();
    QAction* addItem(QMenu* menu, const char* name, const QString& caption);
    void setOnTop(bool on);
    // Lays the child windows out one after the other along `direction`.
    void tile(Qt::Orientation direction);
    void zeroButton(const QString& key);
    void MDIForm_Activate();
    void openMainGraph(const QRect& fallback);
    QMdiSubWindow* addGraphWindow(frmOscil* graph, const WindowPlace& place, const QRect& fallback);
    void setViewChecked(const QString& key, bool on);
    void connectSinks();
    void collectGraphLayout();
    void applyGraphPreset();
    void showRunning(bool running);
    void showOnViews(double value, const QString& temper = QString());

    Station& st_;
    QMdiArea* mdi_ = nullptr;
    QToolBar* tbr1_ = nullptr;
    QHash<QString, QAction*> keys_;
    QHash<QString, QAction*> viewItems_; // View menu items by view key
    QList<QPushButton*> cmdCommands_;
    QComboBox* cmbType_ = nullptr;
    QLineEdit* txtTo_ = nullptr;
    QLineEdit* txtZ_ = nullptr;
    QLineEdit* txtZR_ = nullptr;
    QList<QLabel*> panels_;
    QLabel* lblZeroOffset_ = nullptr;
    QPointer<frmCUST> cust_;
    QPointer<frmCalib> calib_;
    QPointer<frmFind> find_;
    QPointer<QWidget> monitor_;
    QLabel* lblMode_ = nullptr;
    LineRecorder* lineRecorder_ = nullptr;
    int lineSelected_ = -1; // the analyzer the views and the main graph show on the line
    frmVal* val_ = nullptr;
    QPointer<frm_txt> txt_;
    DataRecorder* recorder_ = nullptr;
    AlarmCheck* alarms_ = nullptr;
    MqttPublisher* publisher_ = nullptr;
    QLabel* lblMqtt_ = nullptr;
    QPointer<QWidget> controlRoom_;
    frmComment* comment_ = nullptr; // hidden, never deleted, when closed
    QPointer<frmOscil> mainGraph_;
    QPointer<frmOscil> addedGraph_;
    QHash<QString, QPointer<QWidget>> views_;
    bool typeSelected_ = false;
    bool activated_ = false;
    bool exiting_ = false;
    bool dataReceived_ = false;
};
