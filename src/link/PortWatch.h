#pragma once

#include <QObject>
#include <QTimer>

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

private:
    explicit PortWatch(Station& st);
    void onLost();
    void tryAgain();

    Station& st_;
    QTimer retry_;
};
