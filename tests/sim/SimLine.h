#pragma once

#include "link/CommPort.h"
#include "rs485/Waits.h"
#include "sim/AnalyzerSim.h"

// A simulator on its pty with the station's port opened on the other end, all
// on the test's thread; the waits serve both while they wait.
struct SimLine
{
    explicit SimLine(const SimConfig& c) : sim(c) {}

    bool open(const QString& settings = QStringLiteral("9600,n,8,1"))
    {
        if (!sim.start())
            return false;
        port.setPortName(sim.ttyPath());
        port.setSettings(settings);
        return port.setPortOpen(true);
    }
    void send(const QByteArray& command) { port.Output(command + '\r'); }
    // Waits for at least n bytes (bounded) and returns all that came.
    QByteArray read(int n, int timeoutMs = 2000)
    {
        WaitUntil([&] { return port.InBufferCount() >= n; }, timeoutMs);
        return port.Input();
    }
    // True when nothing arrives within ms.
    bool quietFor(int ms)
    {
        return !WaitUntil([&] { return port.InBufferCount() > 0; }, ms);
    }
    // Waits until the simulator has heard `count` commands.
    bool heard(int count)
    {
        return WaitUntil([&] { return sim.commands().size() >= count; }, 2000);
    }

    AnalyzerSim sim;
    CommPort port;
};

inline SimConfig streamConfig(AnalyzerType type, double rate = 20.0, int baud = 9600)
{
    SimConfig c;
    c.type = type;
    c.readingsPerSecond = rate;
    c.baud = baud;
    c.seed = 42;
    return c;
}
