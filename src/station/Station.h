#pragma once

#include "station/CommPort.h"
#include "station/DataFormat.h"

#include <QDateTime>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <array>
#include <functional>
#include <vector>

class Notifier;

// Place and state of a window, in twips (1/1440 inch).
struct WindowPlace
{
    int state = 0; // 0 normal, 1 minimised, 2 maximised
    int left = 0;
    int width = 0; // 0: not known yet, the window takes its own size
    int top = 0;
    int height = 0;
};

// The window layout kept in the settings file.
struct Layout
{
    int mdiTop = 50;
    int mdiLeft = 50;
    int mdiWidth = 10000;
    int mdiHeight = 8000;
    int valLeft = 0;
    int valTop = 360;
    bool valPlaced = false; // the value window's place came from the settings or a save
    WindowPlace w1;         // main graph window
    WindowPlace w2;         // added graph window
    int scaleYIndex = 4;
    int scaleYIndexAdd = 4;
    int scaleXIndex = 7;
    int scaleXIndexAdd = 5;
};

// The shared run state of the station, one per process (tests make their own):
// flags, port, data format, thresholds, layout, and the polling timer HTmr.
// It is created by main and passed by reference; nothing in it is global.
class Station : public QObject
{
    Q_OBJECT
public:
    explicit Station(Notifier& notifier, QObject* parent = nullptr);
    ~Station() override;

    Notifier& notifier() const { return notifier_; }

    // Run flags.
    bool running = false;
    bool synchroFromTimer = true; // "From Timer"; every start begins in this mode
    bool stopRequest = false;
    bool exitFlag = false;
    bool stopScan = false;
    bool rs485Mode = false;

    int timerPeriod = 4; // polling period, seconds
    int ncom = 2;        // COM port number
    QString commSettings;
    QString portName;     // a device that wins over ncom ("PortName")
    QString simulatorTty; // the built-in simulator's tty, when it runs

    DataFormat format; // marker = reply terminator, recordLength = frame length
    char separator = '\t';
    int zeroOffset = 0;   // subtracted from every reading
    int zeroPosition = 0; // the analyzer's zero position as last read or set
    // Takes the zero position that the analyzer confirmed as the one in force:
    // it becomes the zero position of the records and the offset subtracted
    // from every reading.
    void setZero(int position);
    int limit1 = 50;
    int limit2 = 80;
    bool fullDataToFile = true;
    QString dataFolder;
    QString iniPathDB;
    int recordCounter = 0;
    bool rus = false;
    bool useDatabase = false; // device formats from the database file (no database is read)

    // Device database names, kept though no table is read.
    QString dbFileName = QStringLiteral("kordeb.mdb");
    QString tableAlias = QStringLiteral("Alias");
    QString tableCmdUnCompat = QStringLiteral("CmdUnCompat");
    QString tableSoftData = QStringLiteral("SoftData");

    // Reception.
    QString valueText = QStringLiteral("0"); // the last value received as text
    QStringList componentValues;             // value text per component
    quint32 eventCounter = 0;                // receive events handled
    qint64 acceptedRecords = 0;
    qint64 droppedRecords = 0;
    bool recording = false; // data files are being written
    bool resyncing = false; // an out-of-step record's tail is being let through

    // The RS-485 line, by address 0..255.
    static constexpr int kAddresses = 256;
    int foundDevices = 0;                          // analyzers the last scan found
    std::array<QString, kAddresses> serialNumbers; // answer to "SRAL?", "" where none
    std::array<bool, kAddresses> polled{};         // asked for data on every cycle
    std::array<bool, kAddresses> lineAutoName{};   // the channel's file is named by the clock
    std::array<bool, kAddresses> lineRus{};        // the channel's file in the Russian format
    // Enters or leaves the RS-485 mode (rs485Mode) and says so.
    void setRs485Mode(bool on);

    // One reading of an analyzer on the line: the two value fields of its
    // data reply as text and the first one as a number, zero offset taken off.
    struct LineReading
    {
        int address = 0;
        QByteArray reply;
        QString first;  // the concentration, ppm x10
        QString second; // the analyzer's second component
        double value = 0;
    };
    // Where a reading from the line goes, in this order; the file sink only
    // while recording.
    enum LineSinkSlot
    {
        LineGraphSink,
        LineViewSink,
        LineFileSink,
        LineAlarmSink,
        LinePublishSink,
        LineSinkCount
    };
    using LineSink = std::function<void(const LineReading&)>;
    std::array<LineSink, LineSinkCount> lineSinks;
    void deliverLine(const LineReading& r);

