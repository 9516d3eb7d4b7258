#pragma once

#include "sim/SimConfig.h"
#include "sim/SimTrace.h"

#include <QByteArray>

// The state of one simulated analyzer: who it is, what it stores, and its
// traces. A streaming analyzer has address -1; analyzers on an RS-485 line
// carry their bus address 0..255.
struct SimUnit
{
    SimUnit(int address, QByteArray serial, quint32 seed, SimProfile profile)
        : address(address), serial(std::move(serial)),
          ch4(seed * 2654435761u + 1u, SimTrace::methane(profile)),
          co2(seed * 2246822519u + 7u, SimTrace::carbonDioxide())
    {
    }

    int address;
    QByteArray serial;                    // 8 characters, answered to "SRAL?"
    QByteArray userId = "SIMULATOR     "; // 14 characters, "CUST" / "CUST?"
    int zero = 0;                         // zero value, "AMB" exchange
    SimTrace ch4;
    SimTrace co2;
    int readings = 0; // readings taken so far
    int lastCh4 = 0;
    LineFault lineFault = LineFault::None; // how it misbehaves on the line
};
