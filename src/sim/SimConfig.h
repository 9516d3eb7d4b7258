#pragma once

#include "net/PortAddress.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <optional>

// The two streaming analyzer models. Both send five digits and two line-end
// bytes; they differ in the order of those bytes, so the byte at index 6 (the
// record marker) is LF for ZEP-C and CR for ZEP-D.
enum class AnalyzerType
{
    ZepC,
    ZepD
};

std::optional<AnalyzerType> analyzerTypeFromName(const QString& name);
QString analyzerTypeName(AnalyzerType type);

// How the analyzer answers its maintenance commands (serial number, zero,
// user identifier, calibration, the zero position); records are not touched.
enum class AnswerFault
{
    None,      // answers as it should
    Silent,    // answers nothing
    Malformed, // every answer starts with '?' instead of its first byte
    Refuse     // keeps its zero position and calibration: confirms the old zero, "ER" to "CALB"
};

std::optional<AnswerFault> answerFaultFromName(const QString& name);

// How one analyzer on an RS-485 line misbehaves, so that the station's handling
// of a faulty analyzer can be tried. The others on the line stay healthy.
enum class LineFault
{
    None,
    Silent,      // answers nothing at all
    ShortSerial, // answers "SRAL?" with 5 characters and CR
    WrongCheck,  // data reply whose check value doesn't match its body
    WrongStart,  // data reply that starts with '#' instead of 0x0E
    ShortReply,  // data reply of 72 bytes: its last body byte is lost
    Late         // answers every command 700 ms late
};

// "silent", "short-serial", "wrong-check", "wrong-start", "short-reply", "late".
std::optional<LineFault> lineFaultFromName(const QString& name);

// What the simulated methane does over time: "site", a believable boiler
// room (a background near 2 ppm, a leak plume of a few hundred ppm every
// minute or two); "flat", the background alone; "steps", short plumes just
// over the two alarm thresholds every 40..120 readings.
enum class SimProfile
{
    Site,
    Flat,
    Steps
};

std::optional<SimProfile> simProfileFromName(const QString& name);

// Readings a second a simulated analyzer can stream, the same for the
// station's --sim-rate and velmora-sim's --rate.
inline constexpr double kMinSimRate = 0.01;
inline constexpr double kMaxSimRate = 20000.0;
// Parses a rate in those bounds; nullopt (and a reason in *error) otherwise.
std::optional<double> parseSimRate(const QString& text, QString* error = nullptr);

// Everything a simulated line is started with. An empty address list means one
// streaming analyzer; a non-empty one means an RS-485 line of addressed analyzers.
struct SimConfig
{
    AnalyzerType type = AnalyzerType::ZepD;
    int baud = 9600;
    double readingsPerSecond = 1.0;
    SimProfile profile = SimProfile::Steps;
    QList<int> addresses;
    // Seed of the concentration traces; without one every run differs.
    std::optional<quint32> seed;

    // Faults repeated for the whole run (0 = never).
    int garbleEvery = 0;     // every Nth record carries a non-digit in its value
    int shiftEvery = 0;      // every Nth record arrives out of step
    int burstSize = 1;       // records held back and delivered together
    int silenceAfterMs = -1; // stop answering after this long (-1 = never)
    int pullAfterMs = -1;    // close the line after this long (-1 = never)
    AnswerFault answers = AnswerFault::None;
    // Misbehaving analyzers by address; RS-485 lines only.
    QMap<int, LineFault> lineFaults;
    // Served over the network at this address instead of on a pseudo-terminal.
    PortAddress listen;

    bool isRs485() const { return !addresses.isEmpty(); }
};

// Parses "1,2,10-12" into sorted, distinct addresses 0..255; nullopt (and a
// reason in *error) for anything else.
std::optional<QList<int>> parseAddressList(const QString& text, QString* error = nullptr);

// Parses "7=short-serial,9=silent,12=late" (addresses 0..255, each once, kinds
// as lineFaultFromName takes them); nullopt (and a reason in *error) for
// anything else.
std::optional<QMap<int, LineFault>> parseLineFaults(const QString& text, QString* error = nullptr);
