#pragma once

#include "net/NetPort.h"
#include "net/PortAddress.h"

#include <QByteArray>
#include <QObject>
#include <QSerialPort>
#include <QString>

// The station's serial port, `myComm`. It speaks the vocabulary of the classic
// communications control (port number, settings string, PortOpen, RThreshold,
// InputLen, InBufferCount, Input, Output, CommEvent, OnComm) on top of
// QSerialPort, so that each procedure reads like the operation it performs.
// A port name "tcp://HOST:PORT" or "rfc2217://HOST:PORT" reaches the line
// through a serial device server instead (NetPort); nothing above this
// object needs to know which kind of port it has.
class CommPort : public QObject
{
    Q_OBJECT
public:
    // CommEvent values. 2 is "data received"; the others are line events.
    enum Event
    {
        comEvReceive = 2,
        comEventBreak = 1001,
        comEventFrame = 1004,
        comEventOverrun = 1006,
        comEventRxOver = 1008,
        comEventRxParity = 1009,
        comEventTxFull = 1010,
        comEventDeviceGone = 1100, // the device vanished (USB adapter pulled, peer closed)
        comEventReadError = 1101,
        comEventWriteError = 1102,
        comEventConnectionLost = 1103, // the device server closed or dropped the connection
    };

    explicit CommPort(QObject* parent = nullptr);
    ~CommPort() override;

    // COM port number; COM n is "COM<n>" on Windows and, elsewhere,
    // devicePattern() with n - 1 (by default /dev/ttyS<n-1>).
    int commPort() const { return number_; }
    void setCommPort(int n) { number_ = n; }
    // A device name that wins over the number (setting "PortName"); empty for none.
    QString portName() const { return portName_; }
    void setPortName(const QString& name) { portName_ = name; }
    void setDevicePattern(const QString& pattern) { pattern_ = pattern; }
    QString devicePattern() const { return pattern_; }
    // The device that PortOpen = true opens.
    QString deviceName() const;
    QString deviceForNumber(int n) const;
    // True when the port name points at a device server.
    bool isNetwork() const;
    // The line settings an RFC 2217 server says it runs; empty otherwise.
    QString serverSettings() const { return net_ != nullptr ? net_->lineInForce() : QString(); }

    // Line settings "baud,parity,data,stop", e.g. "9600,n,8,1".
    QString Settings() const { return settings_; }
    // Returns false, with a reason in *error, for a string it can't use.
    bool setSettings(const QString& s, QString* error = nullptr);

    bool PortOpen() const;
    // Opens or closes the port; on failure lastError() names the port and the reason.
    bool setPortOpen(bool open);
    // A closed network port keeps its connection a moment for the next
    // open; this ends it at once. Nothing to do for a local port.
    void dropConnection();
    QString lastError() const { return lastError_; }

    int RThreshold() const { return rThreshold_; }
    void setRThreshold(int n);
    int InputLen() const { return inputLen_; }
    void setInputLen(int n) { inputLen_ = n; }
    void setInBufferSize(int n);
    int InBufferCount() const;
    // Reads InputLen bytes (all waiting bytes when InputLen is 0).
    QByteArray Input();
    // Reads every byte waiting, whatever InputLen says.
    QByteArray InputAll();
    // Throws away every byte waiting, whatever InputLen says: what the port
    // object holds and what the system's input queue holds.
    void discardInput();
    // Writes the bytes at once; false when the port is closed or the write fails.
    bool Output(const QByteArray& bytes);
    int CommEvent() const { return commEvent_; }

    // A readable sentence for a CommEvent value.
    static QString eventText(int event);

Q_SIGNALS:
    void OnComm();
    // The port was opened or closed (by a call or because the device vanished).
    void openChanged(bool open);
    // The device vanished or the line failed; the port has been closed.
    void deviceLost();
    // Something about the line worth telling the operator, such as a device
    // server that runs the line at other settings than those asked for.
    void lineNote(const QString& text);
    // An RFC 2217 server answered a line setting (serverSettings() has it).
    void serverSettingsChanged();

private:
    NetPort::Line netLine() const;
    NetPort& net();
    void onNetLost(const QString& why);
    qint64 available() const;
    QByteArray take(qint64 n);
    void onReadyRead();
    void onError(QSerialPort::SerialPortError error);
    void raise(int event);

    QSerialPort port_;
    NetPort* net_ = nullptr; // made when a network port is first opened
    int number_ = 2;
    QString portName_;
    QString pattern_ = QStringLiteral("/dev/ttyS%1");
    QString settings_ = QStringLiteral("9600,n,8,1");
    qint32 baud_ = 9600;
    QSerialPort::Parity parity_ = QSerialPort::NoParity;
    QSerialPort::DataBits dataBits_ = QSerialPort::Data8;
    QSerialPort::StopBits stopBits_ = QSerialPort::OneStop;
    int rThreshold_ = 0;
    int inputLen_ = 0;
    int commEvent_ = 0;
    QString lastError_;
};
