#include "rs485/AddressScan.h"

#include "rs485/Waits.h"
#include "rs485/mdRS485.h"
#include "station/CommPort.h"
#include "station/Station.h"

#include <QCoreApplication>

namespace {
constexpr int kSerialLen = 8;
constexpr int kBetweenAddressesMs = 200;
} // namespace

QString DeviceItem(const QString& serial, int address)
{
    return serial + QStringLiteral(" at Addr=") +
           QString::number(address).rightJustified(3, QLatin1Char('0'));
}

int AddressOfItem(const QString& item)
{
    if (item.size() < 3)
        return -1;
    bool ok = false;
    const int a = item.right(3).toInt(&ok);
    return ok && a >= 0 && a <= 255 ? a : -1;
}

QString SerialOfItem(const QString& item)
{
    return item.left(item.lastIndexOf(QStringLiteral(" at Addr=")));
}

QString DeviceCaption(const QString& serial, int address)
{
    return serial + QStringLiteral(" At Address=") +
           QString::fromLatin1(ByteToFF(quint8(address))) + QStringLiteral(" (Dec=") +
           QString::number(address) + QLatin1Char(')');
}

bool ScanAddressFromTo(Station& st, int first, int last, CommPort& port, const ScanHooks& hooks)
{
    if (!port.PortOpen() && !st.ensurePortOpen())
        return false;
    st.serialNumbers.fill(QString());
    st.foundDevices = 0;
    bool found = false;
    for (int address = qMax(0, first); address <= qMin(255, last); ++address) {
        QCoreApplication::processEvents();
        if (hooks.visiting)
            hooks.visiting(address);
        QCoreApplication::processEvents();
        if (st.exitFlag) {
            port.setPortOpen(false);
            break;
        }
        const QByteArray hex = ByteToFF(quint8(address));
        if (st.stopScan)
            break;
        if (!SendVal(st, QStringLiteral("#%1SRAL?\r").arg(QString::fromLatin1(hex)), port))
            break;
        if (st.stopScan)
            break;
        if (ReplyIsOK(st, kSerialLen, port, ReplyWait::Scan)) {
            const QString serial = QString::fromLatin1(ReadReply(st, port)).left(kSerialLen);
            st.serialNumbers[size_t(address)] = serial;
            ++st.foundDevices;
            found = true;
            if (hooks.found)
                hooks.found(address, serial);
            QCoreApplication::processEvents();
            if (st.stopScan)
                break;
        }
        WaitMs(kBetweenAddressesMs, true);
        if (st.stopScan || st.exitFlag || address == 255)
            break;
    }
    return found;
}
