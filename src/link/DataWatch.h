#pragma once

#include <QDateTime>
#include <QObject>
#include <QTimer>

class Station;

// Notices a single analyzer that has fallen silent while the station runs:
// nothing accepted for silentLimitMs() ("From Device": 10 s; "From Timer":
// three polling periods) is reported as "no data since ..." (once, until
// readings come again). The station then sends its start command again; if
// the analyzer stays silent for as long again, the port is closed and opened
// anew (which cures a serial driver whose read notifications stall), and the
// start command follows. One per Station, a child of it (wireRunControl
// makes it).
class DataWatch : public QObject
{
    Q_OBJECT
public:
    static DataWatch& of(Station& station);

    // 0: the limit follows the synchro mode; tests set a short one.
    int limitMs = 0;
    int silentLimitMs() const;

private:
    explicit DataWatch(Station& st);
    void check();

    Station& st_;
    QTimer tick_;
    qint64 seenRecords_ = -1;
    QDateTime lastData_;
    int stage_ = 0; // 0 watching, 1 start command sent again, 2 port reopened
};
