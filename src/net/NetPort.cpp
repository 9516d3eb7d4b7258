#include "net/NetPort.h"

#include <QEventLoop>

using namespace telnet;

namespace {
bool wanted(quint8 option)
{
    return option == kComPort || option == kBinary || option == kSuppressGoAhead;
}

quint8 parityCode(char p)
{
    switch (p) {
    case 'o':
        return ParityOdd;
    case 'e':
        return ParityEven;
    case 'm':
        return ParityMark;
    case 's':
        return ParitySpace;
    default:
        return ParityNone;
    }
}

QString parityName(quint8 code)
{
    switch (code) {
    case ParityNone:
        return QStringLiteral("no parity");
    case ParityOdd:
        return QStringLiteral("odd parity");
    case ParityEven:
        return QStringLiteral("even parity");
    case ParityMark:
        return QStringLiteral("mark parity");
    case ParitySpace:
        return QStringLiteral("space parity");
    default:
        return QStringLiteral("parity %1").arg(code);
    }
}

QString stopName(quint8 code)
{
    switch (code) {
    case StopOne:
        return QStringLiteral("1 stop bit");
    case StopTwo:
        return QStringLiteral("2 stop bits");
    case StopOneAndHalf:
        return QStringLiteral("1.5 stop bits");
    default:
        return QStringLiteral("stop size %1").arg(code);
    }
}
} // namespace

NetPort::NetPort(QObject* parent) : QObject(parent), socket_(this), linger_(this)
{
    linger_.setSingleShot(true);
    linger_.setInterval(kLingerMs);
    connect(&linger_, &QTimer::timeout, this, &NetPort::disconnectNow);
    connect(&socket_, &QTcpSocket::readyRead, this, &NetPort::onReadyRead);
    connect(&socket_, &QTcpSocket::disconnected, this, &NetPort::onDisconnected);
}

NetPort::~NetPort()
{
    socket_.disconnect(this);
    socket_.abort();
}

QString NetPort::describe() const
{
    return address_.toString();
}

bool NetPort::open(const PortAddress& address, const Line& line, QString* error)
{
    if (open_)
        return true;
    if (connecting_) {
        *error = QStringLiteral("still connecting");
        return false;
    }
    const bool sameServer = address.kind == address_.kind && address.host == address_.host &&
                            address.port == address_.port;
    if (sameServer && socket_.state() == QAbstractSocket::ConnectedState) {
        linger_.stop();
        buffer_.clear();
        open_ = true;
        setLine(line);
        return true;
    }
    disconnectNow();
    address_ = address;
    line_ = line;
    decoder_ = Decoder();
    agreed_.clear();
    comPortAgreed_ = false;
    answered_ = 0;

    connecting_ = true;
    QEventLoop loop;
    QTimer limit;
    limit.setSingleShot(true);
    connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
    connect(&socket_, &QTcpSocket::connected, &loop, &QEventLoop::quit);
    connect(&socket_, &QTcpSocket::errorOccurred, &loop, &QEventLoop::quit);
    socket_.connectToHost(address.host, address.port);
    limit.start(kConnectWaitMs);
    if (socket_.state() != QAbstractSocket::ConnectedState &&
        socket_.state() != QAbstractSocket::UnconnectedState)
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    socket_.disconnect(&loop);
    connecting_ = false;

    if (socket_.state() != QAbstractSocket::ConnectedState) {
        *error = socket_.state() == QAbstractSocket::UnconnectedState
                     ? socket_.errorString()
                     : QStringLiteral("no answer within %1 s").arg(kConnectWaitMs / 1000);
        socket_.abort();
        return false;
    }
    socket_.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    socket_.setSocketOption(QAbstractSocket::KeepAliveOption, 1);
    buffer_.clear();
    open_ = true;
    if (address_.kind == PortAddress::Kind::Rfc2217) {
        QByteArray hello;
        for (const quint8 option : {kComPort, kBinary, kSuppressGoAhead}) {
            hello += negotiation(WILL, option);
            agreed_.append(WILL);
            agreed_.append(option);
        }
        for (const quint8 option : {kBinary, kSuppressGoAhead}) {
            hello += negotiation(DO, option);
            agreed_.append(DO);
            agreed_.append(option);
        }
        socket_.write(hello);
        socket_.flush();
    }
    return true;
}

void NetPort::close()
{
    if (!open_)
        return;
    open_ = false;
    buffer_.clear();
    linger_.start();
}

void NetPort::disconnectNow()
{
    linger_.stop();
    open_ = false;
    buffer_.clear();
    if (socket_.state() != QAbstractSocket::UnconnectedState)
        socket_.abort();
}

void NetPort::setLine(const Line& line)
{
    line_ = line;
    if (comPortAgreed_ && socket_.state() == QAbstractSocket::ConnectedState)
        sendLine();
}

QString NetPort::lineInForce() const
{
    if (answered_ != 0xF)
        return {};
    return lineText(inForce_.baud, quint8(inForce_.parity), inForce_.dataBits, inForce_.stopBits);
}

void NetPort::sendLine()
{
    QByteArray out = comPortBaud(SetBaudRate, line_.baud);
    out += comPort(SetDataSize, QByteArray(1, char(line_.dataBits)));
    out += comPort(SetParity, QByteArray(1, char(parityCode(line_.parity))));
    out += comPort(SetStopSize, QByteArray(1, char(line_.stopBits)));
    out += comPort(SetControl, QByteArray(1, char(kNoFlowControl)));
    // Line and modem state changes are of no use to the station: none, please.
    out += comPort(SetLineStateMask, QByteArray(1, '\0'));
    out += comPort(SetModemStateMask, QByteArray(1, '\0'));
    socket_.write(out);
    socket_.flush();
}

