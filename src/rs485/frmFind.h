#pragma once

#include <QByteArray>
#include <QDialog>
#include <QTimer>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QProgressBar;
class QPushButton;
class QScrollBar;
class QTableWidget;
class Station;

// "LAN RS-485": finds the analyzers on the RS-485 line (addresses 0..255),
// lets the operator pick one and talk to it through a small terminal, and
// chooses the analyzers whose readings are graphed, recorded and alarmed
// while the station runs on the line. Also shows each analyzer's exchange
// counts while polling, and opens the line monitor.
class frmFind : public QDialog
{
    Q_OBJECT
public:
    explicit frmFind(Station& st, QWidget* parent = nullptr);

    // The addresses "Find Devices" visits: the whole line unless narrowed.
    int scanFirst = 0;
    int scanLast = 255;

    quint8 SelectedDeviceADR = 0;
    QString SelectedDevice; // the same address as two hex digits

    void cmdScanDev_Click();
    void cmdStop_Click();
    void cmbDevices_Click();
    void loadCmb(const QString& hex);
    void cmdSend_Click();
    void tmr_Timer();
    void cmdAdd_Click();

    // The component the added graphs draw: 1 the concentration, 2 the second value.
    int component() const;

    QTimer tmr; // the terminal's one-shot receive timer
    static constexpr int kTerminalWaitMs = 600;

Q_SIGNALS:
    // A device was chosen in the list: its caption goes to the views and the
    // main graph, which show that analyzer from now on.
    void deviceSelected(int address, const QString& caption);
    // "&Add": a graph window for this address is wanted.
    void graphWanted(int address, const QString& caption);
    // An analyzer answered the scan ("sSN(i)" goes to the table window's caption).
    void deviceFound(int address);
    // The Y scale chosen for the added graphs.
    void scaleYChosen(double fullScale);
    void monitorWanted();

protected:
    void closeEvent(QCloseEvent* e) override;
    void showEvent(QShowEvent* e) override;

private:
    QWidget* buildFinder();
    QWidget* buildTerminal();
    QWidget* buildGraphs();
    QWidget* buildStats();
    // Enables the controls for the state the finder and the line are in.
    void showState();
    // True, after telling the operator, when recording is on: the files
    // follow the analyzers and the mode they were opened for.
    bool refusedWhileRecording();
    void showStats();
    void saveScaleY();

    Station& st_;
    QPushButton* cmdScanDev_ = nullptr;
    QPushButton* cmdStop_ = nullptr;
    QProgressBar* PBar_ = nullptr;
    QLabel* lblAddr_ = nullptr;
    QComboBox* cmbDevices_ = nullptr;
    QComboBox* cmbComand_ = nullptr;
    QCheckBox* chkCR_ = nullptr;
    QPushButton* cmdSend_ = nullptr;
    QLabel* lblSend_ = nullptr;
    QLineEdit* txtReply_ = nullptr;
    QComboBox* cmbDevicesA_ = nullptr;
    QPushButton* cmdAdd_ = nullptr;
    QCheckBox* chkAutoFN_ = nullptr;
    QComboBox* cmbScaleY_ = nullptr;
    QScrollBar* scrNC_ = nullptr;
    QLabel* lblNC_ = nullptr;
    QCheckBox* chkRus_ = nullptr;
    QCheckBox* chkLine_ = nullptr;
    QTableWidget* grdStats_ = nullptr;
    QTimer statsRefresh_;
    QByteArray replyBytes_; // what the terminal received since the last send
    bool scanning_ = false;
    bool scanFound_ = false; // the last scan found analyzers: no new one until reopened
};
