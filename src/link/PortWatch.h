#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

class Station;

// Brings the port back by itself. When its device vanishes or the line fails
// (a USB adapter pulled, a pseudo-terminal closed), the operator is told with
// the time, and the station tries to open the same device again about once
// a second. When it is back it resumes what it was doing: a streaming
// analyzer gets its start command again; timer polling and RS-485 cycles go
// on by themselves. The station's portLost and portBack signals let the
// recorder mark the gap. One per Station, a child of it (wireRunControl
// makes it).
class PortWatch : public QObject
{
    Q_OBJECT
public:
    static constexpr int kRetryMs = 1000;

    static PortWatch& of(Station& station);
    bool lost() const { return retry_.isActive(); }

    // At start, a device server that can't be reached yet is waited for as
    // a lost port is: said once with the time, tried about once a second
    // (events are served meanwhile) until it answers or `stop` says so.
    // True once the port is open; a local port or a malformed name is only
    // tried once, and its reason is left in the port's lastError().
    static bool reachAtStart(Station& st, const std::function<bool()>& stop);

private:
    explicit PortWatch(Station& st);
    void onLost();
    void tryAgain();

    Station& st_;
    QTimer retry_;
};
