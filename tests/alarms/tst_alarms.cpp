// Alarm thresholds: the check's sequences and the thresholds dialog. The
// windows it drives are tested through the main frame.
#include "FakeGraph.h"
#include "StationRig.h"
#include "TestMain.h"
#include "alarms/AlarmCheck.h"
#include "alarms/frmAlarm.h"

#include <QLineEdit>
#include <QPushButton>

namespace {
class FakeView : public AlarmView
{
public:
    void beep() override { ++beeps; }
    void setValueColor(int c) override { color = c; }
    void showComment() override { ++shows; }
    void setMessage(const QString& text) override { message = text; }
    int beeps = 0;
    int shows = 0;
    int color = AlarmCheck::Green;
    QString message;
};

// The check at a fixed time of day, showing on a fake alarm view.
struct AlarmRig : StationRig
{
    AlarmRig()
    {
        alarms.clock = [] { return QDateTime(QDate(2026, 11, 15), QTime(14, 5, 0)); };
        alarms.setView(&view);
    }
    AlarmCheck alarms{st};
    FakeView view;
};
} // namespace

class AlarmTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sequence_data()
    {
        QTest::addColumn<QPoint>("limits");
        QTest::addColumn<QString>("script"); // readings, and tick / ok / close / unattended
        QTest::addColumn<int>("beeps");
        QTest::addColumn<int>("interval");  // 0: tmrSound stopped
        QTest::addColumn<QString>("lines"); // the message: 1 and 2 for the two lines
        QTest::addColumn<int>("shows");
        QTest::addColumn<int>("color");
        const int green = AlarmCheck::Green;
        const QPoint usual(50, 80);
        QTest::newRow("Limit1 exactly") << usual << "50" << 1 << 700 << "1" << 1 << green;
        QTest::newRow("above both beeps once") << usual << "90" << 1 << 250 << "12" << 1 << green;
        QTest::newRow("2nd above Limit1") << usual << "60 70" << 1 << 700 << "1" << 1 << green;
        QTest::newRow("between after 2nd") << usual << "90 60" << 1 << 700 << "12" << 1 << green;
        QTest::newRow("below quiets, green")
            << usual << "90 tick 20" << 2 << 0 << "12" << 1 << green;
        QTest::newRow("ticks blink")
            << usual << "60 tick tick tick" << 4 << 700 << "1" << 1 << int(AlarmCheck::Red);
        QTest::newRow("Limit2 < Limit1")
            << QPoint(80, 50) << "90" << 1 << 250 << "12" << 1 << green;
        QTest::newRow("Limit2 <= v < Limit1")
            << QPoint(80, 50) << "60" << 1 << 0 << "2" << 1 << green;
        QTest::newRow("OK: both again") << usual << "90 ok 90" << 1 << 250 << "12" << 2 << green;
        QTest::newRow("closed: window again")
            << usual << "90 close 90" << 1 << 250 << "1" << 2 << green;
        QTest::newRow("no operator: quiet re-arms")
            << usual << "unattended 90 20 90" << 2 << 250 << "12" << 2 << green;
    }
    void sequence()
    {
        QFETCH(QPoint, limits);
        QFETCH(QString, script);
        QFETCH(QString, lines);
        AlarmRig r;
        r.st.limit1 = limits.x();
        r.st.limit2 = limits.y();
        for (const QString& step : script.split(' ')) {
            if (step == "tick")
                r.alarms.tmrSound_Timer();
            else if (step == "ok")
                r.alarms.acknowledge();
            else if (step == "close")
                r.alarms.commentUnloaded();
            else if (step == "unattended")
                r.alarms.acknowledgeWhenQuiet = true;
            else
                r.st.deliver(step.toDouble(), QByteArray()); // through the station's alarm sink
        }
        QTEST(r.view.beeps, "beeps");
        QTEST(r.alarms.tmrSound.interval(), "interval");
        QCOMPARE(r.alarms.tmrSound.isActive(), r.alarms.tmrSound.interval() != 0);
        QString expected;
        if (lines.contains('1'))
            expected = "15/11/26 14:05:00-1-й порог превышен";
        if (lines.contains('2'))
            expected += "\r\n15/11/26 14:05:00-2-й порог превышен";
        QCOMPARE(r.view.message, expected);
        QTEST(r.view.shows, "shows");
        QTEST(r.view.color, "color");
    }

    // On the RS-485 line each analyzer's lines name it, and the sound follows
    // the highest level among them.
    void lineChannels()
    {
        AlarmRig r;
        auto reading = [&](int address, double v) {
            Station::LineReading x;
            x.address = address;
            x.value = v;
            r.st.deliverLine(x);
            return r.alarms.tmrSound.interval();
        };
        QCOMPARE(reading(5, 90), 250);
        QCOMPARE(reading(10, 60), 250); // 5 is still above Limit2
        QCOMPARE(r.view.message, QStringLiteral("15/11/26 14:05:00-1-й порог превышен Addr=005\r\n"
                                                "15/11/26 14:05:00-2-й порог превышен Addr=005\r\n"
                                                "15/11/26 14:05:00-1-й порог превышен Addr=010"));
        QCOMPARE(reading(5, 20), 700); // 10 still above Limit1
        QCOMPARE(reading(10, 20), 0);
        QCOMPARE(r.view.color, int(AlarmCheck::Green));
        QCOMPARE(r.view.beeps, 1);
    }

    // The thresholds dialog.
    void filter_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("left");
        QTest::addColumn<int>("badData");
        const auto row = [](const char* name, const QString& typed, const QString& left, int bad) {
            QTest::newRow(name) << typed << left << bad;
        };
        row("12. cleared at the full stop", "12.", "", 1);
        row("12.5", "12.5", "5", 1);
        row("1/2 passes", "1/2", "1/2", 0);
        row("minus sign", "-5", "5", 1);
    }
    void filter()
    {
        QFETCH(QString, typed);
        QFETCH(int, badData);
        StationRig r;
        frmAlarm dlg(r.st);
        for (const char* name : {"txtAlarm1", "txtAlarm2"}) {
            auto* box = dlg.findChild<QLineEdit*>(name);
            box->clear();
            QTest::keyClicks(box, typed);
            QTEST(box->text(), "left");
        }
        QCOMPARE(r.n.messages, QStringList(2 * badData, "Bad Data"));
    }

    void ok_data()
    {
        QTest::addColumn<QString>("limit1");
        QTest::addColumn<QString>("limit2");
        QTest::addColumn<QString>("message"); // empty: accepted
        const auto row = [](const char* name, const QString& l1, const QString& l2,
                            const QString& message) { QTest::newRow(name) << l1 << l2 << message; };
        row("both empty", "", "", "Fill Limit 1 Value");
        row("second empty", "10", "", "Fill Limit 2 Value");
        row("1/2", "1/2", "80", "Bad Limit Value");
        row("beyond 32 bits", "10", "3000000000", "Bad Limit Value");
        row("Limit2 below Limit1", "70", "60", "");
    }
    void ok()
    {
        QFETCH(QString, message);
        StationRig r;
        // The limit lines go to the main graph and the first added one only.
        QStringList log;
        FakeGraph main(log, "main"), added(log, "added"), later(log, "later");
        GraphTable::of(r.st).setMainGraph(&main);
        GraphTable::of(r.st).set(0, &added);
        GraphTable::of(r.st).set(1, &later);
        frmAlarm dlg(r.st);
        auto* txt1 = dlg.findChild<QLineEdit*>("txtAlarm1");
        auto* txt2 = dlg.findChild<QLineEdit*>("txtAlarm2");
        QCOMPARE(txt1->text() + ' ' + txt2->text(), QString("50 80"));
        QFETCH(QString, limit1);
        QFETCH(QString, limit2);
        txt1->setText(limit1);
        txt2->setText(limit2);
        dlg.findChild<QPushButton*>("cmdOK")->click();
        const bool accepted = message.isEmpty();
        QCOMPARE(r.n.messages, accepted ? QStringList() : QStringList(message));
        QCOMPARE(dlg.result() == QDialog::Accepted, accepted);
        QCOMPARE(QList<qint32>({r.st.limit1, r.st.limit2}),
                 (accepted ? QList<qint32>{70, 60} : QList<qint32>{50, 80}));
        QCOMPARE(log, (accepted ? QStringList{"main SetLimit1Y 70", "main SetLimit2Y 60",
                                              "added SetLimit1Y 70", "added SetLimit2Y 60"}
                                : QStringList()));
    }
};

VELMORA_TEST_MAIN(AlarmTest)

#include "tst_alarms.moc"
