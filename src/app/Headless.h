#pragma once

#include "sim/SimConfig.h"

#include <QList>
#include <QString>
#include <functional>

class QCoreApplication;

struct HeadlessOptions
{
    bool simulate = false;
    double simRate = 1.0; // simulated readings per second
    SimProfile simProfile = SimProfile::Site;
    bool fromDevice = false; // take every streamed record instead of polling on the timer
    bool verbose = false;
    bool record = false;     // write the data files as Run Saving does
    bool rs485 = false;      // run on the RS-485 line
    QList<int> addresses;    // scanned on the line (all 256 when empty)
    QList<int> simAddresses; // the simulated line's analyzers
    bool collect = false;    // the central recorder instead of a station
    QString recordDir;       // where it writes (empty: the data folder)
};

// The station without windows: reads Tervala.ini, opens the port (or the
// built-in simulator), performs Run and prints one line per accepted reading
// on stdout; messages go to stderr. SIGINT or SIGTERM perform Stop, release
// the port and end with 0.
int runHeadless(QCoreApplication& app, const HeadlessOptions& options);

// The central recorder (--headless --collect): takes every station's
// readings from the broker of the [MQTT] section and writes them into the
// stations' data files under the record folder (Collector). Broker state,
// station status and rejected payloads go to stderr. SIGINT or SIGTERM write
// what is kept, sync and close the files and end with 0.
int runCollector(QCoreApplication& app, const HeadlessOptions& options);

class HeadlessNotifier;
class Station;

// The RS-485 part of runHeadless: scans the addresses, prints each analyzer
// found as its list item ("ZD005123 at Addr=005"), then polls them and prints
// one line per reading ("2026-11-22T23:30:01 005 19 1.9": local time,
// address, raw value in ppm x10, ppm); --record writes a file per analyzer.
// Nothing found: "No Devices Found" and 1. `onQuit` receives what SIGINT and
// SIGTERM must do: finish the exchange in progress, close the files, release
// the port, print the counts per address on stderr, end with 0.
int runHeadlessLine(QCoreApplication& app, Station& st, const HeadlessOptions& options,
                    std::function<void()>& onQuit);
