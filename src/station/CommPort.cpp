#include "station/CommPort.h"

#include <QStringList>

CommPort::CommPort(QObject* parent) : QObject(parent)
{
    connect(&port_, &QSerialPort::readyRead, this, &CommPort::onReadyRead);
    connect(&port_, &QSerialPort::errorOccurred, this, &CommPort::onError);
}

CommPort::~CommPort()
{
    if (port_.isOpen())
        port_.close();
}

QString CommPort::deviceForNumber(int n) const
{
#ifdef Q_OS_WIN
    return QStringLiteral("COM%1").arg(n);
#else
    return pattern_.arg(n - 1);
#endif
}

QString CommPort::deviceName() const
{
    return portName_.isEmpty() ? deviceForNumber(number_) : portName_;
}

bool CommPort::isNetwork() const
{
    return portName_.contains(QLatin1String("://"));
}

NetPort& CommPort::net()
{
    if (net_ == nullptr) {
        net_ = new NetPort(this);
        connect(net_, &NetPort::readyRead, this, &CommPort::onReadyRead);
        connect(net_, &NetPort::lost, this, &CommPort::onNetLost);
        connect(net_, &NetPort::settingRefused, this, &CommPort::lineNote);
        connect(net_, &NetPort::lineAnswered, this, &CommPort::serverSettingsChanged);
    }
    return *net_;
}

NetPort::Line CommPort::netLine() const
{
    NetPort::Line l;
    l.baud = quint32(baud_);
    l.dataBits = quint8(dataBits_);
    const char parities[] = {'n', '?', 'e', 'o', 's', 'm'}; // QSerialPort::Parity order
    l.parity = parities[qBound(0, int(parity_), 5)];
    l.stopBits = quint8(stopBits_); // 1, 2, and 3 for 1.5, as the telnet option counts them
    return l;
}

bool CommPort::setSettings(const QString& s, QString* error)
{
    auto fail = [&](const QString& why) {
        if (error)
            *error = QStringLiteral("Bad port settings \"%1\": %2").arg(s, why);
        return false;
    };
    const QStringList f = s.split(',');
    if (f.size() != 4)
        return fail(QStringLiteral("expected baud,parity,data bits,stop bits"));
    bool ok = false;
    const int baud = f[0].trimmed().toInt(&ok);
    if (!ok || baud <= 0)
        return fail(QStringLiteral("bad baud rate"));
    QSerialPort::Parity parity;
    const QString p = f[1].trimmed().toLower();
    if (p == QLatin1String("n"))
        parity = QSerialPort::NoParity;
    else if (p == QLatin1String("e"))
        parity = QSerialPort::EvenParity;
    else if (p == QLatin1String("o"))
        parity = QSerialPort::OddParity;
    else if (p == QLatin1String("m"))
        parity = QSerialPort::MarkParity;
    else if (p == QLatin1String("s"))
        parity = QSerialPort::SpaceParity;
    else
        return fail(QStringLiteral("parity must be n, e, o, m or s"));
    const int data = f[2].trimmed().toInt(&ok);
    if (!ok || data < 5 || data > 8)
        return fail(QStringLiteral("data bits must be 5 to 8"));
    QSerialPort::StopBits stop;
    const QString sb = f[3].trimmed();
    if (sb == QLatin1String("1"))
        stop = QSerialPort::OneStop;
    else if (sb == QLatin1String("1.5"))
        stop = QSerialPort::OneAndHalfStop;
    else if (sb == QLatin1String("2"))
        stop = QSerialPort::TwoStop;
    else
        return fail(QStringLiteral("stop bits must be 1, 1.5 or 2"));

    settings_ = s.trimmed();
    baud_ = baud;
    parity_ = parity;
    dataBits_ = QSerialPort::DataBits(data);
    stopBits_ = stop;
    if (net_ != nullptr && net_->isOpen())
        net_->setLine(netLine());
    if (port_.isOpen()) {
        port_.setBaudRate(baud_);
        port_.setParity(parity_);
        port_.setDataBits(dataBits_);
        port_.setStopBits(stopBits_);
    }
    return true;
}

bool CommPort::PortOpen() const
{
    return port_.isOpen() || (net_ != nullptr && net_->isOpen());
}

bool CommPort::setPortOpen(bool open)
{
    if (open == PortOpen())
        return true;
    if (!open) {
        if (net_ != nullptr)
            net_->close();
        port_.close();
        Q_EMIT openChanged(false);
        return true;
    }
    const QString device = deviceName();
    PortAddress address;
    if (!PortAddress::parse(device, &address, &lastError_))
        return false;
    if (address.isNetwork()) {
        QString why;
        if (!net().open(address, netLine(), &why)) {
            lastError_ = QStringLiteral("Can't open port %1: %2").arg(device, why);
            return false;
        }
        lastError_.clear();
        Q_EMIT openChanged(true);
        return true;
    }
    port_.setPortName(device);
    if (!port_.open(QIODevice::ReadWrite)) {
        lastError_ = QStringLiteral("Can't open port %1: %2").arg(device, port_.errorString());
        port_.clearError();
        return false;
    }
    port_.setBaudRate(baud_);
    port_.setParity(parity_);
    port_.setDataBits(dataBits_);
    port_.setStopBits(stopBits_);
    port_.setFlowControl(QSerialPort::NoFlowControl);
    lastError_.clear();
    Q_EMIT openChanged(true);
    return true;
}