QByteArray NetPort::read(qint64 n)
{
    const QByteArray out = buffer_.left(n);
    buffer_.remove(0, out.size());
    return out;
}

QByteArray NetPort::readAll()
{
    return std::exchange(buffer_, {});
}

void NetPort::discardInput()
{
    buffer_.clear();
    if (!open_)
        return;
    // What the socket holds goes too (telnet answers in it are still read).
    QList<Event> events;
    const QByteArray pending = socket_.readAll();
    if (address_.kind == PortAddress::Kind::Rfc2217) {
        decoder_.feed(pending, &events);
        for (const Event& e : std::as_const(events))
            onTelnet(e);
        if (comPortAgreed_) {
            socket_.write(comPort(PurgeData, QByteArray(1, char(kPurgeReceive))));
            socket_.flush();
        }
    }
}

bool NetPort::write(const QByteArray& bytes)
{
    if (!open_ || socket_.state() != QAbstractSocket::ConnectedState)
        return false;
    const QByteArray wire = address_.kind == PortAddress::Kind::Rfc2217 ? escape(bytes) : bytes;
    if (socket_.write(wire) != wire.size())
        return false;
    socket_.flush();
    return true;
}

void NetPort::onReadyRead()
{
    QByteArray data = socket_.readAll();
    if (address_.kind == PortAddress::Kind::Rfc2217) {
        QList<Event> events;
        data = decoder_.feed(data, &events);
        for (const Event& e : std::as_const(events))
            onTelnet(e);
    }
    if (!open_ || data.isEmpty())
        return;
    buffer_ += data;
    Q_EMIT readyRead();
}

void NetPort::onTelnet(const Event& e)
{
    auto answerOnce = [this](quint8 verb, quint8 option) {
        for (qsizetype i = 0; i + 1 < agreed_.size(); i += 2) {
            if (agreed_[i] == verb && agreed_[i + 1] == option)
                return;
        }
        agreed_.append(verb);
        agreed_.append(option);
        socket_.write(negotiation(verb, option));
        socket_.flush();
    };
    if (e.kind == Event::Negotiation) {
        switch (e.verb) {
        case DO:
            answerOnce(wanted(e.option) ? WILL : WONT, e.option);
            if (e.option == kComPort && !comPortAgreed_) {
                comPortAgreed_ = true;
                sendLine();
            }
            break;
        case WILL:
            answerOnce(e.option == kBinary || e.option == kSuppressGoAhead ? DO : DONT, e.option);
            break;
        case DONT:
            if (e.option == kComPort)
                Q_EMIT settingRefused(
                    QStringLiteral(
                        "%1 refuses the COM port option; the line runs as the server has it")
                        .arg(describe()));
            answerOnce(WONT, e.option);
            break;
        default: // WONT
            answerOnce(DONT, e.option);
            break;
        }
        return;
    }
    if (e.option != kComPort || e.payload.isEmpty())
        return;
    const quint8 command = quint8(e.payload[0]);
    const QByteArray value = e.payload.mid(1);
    const QString where = describe();
    switch (command) {
    case SetBaudRate + kServerReply: {
        const quint32 baud = baudOf(value);
        inForce_.baud = baud;
        answered_ |= 1;
        if (baud != 0 && baud != line_.baud)
            Q_EMIT settingRefused(
                QStringLiteral("%1 runs the line at %2 Bd, not the %3 Bd asked for")
                    .arg(where)
                    .arg(baud)
                    .arg(line_.baud));
        break;
    }
    case SetDataSize + kServerReply:
        inForce_.dataBits = quint8(value.isEmpty() ? 0 : value[0]);
        answered_ |= 2;
        if (value.size() == 1 && value[0] != 0 && quint8(value[0]) != line_.dataBits)
            Q_EMIT settingRefused(
                QStringLiteral("%1 runs the line with %2 data bits, not the %3 asked for")
                    .arg(where)
                    .arg(int(value[0]))
                    .arg(line_.dataBits));
        break;
    case SetParity + kServerReply:
        inForce_.parity = value.isEmpty() ? 0 : value[0]; // kept as the option's code
        answered_ |= 4;
        if (value.size() == 1 && value[0] != 0 && quint8(value[0]) != parityCode(line_.parity))
            Q_EMIT settingRefused(QStringLiteral("%1 runs the line with %2, not the %3 asked for")
                                      .arg(where, parityName(quint8(value[0])),
                                           parityName(parityCode(line_.parity))));
        break;
    case SetStopSize + kServerReply:
        inForce_.stopBits = quint8(value.isEmpty() ? 0 : value[0]);
        answered_ |= 8;
        if (value.size() == 1 && value[0] != 0 && quint8(value[0]) != line_.stopBits)
            Q_EMIT settingRefused(
                QStringLiteral("%1 runs the line with %2, not the %3 asked for")
                    .arg(where, stopName(quint8(value[0])), stopName(line_.stopBits)));
        break;
    default: // line and modem state notifications, flow control, purge: nothing to do
        return;
    }
    Q_EMIT lineAnswered();
}

void NetPort::onDisconnected()
{
    linger_.stop();
    if (!open_)
        return;
    open_ = false;
    buffer_.clear();
    const QString why = socket_.error() == QAbstractSocket::UnknownSocketError
                            ? QStringLiteral("the server closed the connection")
                            : socket_.errorString();
    Q_EMIT lost(why);
}
