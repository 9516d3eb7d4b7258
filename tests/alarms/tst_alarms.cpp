// Alarm thresholds: the check's sequences and the thresholds dialog. The
// windows it drives are tested through the main frame.
#include "RecordingNotifier.h"
#include "TestMain.h"
#include "alarms/AlarmCheck.h"
#include "alarms/frmAlarm.h"
#include "display/GraphTable.h"
#include "station/Station.h"

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

class FakeGraph : public TrendGraph
{
public:
    bool SetNewPointA() override { return true; }
    void SetLimit1Y(qint32 limit) override { limits[0] = limit; }
    void SetLimit2Y(qint32 limit) override { limits[1] = limit; }
    bool SetScalesX(int) override { return true; }
    bool SetScalesY(double) override { return true; }
    void setSynchro(bool) override {}
    QList<qint32> limits{0, 0};
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
        RecordingNotifier n;
        Station st(n);
        st.limit1 = limits.x();
        st.limit2 = limits.y();
        AlarmCheck alarms(st);
        alarms.clock = [] { return QDateTime(QDate(2026, 11, 15), QTime(14, 5, 0)); };
        FakeView view;
        alarms.setView(&view);
        for (const QString& step : script.split(' ')) {
            if (step == "tick")
                alarms.tmrSound_Timer();
            else if (step == "ok")
                alarms.acknowledge();
            else if (step == "close")
                alarms.commentUnloaded();
            else if (step == "unattended")
                alarms.acknowledgeWhenQuiet = true;
            else
                st.deliver(step.toDouble(), QByteArray()); // through the station's alarm sink
        }
        QTEST(view.beeps, "beeps");
        QTEST(alarms.tmrSound.interval(), "interval");
        QCOMPARE(alarms.tmrSound.isActive(), alarms.tmrSound.interval() != 0);
        QString expected;
        if (lines.contains('1'))
            expected = "15/11/26 14:05:00-1-й порог превышен";
        if (lines.contains('2'))
            expected += "\r\n15/11/26 14:05:00-2-й порог превышен";
        QCOMPARE(view.message, expected);
        QTEST(view.shows, "shows");
        QTEST(view.color, "color");
    }

    // On the RS-485 line each analyzer's lines name it, and the sound follows
    // the highest level among them.
    void lineChannels()
    {
        RecordingNotifier n;
        Station st(n);
        AlarmCheck alarms(st);
        alarms.clock = [] { return QDateTime(QDate(2026, 11, 15), QTime(14, 5, 0)); };
        FakeView view;
        alarms.setView(&view);
        auto reading = [&](int address, double v) {
            Station::LineReading r;
            r.address = address;
            r.value = v;
            st.deliverLine(r);
            return alarms.tmrSound.interval();
        };
        QCOMPARE(reading(5, 90), 250);
        QCOMPARE(reading(10, 60), 250); // 5 is still above Limit2
        QCOMPARE(view.message, QStringLiteral("15/11/26 14:05:00-1-й порог превышен Addr=005\r\n"
                                              "15/11/26 14:05:00-2-й порог превышен Addr=005\r\n"
                                              "15/11/26 14:05:00-1-й порог превышен Addr=010"));
        QCOMPARE(reading(5, 20), 700); // 10 still above Limit1
        QCOMPARE(reading(10, 20), 0);
        QCOMPARE(view.color, int(AlarmCheck::Green));
        QCOMPARE(view.beeps, 1);
    }
};

class AlarmDialogTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void filter_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("left");
        QTest::addColumn<int>("badData");
        QTest::newRow("12. cleared at the full stop") << "12."
                                                      << "" << 1;
        QTest::newRow("12.5") << "12.5"
                              << "5" << 1;
        QTest::newRow("1/2 passes") << "1/2"
                                    << "1/2" << 0;
        QTest::newRow("minus sign") << "-5"
                                    << "5" << 1;
    }
    void filter()
    {
        QFETCH(QString, typed);
        QFETCH(int, badData);
        RecordingNotifier n;
        Station st(n);
        frmAlarm dlg(st);
        for (const char* name : {"txtAlarm1", "txtAlarm2"}) {
            auto* box = dlg.findChild<QLineEdit*>(name);
            box->clear();
            QTest::keyClicks(box, typed);
            QTEST(box->text(), "left");
        }
        QCOMPARE(n.messages, QStringList(2 * badData, "Bad Data"));
    }

    void ok_data()
    {
        QTest::addColumn<QString>("limit1");
        QTest::addColumn<QString>("limit2");
        QTest::addColumn<QString>("message"); // empty: accepted
        QTest::newRow("both empty") << ""
                                    << ""
                                    << "Fill Limit 1 Value";
        QTest::newRow("second empty") << "10"
                                      << ""
                                      << "Fill Limit 2 Value";
        QTest::newRow("1/2") << "1/2"
                             << "80"
                             << "Bad Limit Value";
        QTest::newRow("beyond 32 bits") << "10"
                                        << "3000000000"
                                        << "Bad Limit Value";
        QTest::newRow("Limit2 below Limit1") << "70"
                                             << "60"
                                             << "";
    }
    void ok()
    {
        QFETCH(QString, message);
        RecordingNotifier n;
        Station st(n);
        FakeGraph main;
        FakeGraph added;
        GraphTable::of(st).setMainGraph(&main);
        GraphTable::of(st).set(0, &added);
        frmAlarm dlg(st);
        auto* txt1 = dlg.findChild<QLineEdit*>("txtAlarm1");
        auto* txt2 = dlg.findChild<QLineEdit*>("txtAlarm2");
        QCOMPARE(txt1->text() + ' ' + txt2->text(), QString("50 80"));
        QFETCH(QString, limit1);
        QFETCH(QString, limit2);
        txt1->setText(limit1);
        txt2->setText(limit2);
        dlg.findChild<QPushButton*>("cmdOK")->click();
        const bool accepted = message.isEmpty();
        QCOMPARE(n.messages, accepted ? QStringList() : QStringList(message));
        QCOMPARE(dlg.result() == QDialog::Accepted, accepted);
        const QList<qint32> set = accepted ? QList<qint32>{70, 60} : QList<qint32>{0, 0};
        QCOMPARE(QList<qint32>({st.limit1, st.limit2}), accepted ? set : QList<qint32>({50, 80}));
        QCOMPARE(main.limits, set);
        QCOMPARE(added.limits, set);
    }
};

int main(int argc, char** argv)
{
    return runTests<AlarmTest, AlarmDialogTest>(argc, argv);
}

#include "tst_alarms.moc"