void CommPort::dropConnection()
{
    if (net_ != nullptr && !net_->isOpen())
        net_->disconnectNow();
}

void CommPort::setRThreshold(int n)
{
    rThreshold_ = qMax(0, n);
    // Bytes already waiting count as reaching the new threshold.
    if (rThreshold_ > 0 && PortOpen() && available() >= rThreshold_)
        QMetaObject::invokeMethod(this, &CommPort::onReadyRead, Qt::QueuedConnection);
}

void CommPort::setInBufferSize(int n)
{
    port_.setReadBufferSize(qMax(0, n));
}

qint64 CommPort::available() const
{
    if (net_ != nullptr && net_->isOpen())
        return net_->bytesAvailable();
    return port_.isOpen() ? port_.bytesAvailable() : 0;
}

QByteArray CommPort::take(qint64 n)
{
    if (net_ != nullptr && net_->isOpen())
        return n > 0 ? net_->read(n) : net_->readAll();
    if (!port_.isOpen())
        return {};
    return n > 0 ? port_.read(n) : port_.readAll();
}

int CommPort::InBufferCount() const
{
    return int(available());
}

QByteArray CommPort::Input()
{
    return take(inputLen_);
}

QByteArray CommPort::InputAll()
{
    return take(0);
}

void CommPort::discardInput()
{
    if (net_ != nullptr && net_->isOpen()) {
        net_->discardInput();
        return;
    }
    if (!port_.isOpen())
        return;
    port_.readAll();
    // Bytes that reached the system but not yet the port object go too.
    port_.clear(QSerialPort::Input);
}

bool CommPort::Output(const QByteArray& bytes)
{
    if (net_ != nullptr && net_->isOpen())
        return net_->write(bytes);
    if (!port_.isOpen())
        return false;
    if (port_.write(bytes) != bytes.size())
        return false;
    port_.flush();
    return true;
}

void CommPort::onReadyRead()
{
    // Records that arrive together are delivered one event each: the event
    // is raised again while enough bytes wait and the handler keeps taking
    // them (one that takes nothing, as in "From Timer" mode, ends the round).
    while (rThreshold_ > 0 && PortOpen() && available() >= rThreshold_) {
        const qint64 before = available();
        raise(comEvReceive);
        if (!PortOpen() || available() >= before)
            break;
    }
}

void CommPort::onNetLost(const QString& why)
{
    lastError_ = why;
    Q_EMIT openChanged(false);
    Q_EMIT deviceLost();
    raise(comEventConnectionLost);
}

void CommPort::onError(QSerialPort::SerialPortError error)
{
    switch (error) {
    case QSerialPort::ResourceError:
    case QSerialPort::ReadError:
        // Reads fail for good once the device is gone (a pulled USB adapter
        // answers EIO): release the port rather than spin on it.
        port_.clearError();
        if (port_.isOpen()) {
            port_.close();
            Q_EMIT openChanged(false);
            Q_EMIT deviceLost();
        }
        raise(error == QSerialPort::ResourceError ? comEventDeviceGone : comEventReadError);
        break;
    case QSerialPort::WriteError:
        port_.clearError();
        raise(comEventWriteError);
        break;
    default:
        break;
    }
}

void CommPort::raise(int event)
{
    commEvent_ = event;
    Q_EMIT OnComm();
}

QString CommPort::eventText(int event)
{
    switch (event) {
    case comEvReceive:
        return QStringLiteral("data received");
    case comEventBreak:
        return QStringLiteral("break received");
    case comEventFrame:
        return QStringLiteral("framing error");
    case comEventOverrun:
        return QStringLiteral("port overrun, characters lost");
    case comEventRxOver:
        return QStringLiteral("receive buffer overflow");
    case comEventRxParity:
        return QStringLiteral("parity error");
    case comEventTxFull:
        return QStringLiteral("transmit buffer full");
    case comEventDeviceGone:
        return QStringLiteral("the device is no longer there (unplugged?); the port was closed");
    case comEventReadError:
        return QStringLiteral("read error on the port (device gone?); the port was closed");
    case comEventWriteError:
        return QStringLiteral("write error on the port");
    case comEventConnectionLost:
        return QStringLiteral(
            "the device server closed or dropped the connection; the port was closed");
    default:
        return QStringLiteral("line event %1").arg(event);
    }
}
