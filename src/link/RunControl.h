#pragma once

class Station;

// Starting and stopping acquisition, the receive handler and the polling
// timer's work. Stop itself is Station::Stop.

// Connects the receive handler to the station's port and the polling work to
// its timer HTmr; called once for each station by whoever runs it (the main
// frame, the headless runner, a test).
void wireRunControl(Station& st);

// Run: clears the stop request; on the RS-485 line starts polling the
// analyzers found (or says "No Devices Found" and stops); with a single
// analyzer opens the port, sends "XDAT?" and lets every 7 bytes raise a
// receive event.
void Run(Station& st);

// Starts the single analyzer's stream again on an open port: "XDAT?" with
// receive events off, then one record per receive event.
void StartStream(Station& st);

// The start routine: polling timer per synchro mode, port reopened with the
// frame length reset to 6, and, when auto-detection is on, the marker and
// record length measured from two frames of the live stream ("Time Out" when
// they don't come within 3000 ms). False when not running or not measured.
bool RunWork(Station& st);

// Starts the polling timer for the RS-485 line.
bool RunWork485(Station& st);

// Samples the stream (at least 6 bytes within 3000 ms) and takes the marker
// and record length from it; with on = false only stops the device-mode timer.
bool DetectFrame(Station& st, bool on);

// The receive handler: ignored in "From Timer" mode; line events go to the
// status bar as "CommEvent = n"; data goes to ProcessRecord.
void OnComm(Station& st);

// A tick of the polling timer: in "From Timer" mode, while running a single
// analyzer, asks for one record with "DATA?" and processes the reply.
void HTmr_Timer(Station& st);
