// An operator's shift played on the real main frame against the simulator:
// windows opened and closed, modes and scales changed, runs stopped and
// started, and at the end every reading taken while recording is in the files.
#include "Files.h"
#include "StationRig.h"
#include "app/MDIFrm.h"
#include "app/frmCOM.h"
#include "rs485/LinePoller.h"
#include "rs485/Waits.h"
#include "rs485/frmFind.h"
#include "tst_app.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSet>
#include <QTest>

namespace {
// The value field of every record in the data files matching `pattern`,
// oldest file first.
QList<double> fileValues(const QString& folder, const QString& pattern)
{
    QList<double> out;
    const QDir dir(folder);
    for (const QString& name : dir.entryList({pattern}, QDir::Files, QDir::Time | QDir::Reversed)) {
        for (const QByteArray& line : contents(dir.filePath(name)).split('\n')) {
            const QList<QByteArray> fields = line.split('\t');
            if (fields.size() >= 3)
                out << fields[2].toDouble();
        }
    }
    return out;
}

// The controls an operator needs at any moment of a single-analyzer run.
QStringList unusable(MDIFrm& f, bool running)
{
    QStringList out;
    const char* keys[] = {running ? "Stop" : "Run", "Send", "Z", "Z0", "ZT", "Write"};
    for (const char* key : keys) {
        if (!f.toolButton(QLatin1String(key))->isEnabled())
            out << QLatin1String(key);
    }
    QAction* runItem = item(f, running ? "mnuStop" : "mnuRun");
    if (!runItem->isEnabled() || !runItem->isVisible())
        out << runItem->objectName();
    for (QPushButton* b : f.commandButtons()) {
        if (!b->isEnabled())
            out << b->text();
    }
    if (!f.findChild<QLineEdit*>(QStringLiteral("TxtTo"))->isEnabled())
        out << QStringLiteral("TxtTo");
    return out;
}

// Counts the readings that reach the value window, and those that came
// while recording.
struct ReadingLog
{
    explicit ReadingLog(Station& st) : st_(st)
    {
        Station::Sink view = st.sinks[Station::ValueWindowSink];
        st.sinks[Station::ValueWindowSink] = [this, view](double v, const QByteArray& reply) {
            all << v;
            if (st_.recording)
                recorded << v;
            view(v, reply);
        };
    }
    bool waitFor(int more, int ms = 5000)
    {
        const qsizetype target = all.size() + more;
        return QTest::qWaitFor([&] { return all.size() >= target; }, ms);
    }
    Station& st_;
    QList<double> all;
    QList<double> recorded;
};
} // namespace

// "From Timer", the default mode: once readings have come, Stop is at hand
// and ends the run; the wire then carries "CDAT?" and no more "DATA?".
void OperatorShiftTest::stopInTimerMode()
{
    SimConfig c;
    c.readingsPerSecond = 10;
    c.seed = 4;
    SimRig r(c);
    r.st.timerPeriod = 1;
    MDIFrm f(r.st);
    f.show();
    ReadingLog log(r.st);
    f.toolButton(QStringLiteral("Run"))->trigger();
    QVERIFY(log.waitFor(2));
    QVERIFY(QTest::qWaitFor([&] { return !r.st.lineBusy(); }, 3000));
    QCOMPARE(unusable(f, true), QStringList());
    item(f, "mnuStop")->trigger();
    QVERIFY(QTest::qWaitFor([&] { return r.sim.commands().contains("CDAT?"); }, 2000));
    QVERIFY(r.n.lastStatus.value(0) != QLatin1String("Running"));
    r.sim.clearLogs();
    QTest::qWait(2200); // two periods
    QCOMPARE(r.sim.commands(), QList<QByteArray>());
    QCOMPARE(unusable(f, false), QStringList());
}