    // Maintenance commands.
    QString deviceType = QStringLiteral("ZEP-D"); // the type chosen in cmbType
    QString calibrationConc; // concentration "CALB" carries; empty when none was entered
    int userIdReplyLen = 14; // bytes of the answer to "CUST?"

    // True while an exchange (a command, the zero exchange, a timer poll)
    // owns the line and waits for its answer; see LineExchange.
    bool lineBusy() const { return lineBusy_; }
    // True while an operator's exchange (an announced claim) holds the line:
    // the windows keep their commands disabled for that long. The polling
    // timer's short claims don't count, so Stop stays at hand while running.
    bool commandBusy() const { return lineBusy_ && announcedClaim_; }
    // Runs `action` (in `context`'s thread, while `context` lives) as soon
    // as no exchange holds the line: from the event loop right after the
    // holder lets go, or on the next turn of the loop when the line is free.
    // A command the operator gives during a polling exchange follows it.
    void whenLineFree(QObject* context, std::function<void()> action);

    // Where an accepted reading goes, in this order. The data-file sink is
    // called only while recording; the publisher comes last.
    enum SinkSlot
    {
        MainGraphSink,
        AddedGraphSink,
        ValueWindowSink,
        DataFileSink,
        AlarmSink,
        PublishSink,
        SinkCount
    };
    using Sink = std::function<void(double value, const QByteArray& reply)>;
    std::array<Sink, SinkCount> sinks;
    void deliver(double value, const QByteArray& reply);

    Layout layout;
    // Full-scale values of the linear Y-scale list; settings may replace entries 0..9.
    std::array<double, 14> scaleY = {200000, 100000, 50000, 25000, 10000, 5000, 2500,
                                     1000,   500,    250,   100,   50,    25,   10};

    CommPort myComm;
    QTimer HTmr; // polling timer; its tick also rotates the data files

    // Applies the port number, device name and line settings to myComm,
    // reopening the port when it is open.
    bool applyPortSettings();

    // Sets the polling timer to timerPeriod seconds (the timer's enabled state is kept).
    void applyTimerPeriod();

    // Stop: clears the running flag, opens the port if needed, sets RThreshold
    // to 0 and sends "CDAT?" + CR. The port stays open.
    void Stop();

    // Opens myComm if it is closed; tells the operator why when it can't.
    bool ensurePortOpen(bool quiet = false);

    // Sends text + CR (the send line, Run, Stop); false if the port can't be used.
    bool sendLine(const QString& text);

Q_SIGNALS:
    void runningChanged(bool running);
    // A line event other than received data (CommEvent and its number).
    void lineEvent(int commEvent);
    void lineBusyChanged(bool busy);
    void rs485ModeChanged(bool on);
    // The port's device went away, and came back (reopened by the station).
    void portLost(const QDateTime& at);
    void portBack(const QDateTime& at);
    void zeroChanged(int offset);

private:
    friend class LineExchange;
    Notifier& notifier_;
    bool lineBusy_ = false;
    bool announcedClaim_ = false;
    struct Deferred
    {
        QPointer<QObject> context;
        std::function<void()> action;
    };
    std::vector<Deferred> deferred_;
    void runDeferred();
};

// Claims the line for one exchange of command and answer, so that no other
// command is put on the line meanwhile and the receive handler leaves the
// answer alone. A second claim while one is held fails (owns() is false):
// the caller refuses its command. The port's InputLen is 0 for the length of
// the claim, so that Input() reads whatever is waiting. An announced claim
// (an operator's command) tells the windows, which disable the commands
// meanwhile; the polling timer's short claims pass unannounced.
class LineExchange
{
public:
    explicit LineExchange(Station& st, bool announce = true);
    ~LineExchange();
    LineExchange(const LineExchange&) = delete;
    LineExchange& operator=(const LineExchange&) = delete;

    bool owns() const { return owns_; }
    // Says so in the first status panel; for a caller whose claim failed.
    void refuse(const QString& what) const;

private:
    Station& st_;
    bool owns_ = false;
    bool announce_ = true;
    int inputLen_ = 0;
};

// Start-up defaults of the device and data format (iniDef).
void iniDef(Station& st);

// Raises the process and the main thread as far as the system allows; when
// it can't, says so once, and the readings go on at the normal priority.
void raisePriority(Notifier& notifier);
