#pragma once

#include <QtGlobal>
#include <functional>

// Waits of the station. They run on the user-interface thread; the ones that
// keep it alive run a nested event loop, so port events, timers and clicks are
// served while waiting, without spinning a core.

// Milliseconds of a monotonic clock (the wrap-safe counterpart of timeGetTime).
qint64 nowMs();

// How many times faster than real time the waits' clock runs; 1 unless a
// test speeds it up, so that the waits of a long scan pass in moments while
// keeping their order and their proportions.
void setWaitClockRate(int rate);

// Returns after at least `totalMs`, letting events run; sleeps in `sliceMs` slices.
void PauseMs(int totalMs, int sliceMs);

// Waits `ms`. With keepAlive the events are served meanwhile; without it the
// thread sleeps and nothing else runs.
void WaitMs(int ms, bool keepAlive = false);

// Serves events until `done` is true, `abort` is true, or `timeoutMs` passes.
// Returns true when `done` became true. `done` is checked on every event and
// at least every few milliseconds.
bool WaitUntil(const std::function<bool()>& done, int timeoutMs,
               const std::function<bool()>& abort = {});
