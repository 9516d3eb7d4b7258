#pragma once

#include "net/PortAddress.h"
#include "net/Telnet.h"

#include <QByteArray>
#include <QObject>
#include <QTcpSocket>
#include <QTimer>

// A serial line reached through a device server: a TCP connection that
// carries the line's bytes as they are, or RFC 2217 telnet whose COM port
// option carries the line settings to the server's port. It reads and writes
// like a serial port object. Small writes go out at once (no Nagle delay).
//
// Closing keeps the connection for a moment: the station closes and reopens
// its port around every run, and a device server should not see a new
// client each time. Input that arrives while closed is thrown away, as a
// closed serial port would never see it.
class NetPort : public QObject
{
    Q_OBJECT
public:
    struct Line
    {
        quint32 baud = 9600;
        quint8 dataBits = 8;
        char parity = 'n';   // n, o, e, m, s
        quint8 stopBits = 1; // 1, 2, or 3 for 1.5
        bool operator==(const Line&) const = default;
    };
    static constexpr int kConnectWaitMs = 2000;
    static constexpr int kLingerMs = 3000;

    explicit NetPort(QObject* parent = nullptr);
    ~NetPort() override;

    // Connects (or takes up the lingering connection) and waits for it,
    // serving events, up to kConnectWaitMs. False with the reason in
    // *error when the server can't be reached.
    bool open(const PortAddress& address, const Line& line, QString* error);
    // Stops reading; the connection lingers a moment for the next open.
    void close();
    // Drops the connection at once.
    void disconnectNow();
    bool isOpen() const { return open_; }

    void setLine(const Line& line);
    // The line as an RFC 2217 server last said it runs it ("19200,e,8,1");
    // empty before its first answer and on raw TCP.
    QString lineInForce() const;
    qint64 bytesAvailable() const { return buffer_.size(); }
    QByteArray read(qint64 n);
    QByteArray readAll();
    // Throws away what waits here, and asks an RFC 2217 server to drop what
    // it holds for us.
    void discardInput();
    bool write(const QByteArray& bytes);

Q_SIGNALS:
    void readyRead();
    // The connection went away while open (refused, reset, closed by the server).
    void lost(const QString& why);
    // An RFC 2217 server runs the line otherwise than asked.
    void settingRefused(const QString& text);
    // An RFC 2217 server answered a line setting.
    void lineAnswered();

private:
    void onReadyRead();
    void onDisconnected();
    void onTelnet(const telnet::Event& e);
    void sendLine();
    QString describe() const;

    QTcpSocket socket_;
    QTimer linger_;
    PortAddress address_;
    Line line_;
    Line inForce_;
    int answered_ = 0; // which of baud, data, parity, stop the server has answered (bits)
    telnet::Decoder decoder_;
    QByteArray buffer_;
    bool open_ = false;
    bool connecting_ = false;
    bool comPortAgreed_ = false;
    QList<quint8> agreed_; // options whose negotiation we answered, to answer once
};
