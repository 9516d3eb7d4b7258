#pragma once

#include <QString>
#include <functional>

class CommPort;
class Station;

// The finder's scan of the RS-485 line: "#" + address + "SRAL?" + CR to each
// address in turn; an analyzer that answers with at least 8 bytes within the
// wait is found, and the first 8 characters are its serial number.

// A found analyzer's list item, "ABCD1234 at Addr=005". Everything that needs
// the address takes it from the item's last three characters (AddressOfItem).
QString DeviceItem(const QString& serial, int address);
// The address of a list item: its last three characters; -1 when they are not 0..255.
int AddressOfItem(const QString& item);
// The serial number of a list item: what stands before " at Addr=".
QString SerialOfItem(const QString& item);
// "ABCD1234 At Address=0A (Dec=10)": the caption of an analyzer's windows.
QString DeviceCaption(const QString& serial, int address);

struct ScanHooks
{
    std::function<void(int address)> visiting;                     // before each address
    std::function<void(int address, const QString& serial)> found; // after an answer
};

// Scans first..last in increasing order (the counter never wraps past 255),
// filling st.serialNumbers (emptied first) and st.foundDevices; ends early on
// the stop-scan or exit flag (the exit flag also closes the port). Between
// addresses it waits 200 ms. True when at least one analyzer answered.
bool ScanAddressFromTo(Station& st, int first, int last, CommPort& port,
                       const ScanHooks& hooks = {});