void OperatorShiftTest::shift()
{
    const QString folder = dir_->path();
    SimConfig single;
    single.readingsPerSecond = 20;
    single.seed = 9;
    SimRig r(single);
    Station& st = r.st;
    st.timerPeriod = 1;
    st.dataFolder = folder;
    MDIFrm f(st);
    f.show();
    ReadingLog log(st);

    // The finder looked at and closed before the run.
    f.mnuFind_Click();
    QVERIFY(f.finder()->isVisible());
    f.finder()->close();

    // Timer mode: Run, Run Saving.
    f.toolButton(QStringLiteral("Run"))->trigger();
    item(f, "mnuRunSaving")->trigger();
    QVERIFY(st.recording);
    QVERIFY(log.waitFor(2));
    QTRY_COMPARE(unusable(f, true), QStringList());

    // Every view opened and closed, the graph too.
    for (const char* key : {"Digital", "Table", "Diagram", "Graph"}) {
        for (int i = 0; i < 2; ++i) {
            f.toolButton(QLatin1String(key))->trigger();
            QTest::qWait(20); // a closed window goes on the next turn of the loop
        }
    }
    QVERIFY(f.mainGraph());

    // Synchro mode "From Device": every streamed record counts.
    {
        frmCOM com(st, &f);
        com.show();
        com.findChild<QRadioButton*>(QStringLiteral("optDevice"))->click();
        com.close();
    }
    QVERIFY(!st.synchroFromTimer);
    QVERIFY(log.waitFor(10));

    // Scales and the log axis.
    frmOscil* graph = f.mainGraph();
    auto* scaleX = graph->findChild<QComboBox*>(QStringLiteral("cmbScaleX"));
    scaleX->setCurrentIndex(2);
    Q_EMIT scaleX->activated(2);
    auto* scaleY = graph->findChild<QComboBox*>(QStringLiteral("cmbScaleY"));
    scaleY->setCurrentIndex(6);
    Q_EMIT scaleY->activated(6);
    graph->findChild<QCheckBox*>(QStringLiteral("chkLog"))->click();
    QVERIFY(log.waitFor(5));
    graph->findChild<QCheckBox*>(QStringLiteral("chkLog"))->click();
    QCOMPARE(unusable(f, true), QStringList());

    // Stop, Run again, End Saving.
    f.toolButton(QStringLiteral("Stop"))->trigger();
    QCOMPARE(unusable(f, false), QStringList());
    f.toolButton(QStringLiteral("Run"))->trigger();
    QVERIFY(log.waitFor(5));
    QCOMPARE(unusable(f, true), QStringList());
    item(f, "mnuEndSaving")->trigger();
    f.toolButton(QStringLiteral("Stop"))->trigger();
    QCOMPARE(fileValues(folder, QStringLiteral("*h*_*.dat")), log.recorded);
    QVERIFY(log.recorded.size() >= 20);

    // The RS-485 line: scan, Add, Run, Run Saving; the finder closed while
    // the line runs; Stop.
    SimConfig bus;
    bus.addresses = {5, 7};
    bus.seed = 9;
    AnalyzerSim line(bus);
    QVERIFY(line.start());
    st.portName = line.ttyPath();
    st.applyPortSettings();
    f.mnuFind_Click();
    frmFind* find = f.finder();
    QVERIFY(find->isVisible());
    find->scanFirst = 4;
    find->scanLast = 8;
    setWaitClockRate(5);
    find->findChild<QPushButton*>(QStringLiteral("cmdScanDev"))->click();
    setWaitClockRate(1);
    // The line monitor opens in front of the finder, beside it, whole on the screen.
    find->findChild<QPushButton*>(QStringLiteral("cmdMonitor"))->click();
    auto* monitor = f.findChild<QWidget*>(QStringLiteral("frmMonitor"));
    QVERIFY(monitor && monitor->isWindow() && monitor->isVisible());
    QVERIFY(!monitor->frameGeometry().intersects(find->frameGeometry()) ||
            !find->screen()->availableGeometry().contains(
                find->frameGeometry().adjusted(0, 0, monitor->width() + 8, 0)));
    QVERIFY(monitor->screen()->availableGeometry().contains(monitor->frameGeometry()));
    monitor->close();
    auto* addList = find->findChild<QComboBox*>(QStringLiteral("cmbDevicesA"));
    QCOMPARE(addList->count(), 2);
    for (int i = 0; i < 2; ++i) {
        addList->setCurrentIndex(i);
        find->findChild<QPushButton*>(QStringLiteral("cmdAdd"))->click();
    }
    QVERIFY(st.rs485Mode);
    // Each analyzer's graph window opens where it hides no other.
    QList<QPoint> corners{f.mainGraph()->parentWidget()->pos()};
    for (int a : {5, 7}) {
        QVERIFY(f.lineGraph(a));
        corners << f.lineGraph(a)->parentWidget()->pos();
    }
    QCOMPARE(QSet<QPoint>(corners.begin(), corners.end()).size(), 3);
    f.toolButton(QStringLiteral("Run"))->trigger();
    item(f, "mnuRunSaving")->trigger();
    QVERIFY(st.recording);
    // Adding an analyzer while the line's files are open is refused, with a word.
    find->findChild<QPushButton*>(QStringLiteral("cmdAdd"))->click();
    QCOMPARE(r.n.messages.size(), 1);
    LinePoller& poller = LinePoller::of(st);
    QVERIFY(QTest::qWaitFor([&] { return poller.cycles() >= 1; }, 5000));
    find->close();
    const qint64 closedAt = poller.cycles();
    QVERIFY(QTest::qWaitFor([&] { return poller.cycles() >= closedAt + 2; }, 6000));
    f.toolButton(QStringLiteral("Stop"))->trigger();
    QVERIFY(QTest::qWaitFor([&] { return !poller.inCycle(); }, 2000));
    // So is leaving the line.
    f.mnuFind_Click();
    auto* onLine = find->findChild<QCheckBox*>(QStringLiteral("chkLine"));
    onLine->click();
    QVERIFY(st.rs485Mode && onLine->isChecked());
    QCOMPARE(r.n.messages.size(), 2);
    item(f, "mnuEndSaving")->trigger();
    const auto sent = line.records();
    for (int a : {5, 7}) {
        QCOMPARE(poller.stats(a).replies, poller.stats(a).requests);
        QList<double> values;
        for (const AnalyzerSim::SentRecord& x : sent) {
            if (x.address == a)
                values << x.value;
        }
        QCOMPARE(fileValues(folder, QStringLiteral("*_A%1.dat").arg(a, 3, 10, QLatin1Char('0'))),
                 values);
    }
}
