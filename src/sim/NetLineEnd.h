#pragma once

#include "net/PortAddress.h"
#include "net/Telnet.h"

#include <QObject>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>

// The analyzer's end of a line served over the network, as a serial device
// server serves it: raw TCP, or RFC 2217 telnet whose COM port option sets
// the line. One client at a time; a second one is turned away while the
// first is connected. Bytes written while nobody is connected are lost, as
// on a line with no listener.
class NetLineEnd : public QObject
{
    Q_OBJECT
public:
    explicit NetLineEnd(QObject* parent = nullptr);
    ~NetLineEnd() override;

    // Listens on the address (port 0 picks a free one); false, with a reason.
    bool listen(const PortAddress& address, QString* error);
    // The address to give a client, with the port actually bound.
    QString url() const;
    bool hasClient() const { return client_ != nullptr; }
    // Writes data bytes to the client (escaped for telnet); returns how many
    // data bytes were taken, all of them also when nobody listens.
    qint64 write(const char* data, qint64 n);
    void close();

Q_SIGNALS:
    void received(const QByteArray& bytes);
    // An RFC 2217 client asked for line settings: "19200,e,8,1"; the baud
    // rate alone as a number too, for the line's pacing.
    void lineAsked(const QString& settings, int baud);

private:
    void onNewConnection();
    void onReadyRead();
    void onTelnet(const telnet::Event& e);

    QTcpServer server_;
    PortAddress address_;
    QPointer<QTcpSocket> client_;
    telnet::Decoder decoder_;
    // The line as the client set it, answered back as in force.
    quint32 baud_ = 9600;
    quint8 dataBits_ = 8;
    quint8 parity_ = telnet::ParityNone;
    quint8 stopSize_ = telnet::StopOne;
    QString said_; // the settings last reported
};
