#pragma once

#include <QString>

class QCoreApplication;

struct HeadlessOptions
{
    bool simulate = false;
    double simRate = 1.0;    // simulated readings per second
    bool fromDevice = false; // take every streamed record instead of polling on the timer
    bool verbose = false;
    bool record = false; // write the data files as Run Saving does
};

// The station without windows: reads Tervala.ini, opens the port (or the
// built-in simulator), performs Run and prints one line per accepted reading
// on stdout; messages go to stderr. SIGINT or SIGTERM perform Stop, release
// the port and end with 0.
int runHeadless(QCoreApplication& app, const HeadlessOptions& options);
