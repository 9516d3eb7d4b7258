// Data files: record bytes, names, rotation, appending, write failures, the
// operator's choice of file and the comment window. The recording of the
// simulated analyzer over a pseudo-terminal is tested through velmora --headless.
#include "RecordingRig.h"
#include "TestMain.h"
#include "recording/DataRecord.h"
#include "recording/LineRecorder.h"
#include "recording/frmComment.h"
#include "tst_recordfile.h"
#include "tst_viewer.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <csignal>
#include <optional>
#include <sys/resource.h>

namespace {
const QByteArray kRec1 = "00001\t14:05:00\t00020\t00000\t0\r\n";
const QByteArray kRec2 = "00002\t14:05:00\t00021\t00000\t0\r\n";

// A record with zero position 0 and alarm digit 0.
QByteArray recordLine(const char* counter, const QDateTime& t, const char* value)
{
    return QByteArray(counter) + '\t' + t.toString("HH:mm:ss").toLatin1() + '\t' + value +
           "\t00000\t0\r\n";
}
} // namespace

enum Rotation
{
    Tick,      // a reading, then the polling timer's tick
    TickFirst, // the tick, then a reading
    Restart,
    Record // no polling timer
};

enum Fault
{
    DiskFull,
    SizeLimit,
    FolderRemoved
};

class RecordingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void record_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("zero");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("at Limit1")
            << QByteArray("00050\n") << 0 << QByteArray("00007\t14:05:09\t00050\t00000\t0\r\n");
        QTest::newRow("above Limit1")
            << QByteArray("00051\n") << 123 << QByteArray("00007\t14:05:09\t00051\t00123\t1\r\n");
        QTest::newRow("at Limit2")
            << QByteArray("00080\r") << 0 << QByteArray("00007\t14:05:09\t00080\t00000\t1\r\n");
        QTest::newRow("above Limit2")
            << QByteArray("00081\n") << -1 << QByteArray("00007\t14:05:09\t00081\t-0001\t3\r\n");
    }

    void record()
    {
        QFETCH(QByteArray, reply);
        QFETCH(int, zero);
        const QDateTime at(QDate(2026, 11, 15), QTime(14, 5, 9));
        QTEST(DataRecord::bytes(7, at, reply, zero, 50, 80), "expected");
    }

    void lineRecord_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<int>("zero");
        QTest::addColumn<bool>("rus");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("raw fields")
            << "00019" << 0 << false << QByteArray("14:05:09\t005\t00019\t04123\t00000\t0\r\n");
        QTest::newRow("above Limit2, negative zero")
            << "00081" << -20 << false << QByteArray("14:05:09\t005\t00081\t04123\t-0020\t3\r\n");
        QTest::newRow("Russian: ppm with a decimal comma")
            << "00051" << 0 << true << QByteArray("14:05:09\t005\t5,1\t412,3\t00000\t1\r\n");
    }

    void lineRecord()
    {
        QFETCH(QString, first);
        QFETCH(int, zero);
        QFETCH(bool, rus);
        const QDateTime at(QDate(2026, 11, 15), QTime(14, 5, 9));
        QTEST(DataRecord::lineRecord(at, 5, first, QStringLiteral("04123"), zero, 50, 80, rus),
              "expected");
        QCOMPARE(DataRecord::lineFileName(at, 5), QStringLiteral("14h15_11_A005.dat"));
    }

    // Each analyzer's file changes with the hour; a chosen file stays.
    void lineRotation()
    {
        RecordingRig rig;
        LineRecorder rec(rig.st);
        rec.clock = [&] { return rig.now; };
        rig.st.lineAutoName[5] = true;
        QStringList asked;
        rec.chooseFile = [&](const QString& title, const QString& filter, const QString& start) {
            asked << title << filter << QFileInfo(start).fileName();
            return rig.path(QStringLiteral("mine.dat"));
        };
        QVERIFY(rec.start({5, 9}));
        QCOMPARE(asked,
                 (QStringList{"OK-for Next Channel; CANCEL-for Exit",
                              "Data (*.dat;*.dt)|*.dat;*.dt|All Files (*.*)|*.*", "A009.dat"}));
        Station::LineReading r{5, {}, QStringLiteral("00019"), QStringLiteral("04123"), 19};
        rig.st.deliverLine(r);
        r.address = 9;
        rig.st.deliverLine(r);
        rig.now = rig.now.addSecs(3600);
        rig.st.deliverLine(r);
        r.address = 5;
        rig.st.deliverLine(r);
        rec.end();
        QCOMPARE(rig.file("14h15_11_A005.dat").count('\n'), 1);
        QCOMPARE(rig.file("15h15_11_A005.dat").count('\n'), 1);
        QCOMPARE(rig.file("mine.dat").count('\n'), 2);
        QVERIFY(!rig.st.recording);
    }

    // While the folder is away an analyzer's records are kept, and the first
    // record after its return writes them, each into its hour's file.
    void lineHeldWhileAway()
    {
        RecordingRig rig("data");
        LineRecorder rec(rig.st);
        rec.clock = [&] { return rig.now; };
        rig.st.lineAutoName[5] = true;
        rig.now = QDateTime(QDate(2026, 11, 15), QTime(14, 59, 59));
        QVERIFY(rec.start({5}));
        QVERIFY(QDir(rig.path(QString())).removeRecursively());
        Station::LineReading r{5, {}, QStringLiteral("00019"), QStringLiteral("04123"), 19};
        for (const char* v : {"00020", "00021", "00022"}) {
            r.first = QLatin1String(v);
            rig.st.deliverLine(r);
            rig.now = rig.now.addSecs(1);
        }
        QCOMPARE(rec.heldCount(5), 3);
        QCOMPARE(rig.n.statuses.size(), 1); // said once, not at every record
        QVERIFY(QDir().mkpath(rig.path(QString())));
        r.first = QStringLiteral("00023");
        rig.st.deliverLine(r);
        QCOMPARE(rec.heldCount(5), 0);
        QCOMPARE(rig.file("14h15_11_A005.dat"), "14:59:59\t005\t00020\t04123\t00000\t0\r\n");
        QCOMPARE(rig.file("15h15_11_A005.dat"), "15:00:00\t005\t00021\t04123\t00000\t0\r\n"
                                                "15:00:01\t005\t00022\t04123\t00000\t0\r\n"
                                                "15:00:02\t005\t00023\t04123\t00000\t0\r\n");
        rec.end();
    }

    void rotation_data()
    {
        QTest::addColumn<QDateTime>("next");
        QTest::addColumn<int>("how"); // what notices the new hour: tick, restart or record
        QTest::addColumn<QString>("dataName");
        QTest::addColumn<QByteArray>("day1");
        QTest::addColumn<QByteArray>("day2");
        const QDate d15(2026, 11, 15);
        QTest::newRow("same hour")
            << QDateTime(d15, QTime(14, 59, 59)) << int(Tick) << "14h15_11.dat"
            << QByteArray("Start=15/11/26\r\nStop-14:59:59\r\n\r\n") << QByteArray();
        QTest::newRow("restart within the hour")
            << QDateTime(d15, QTime(14, 40)) << int(Restart) << "14h15_11.dat"
            << QByteArray(
                   "Start=15/11/26\r\nStop-14:40:00\r\n\r\nStart=15/11/26\r\nStop-14:40:00\r\n\r\n")
            << QByteArray();
        QTest::newRow("next hour, reading before the tick")
            << QDateTime(d15, QTime(15, 0, 2)) << int(Tick) << "15h15_11.dat"
            << QByteArray("Start=15/11/26\r\nStop-15:00:02\r\n\r\n") << QByteArray();
        QTest::newRow("next hour, tick before the reading")
            << QDateTime(d15, QTime(15, 0, 0)) << int(TickFirst) << "15h15_11.dat"
            << QByteArray("Start=15/11/26\r\nStop-15:00:00\r\n\r\n") << QByteArray();
        QTest::newRow("midnight") << QDateTime(QDate(2026, 11, 16), QTime(0, 0, 3)) << int(Tick)
                                  << "00h16_11.dat" << QByteArray("Start=15/11/26\r\n")
                                  << QByteArray("Start=16/11/26\r\nStop-00:00:03\r\n\r\n");
        QTest::newRow("midnight, no polling timer")
            << QDateTime(QDate(2026, 11, 16), QTime(0, 0, 3)) << int(Record) << "00h16_11.dat"
            << QByteArray("Start=15/11/26\r\n")
            << QByteArray("Start=16/11/26\r\nStop-00:00:03\r\n\r\n");
    }

    void rotation()
    {
        QFETCH(QDateTime, next);
        QFETCH(int, how);
        QFETCH(QString, dataName);
        const bool restart = how == Restart;
        RecordingRig rig;
        if (how != Record)
            rig.st.HTmr.start(60000); // polling: its ticks rotate too
        QVERIFY(rig.rec.start());
        QCOMPARE(rig.rec.dataFilePath(), QDir::toNativeSeparators(rig.path("14h15_11.dat")));
        QCOMPARE(rig.rec.textFilePath(), QDir::toNativeSeparators(rig.path("15_11_26.txt")));
        rig.st.deliver(20, "00020\r");
        rig.now = next;
        auto tick = [&] {
            QSignalSpy ticks(&rig.st.HTmr, &QTimer::timeout);
            rig.st.HTmr.start(5);
            QVERIFY(QTest::qWaitFor([&] { return ticks.size() >= 2; }, 2000));
            rig.st.HTmr.stop();
        };
        if (how == TickFirst)
            tick();
        if (how != Record)
            rig.st.deliver(21, "00021\r");
        std::optional<DataRecorder> again;
        if (restart) {
            rig.rec.end();
            rig.st.recordCounter = 0; // as after a restart of the program
            again.emplace(rig.st).clock = rig.rec.clock;
            QVERIFY(again->start());
        } else if (how == Tick) {
            tick();
        }
        DataRecorder& rec = restart ? *again : rig.rec;
        rig.st.deliver(22, "00022\r");
        QVERIFY(rec.dataFilePath().endsWith(dataName));
        rec.end();
        // Each hour's file holds exactly that hour's records, whatever the
        // order of ticks and readings.
        if (dataName == "14h15_11.dat") {
            QCOMPARE(rig.file(dataName), kRec1 + recordLine("00002", next, "00021") +
                                             recordLine("00003", next, "00022"));
        } else {
            QCOMPARE(rig.file("14h15_11.dat"), kRec1);
            QCOMPARE(rig.file(dataName), how == Record ? recordLine("00001", next, "00022")
                                                       : recordLine("00001", next, "00021") +
                                                             recordLine("00002", next, "00022"));
        }
        QTEST(rig.file("15_11_26.txt"), "day1");
        QTEST(rig.file("16_11_26.txt"), "day2");
        QVERIFY(rig.n.messages.isEmpty());
    }

    void writeFailure_data()
    {
        QTest::addColumn<int>("fault");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<QByteArray>("kept"); // the file written before the fault
        const QByteArray third = "00003\t14:05:00\t00022\t00000\t0\r\n";
        QTest::newRow("disk full: retried, given up")
            << int(DiskFull) << "No space left on device"
            << QList<int>{Notifier::Retry, Notifier::Cancel} << kRec1 + kRec2;
        QTest::newRow("file size limit: retried with room")
            << int(SizeLimit) << "File too large" << QList<int>{Notifier::Retry}
            << kRec1 + kRec2 + third; // no half record, no gap
        QTest::newRow("folder removed: retried when back")
            << int(FolderRemoved) << "No such file or directory" << QList<int>{Notifier::Retry}
            << third;
    }

    void writeFailure()
    {
        QFETCH(int, fault);
        QFETCH(QString, reason);
        QFETCH(QList<int>, answers);
        RecordingRig rig("data");
        QVERIFY(rig.rec.start());
        rig.st.deliver(20, "00020\r");
        rig.st.deliver(21, "00021\r");
        const QString before = rig.rec.dataFilePath();
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, SIG_IGN);
        if (fault == DiskFull) { // the next hour's file lies on a device that is always full
            QVERIFY(QFile::link("/dev/full", rig.path("15h15_11.dat")));
            rig.now = rig.now.addSecs(3600);
            rig.rec.rotate();
        } else if (fault == SizeLimit) { // room for part of a record only
            rlimit tight = saved;
            tight.rlim_cur = rlim_t(QFileInfo(before).size() + 8);
            QVERIFY(setrlimit(RLIMIT_FSIZE, &tight) == 0);
            rig.n.onAsk = [&] { setrlimit(RLIMIT_FSIZE, &saved); };
        } else {
            QVERIFY(QDir(rig.path(QString())).removeRecursively());
            rig.n.onAsk = [&] { QDir().mkpath(rig.path(QString())); };
        }
        rig.n.answers = answers;
        const bool written = rig.rec.WriteToFile("00022\r");
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, SIG_DFL);
        QCOMPARE(rig.n.questions.size(), answers.size());
        for (const QString& q : std::as_const(rig.n.questions))
            QVERIFY2(q.contains(rig.rec.dataFilePath()) && q.contains(reason), qPrintable(q));
        QCOMPARE(written, fault != DiskFull);
        QCOMPARE(rig.rec.heldCount(), 0);
        QCOMPARE(rig.st.recordCounter, written ? 4 : 2); // a given-up number is not reused
        QTEST(contents(before), "kept");
    }

    // Readings go on while the question is open: each is kept, in order, with
    // the hour it belongs to, and Retry writes them all.
    void heldWhileAsked_data()
    {
        QTest::addColumn<bool>("headless"); // retried by itself, nobody answers
        QTest::newRow("operator answers Retry") << false;
        QTest::newRow("headless retries") << true;
    }

    void heldWhileAsked()
    {
        QFETCH(bool, headless);
        HeadlessNotifier quiet;
        quiet.retryMs = 100;
        RecordingRig rig("data");
        Station& st = rig.st;
        rig.n.hold = true;
        rig.now = QDateTime(QDate(2026, 11, 15), QTime(14, 59, 58));
        std::optional<Station> alone;
        std::optional<DataRecorder> rec;
        if (headless) {
            alone.emplace(quiet);
            alone->dataFolder = st.dataFolder;
            rec.emplace(*alone);
            rec->clock = [&] { return rig.now; };
        }
        Station& s = headless ? *alone : st;
        DataRecorder& r = headless ? *rec : rig.rec;
        QVERIFY(r.start());
        s.deliver(20, "00020\r");
        QVERIFY(QDir(rig.path(QString())).removeRecursively());
        for (const char* v : {"00021\r", "00022\r", "00023\r"}) { // the third in the next hour
            s.deliver(0, v);
            rig.now = rig.now.addSecs(1);
        }
        QCOMPARE(r.heldCount(), 3);
        QCOMPARE(rig.n.questions.size(), headless ? 0 : 1);
        QVERIFY(QDir().mkpath(rig.path(QString())));
        s.deliver(0, "00024\r"); // the folder is back, the question still open: it waits
        QCOMPARE(r.heldCount(), 4);
        if (headless) {
            QTRY_COMPARE(r.heldCount(), 0);
        } else {
            rig.n.open.takeFirst()(Notifier::Retry);
            QCOMPARE(r.heldCount(), 0);
            QCOMPARE(rig.n.questions.size(), 1);
        }
        QCOMPARE(rig.file("14h15_11.dat"),
                 "00002\t14:59:58\t00021\t00000\t0\r\n00003\t14:59:59\t00022\t00000\t0\r\n");
        QCOMPARE(rig.file("15h15_11.dat"), "00001\t15:00:00\t00023\t00000\t0\r\n"
                                           "00002\t15:00:01\t00024\t00000\t0\r\n");
        r.end();
    }

    void chosenFile_data()
    {
        QTest::addColumn<int>("answer"); // 0: the dialog is cancelled
        QTest::addColumn<QByteArray>("expected");
        const QByteArray old = "00007\t09:00:00\t00011\t00000\t0\r\n";
        QTest::newRow("dialog cancelled") << 0 << old;
        QTest::newRow("Yes replaces")
            << int(Notifier::Yes) << QByteArray("00001\t14:05:00\t00020\t00000\t0\r\n");
        QTest::newRow("No appends")
            << int(Notifier::No) << old + "00008\t14:05:00\t00020\t00000\t0\r\n";
        QTest::newRow("Cancel opens nothing") << int(Notifier::Cancel) << old;
    }

    void chosenFile()
    {
        QFETCH(int, answer);
        RecordingRig rig;
        const QString chosen = rig.path("night.log");
        QFile f(chosen);
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write("00007\t09:00:00\t00011\t00000\t0\r\n");
        f.close();
        QStringList asked;
        rig.rec.chooseFile = [&](const QString& title, const QString& filter,
                                 const QString& folder) {
            asked << title << filter << folder;
            return answer == 0 ? QString() : chosen;
        };
        rig.n.answers = {answer};
        QCOMPARE(rig.rec.OpenDataFile(false), answer == Notifier::Yes || answer == Notifier::No);
        QCOMPARE(asked, QStringList({"Open Communications Log File",
                                     "Log Files (*.LOG)|*.log|All Files (*.*)|*.*", rig.path("")}));
        QCOMPARE(rig.n.questions, answer == 0
                                      ? QStringList()
                                      : QStringList("Replace existing file - " +
                                                    QDir::toNativeSeparators(chosen) + "?"));
        rig.rec.WriteToFile("00020\r");
        QTEST(contents(chosen), "expected");
    }

    void unopenableFileIsReportedAndRecordingGoesOn()
    {
        RecordingRig rig;
        rig.st.dataFolder = rig.path("missing");
        QVERIFY(!rig.rec.start());
        QVERIFY(rig.st.recording);
        QCOMPARE(rig.n.messages.size(), 2); // the data file and the text file
        for (const QString& m : std::as_const(rig.n.messages))
            QVERIFY2(m.contains("No such file or directory"), qPrintable(m));
        rig.st.deliver(20, "00020\r");
        QVERIFY(rig.n.questions.isEmpty());
        rig.rec.end();
        QVERIFY(!rig.st.recording);
    }

    void commentWindow()
    {
        RecordingRig rig;
        frmComment c(rig.st, rig.rec);
        c.show();
        auto* text = c.findChild<QLineEdit*>("txtComment");
        auto* cmdOK = c.findChild<QPushButton*>("cmdOK");
        text->setText(QString::fromUtf8("Проверка"));
        cmdOK->click();
        QCOMPARE(rig.n.messages, QStringList(QString::fromUtf8("Запись в файл отключена")));
        QVERIFY(c.isVisible()); // the refused comment stays for the operator
        QVERIFY(rig.rec.start());
        rig.now = rig.now.addSecs(7);
        cmdOK->click();
        QVERIFY(!c.isVisible() && text->text().isEmpty());
        QCOMPARE(rig.file("15_11_26.txt"), "Start=15/11/26\r\n15/11/26 14:05:07-" +
                                               QString::fromUtf8("Проверка").toLocal8Bit() +
                                               "\r\n");
    }
};

int main(int argc, char** argv)
{
    return runTests<RecordingTest, RecordFileTest, RecordTraceTest, ViewerTest>(argc, argv);
}

#include "tst_recording.moc"
