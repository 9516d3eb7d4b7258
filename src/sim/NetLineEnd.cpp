#include "sim/NetLineEnd.h"

using namespace telnet;

namespace {
const QList<quint32> kUartRates = {300,   600,   1200,   2400,   4800,   9600,  19200,
                                   38400, 57600, 115200, 230400, 460800, 921600};
} // namespace

NetLineEnd::NetLineEnd(QObject* parent) : QObject(parent), server_(this)
{
    connect(&server_, &QTcpServer::newConnection, this, &NetLineEnd::onNewConnection);
}

NetLineEnd::~NetLineEnd()
{
    // The client's socket goes with the server, and a socket that goes
    // while connected says so: that must not reach this half-gone object.
    for (QTcpSocket* s : server_.findChildren<QTcpSocket*>())
        s->disconnect(this);
    server_.close();
}

bool NetLineEnd::listen(const PortAddress& address, QString* error)
{
    address_ = address;
    const QHostAddress host = address.host == QLatin1String("localhost")
                                  ? QHostAddress(QHostAddress::LocalHost)
                                  : QHostAddress(address.host);
    if (host.isNull()) {
        if (error)
            *error = QStringLiteral("listen on an address, not a name: %1").arg(address.host);
        return false;
    }
    if (!server_.listen(host, address.port)) {
        if (error)
            *error = QStringLiteral("Can't listen on %1: %2")
                         .arg(address.toString(), server_.errorString());
        return false;
    }
    address_.port = server_.serverPort();
    return true;
}

QString NetLineEnd::url() const
{
    return address_.toString();
}

void NetLineEnd::close()
{
    server_.close();
    if (client_)
        client_->abort();
}

void NetLineEnd::onNewConnection()
{
    while (QTcpSocket* s = server_.nextPendingConnection()) {
        if (client_) {
            s->abort(); // one client at a time
            s->deleteLater();
            continue;
        }
        client_ = s;
        s->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        decoder_ = Decoder();
        connect(s, &QTcpSocket::readyRead, this, &NetLineEnd::onReadyRead);
        connect(s, &QTcpSocket::disconnected, this, [this, s] {
            if (client_ == s)
                client_ = nullptr;
            s->deleteLater();
        });
        if (address_.kind == PortAddress::Kind::Rfc2217)
            s->write(negotiation(DO, kComPort) + negotiation(WILL, kBinary) +
                     negotiation(DO, kBinary));
    }
}

qint64 NetLineEnd::write(const char* data, qint64 n)
{
    if (!client_ || client_->state() != QAbstractSocket::ConnectedState)
        return n;
    const QByteArray bytes(data, n);
    client_->write(address_.kind == PortAddress::Kind::Rfc2217 ? escape(bytes) : bytes);
    client_->flush();
    return n;
}

void NetLineEnd::onReadyRead()
{
    if (!client_)
        return;
    QByteArray data = client_->readAll();
    if (address_.kind == PortAddress::Kind::Rfc2217) {
        QList<Event> events;
        data = decoder_.feed(data, &events);
        for (const Event& e : std::as_const(events))
            onTelnet(e);
    }
    if (!data.isEmpty())
        Q_EMIT received(data);
}

void NetLineEnd::onTelnet(const Event& e)
{
    if (e.kind == Event::Negotiation) {
        // Agree to the options a device server has, refuse the rest; answers
        // to our own requests need none.
        const bool ours =
            e.option == kComPort || e.option == kBinary || e.option == kSuppressGoAhead;
        if (e.verb == WILL && e.option != kComPort && e.option != kBinary)
            client_->write(negotiation(ours ? DO : DONT, e.option));
        else if (e.verb == DO && e.option != kBinary)
            client_->write(negotiation(ours && e.option != kComPort ? WILL : WONT, e.option));
        return;
    }
    if (e.option != kComPort || e.payload.isEmpty())
        return;
    const quint8 command = quint8(e.payload[0]);
    const QByteArray value = e.payload.mid(1);
    bool lineChanged = true;
    switch (command) {
    case SetBaudRate:
        // A UART of a device server runs the usual rates only; asked for
        // another, it keeps the one it has and says so in its answer.
        if (kUartRates.contains(baudOf(value)))
            baud_ = baudOf(value);
        client_->write(comPortBaud(command + kServerReply, baud_));
        break;
    case SetDataSize:
    case SetParity:
    case SetStopSize: {
        quint8& field = command == SetDataSize ? dataBits_
                        : command == SetParity ? parity_
                                               : stopSize_;
        if (value.size() == 1 && value[0] != 0)
            field = quint8(value[0]);
        client_->write(comPort(command + kServerReply, QByteArray(1, char(field))));
        break;
    }
    default:
        lineChanged = false;
        if (command < kServerReply) // control, masks, purge: acknowledged as asked
            client_->write(comPort(command + kServerReply, value));
        break;
    }
    const QString line = lineText(baud_, parity_, dataBits_, stopSize_);
    if (lineChanged && line != said_) {
        said_ = line;
        Q_EMIT lineAsked(line, int(baud_));
    }
}
