#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

struct DataFormat;

// The device catalogue: the analyzer types the station knows, the command
// strings it sends them and the captions and tool tips of the command buttons.
namespace zep_cmnd {

// Device types in list order: "ZEP-C", "ZEP-D".
QStringList deviceTypes();
inline constexpr int defaultTypeIndex = 1; // "ZEP-D"

// Command strings. The carriage return is part of every command but "CUST"
// and "CALB", which carry an argument that their dialogs append.
struct Commands
{
    QByteArray serialNumber; // "SRAL?" CR
    QByteArray zero;         // "ZERO" CR
    QByteArray init;         // "INIT" CR
    QByteArray readUserId;   // "CUST?" CR
    QByteArray writeUserId;  // "CUST"
    QByteArray continuous;   // "CDAT?" CR (also what Stop sends)
    QByteArray oneRecord;    // "DATA?" CR
    QByteArray calibration;  // "CALB"
};
// Builds the catalogue for a device type (both types share one command set).
Commands buildCommands(const QString& deviceType);

// Captions of the command buttons, in panel order.
QStringList buttonCaptions();
// The tool tip for a caption that matches exactly, else an empty string.
QString toolTipFor(const QString& caption);

// Index of the first caption equal to `caption` (case-sensitive), or -1.
int FindCDATIndex(const QStringList& captions, const QString& caption);

// Sets the marker byte for a device type: "ZEP-C" 10, "ZEP-D" 13; any other
// text changes nothing. Always reports success.
bool InitDataFormat(DataFormat& format, const QString& deviceType);
// The database variant: no database is read, so nothing changes; reports success.
bool InitDataFormatFromDB(DataFormat& format, const QString& deviceType);

} // namespace zep_cmnd
