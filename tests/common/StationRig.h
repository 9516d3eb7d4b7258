#pragma once

#include "Pty.h"
#include "RecordingNotifier.h"
#include "sim/AnalyzerSim.h"
#include "station/Station.h"

#include <QTest>

// A station whose notifier keeps every message, question and status text.
struct StationRig
{
    RecordingNotifier n;
    Station st{n};
};

// A station on the near end of a pseudo-terminal; the test plays the analyzer
// on the far end.
struct PtyRig
{
    PtyRig()
    {
        st.portName = line.slavePath();
        st.applyPortSettings();
    }
    Pty line;
    RecordingNotifier n;
    Station st{n};
};

// A station on the line of a simulator started for it.
struct SimRig
{
    explicit SimRig(const SimConfig& c) : sim(c)
    {
        QVERIFY(sim.start());
        st.portName = sim.ttyPath();
        st.applyPortSettings();
    }
    AnalyzerSim sim;
    RecordingNotifier n;
    Station st{n};
};
