// Data files: record bytes, names, rotation, appending, write failures, the
// operator's choice of file and the comment window; the line's files are in
// tst_linerecorder.h. The recording of the simulated analyzer over a
// pseudo-terminal is tested through velmora --headless.
#include "RecordingRig.h"
#include "TestMain.h"
#include "recording/DataRecord.h"
#include "recording/frmComment.h"
#include "tst_linerecorder.h"
#include "tst_recordfile.h"
#include "tst_viewer.h"

#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryFile>
#include <csignal>
#include <cstdio>
#include <optional>
#include <sys/resource.h>
#include <unistd.h>

namespace {
// What the code under test prints to stderr meanwhile, until take().
class StderrCapture
{
public:
    StderrCapture()
    {
        std::fflush(stderr);
        if (file_.open())
            ::dup2(file_.handle(), 2);
    }
    ~StderrCapture() { restore(); }
    QByteArray take()
    {
        restore();
        file_.seek(0);
        return file_.readAll();
    }

private:
    void restore()
    {
        if (saved_ < 0)
            return;
        std::fflush(stderr);
        ::dup2(saved_, 2);
        ::close(saved_);
        saved_ = -1;
    }
    QTemporaryFile file_;
    int saved_ = ::dup(2);
};

const QByteArray kRec1 = "00001\t14:05:00\t00020\t00000\t0\r\n";
const QByteArray kRec2 = "00002\t14:05:00\t00021\t00000\t0\r\n";

// A record with zero position 0 and alarm digit 0.
QByteArray recordLine(const char* counter, const QDateTime& t, const char* value)
{
    return QByteArray(counter) + '\t' + t.toString("HH:mm:ss").toLatin1() + '\t' + value +
           "\t00000\t0\r\n";
}
} // namespace

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

    void rotation_data()
    {
        QTest::addColumn<QDateTime>("next");
        // What notices the new hour: the polling timer's tick after a reading
        // ("tick") or before one ("tick first"), a restart, or a record
        // without a polling timer.
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("dataName");
        QTest::addColumn<QByteArray>("day1");
        QTest::addColumn<QByteArray>("day2");
        const QDate d15(2026, 11, 15);
        QTest::newRow("same hour")
            << QDateTime(d15, QTime(14, 59, 59)) << "tick"
            << "14h15_11.dat" << QByteArray("Start=15/11/26\r\nStop-14:59:59\r\n\r\n")
            << QByteArray();
        QTest::newRow("restart within the hour")
            << QDateTime(d15, QTime(14, 40)) << "restart"
            << "14h15_11.dat"
            << QByteArray(
                   "Start=15/11/26\r\nStop-14:40:00\r\n\r\nStart=15/11/26\r\nStop-14:40:00\r\n\r\n")
            << QByteArray();
        QTest::newRow("next hour, reading before the tick")
            << QDateTime(d15, QTime(15, 0, 2)) << "tick"
            << "15h15_11.dat" << QByteArray("Start=15/11/26\r\nStop-15:00:02\r\n\r\n")
            << QByteArray();
        QTest::newRow("next hour, tick before the reading")
            << QDateTime(d15, QTime(15, 0, 0)) << "tick first"
            << "15h15_11.dat" << QByteArray("Start=15/11/26\r\nStop-15:00:00\r\n\r\n")
            << QByteArray();
        QTest::newRow("midnight") << QDateTime(QDate(2026, 11, 16), QTime(0, 0, 3)) << "tick"
                                  << "00h16_11.dat" << QByteArray("Start=15/11/26\r\n")
                                  << QByteArray("Start=16/11/26\r\nStop-00:00:03\r\n\r\n");
        QTest::newRow("midnight, no polling timer")
            << QDateTime(QDate(2026, 11, 16), QTime(0, 0, 3)) << "record"
            << "00h16_11.dat" << QByteArray("Start=15/11/26\r\n")
            << QByteArray("Start=16/11/26\r\nStop-00:00:03\r\n\r\n");
    }

    void rotation()
    {
        QFETCH(QDateTime, next);
        QFETCH(QString, how);
        QFETCH(QString, dataName);
        const bool restart = how == "restart";
        RecordingRig rig;
        if (how != "record")
            rig.st.HTmr.start(60000); // polling: its ticks rotate too
        QVERIFY(rig.rec.start());
        rig.st.deliver(20, "00020\r");
        rig.now = next;
        auto tick = [&] {
            QSignalSpy ticks(&rig.st.HTmr, &QTimer::timeout);
            rig.st.HTmr.start(5);
            QVERIFY(QTest::qWaitFor([&] { return ticks.size() >= 2; }, 2000));
            rig.st.HTmr.stop();
        };
        if (how == "tick first")
            tick();
        if (how != "record")
            rig.st.deliver(21, "00021\r");
        std::optional<DataRecorder> again;
        if (restart) {
            rig.rec.end();
            rig.st.recordCounter = 0; // as after a restart of the program
            again.emplace(rig.st).clock = rig.rec.clock;
            QVERIFY(again->start());
        } else if (how == "tick") {
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
            QCOMPARE(rig.file(dataName), how == "record" ? recordLine("00001", next, "00022")
                                                         : recordLine("00001", next, "00021") +
                                                               recordLine("00002", next, "00022"));
        }
        QTEST(rig.file("15_11_26.txt"), "day1");
        QTEST(rig.file("16_11_26.txt"), "day2");
        QVERIFY(rig.n.messages.isEmpty());
    }

    void writeFailure_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QList<int>>("answers");
        QTest::addColumn<QByteArray>("kept"); // the file written before the fault
        const QByteArray third = "00003\t14:05:00\t00022\t00000\t0\r\n";
        QTest::newRow("disk full: retried, given up")
            << "disk full"
            << "No space left on device" << QList<int>{Notifier::Retry, Notifier::Cancel}
            << kRec1 + kRec2;
        QTest::newRow("file size limit: retried with room")
            << "size limit"
            << "File too large" << QList<int>{Notifier::Retry}
            << kRec1 + kRec2 + third; // no half record, no gap
        QTest::newRow("folder removed: retried when back")
            << "folder removed"
            << "No such file or directory" << QList<int>{Notifier::Retry} << third;
    }

    void writeFailure()
    {
        QFETCH(QString, fault);
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
        if (fault == "disk full") { // the next hour's file lies on a device that is always full
            QVERIFY(QFile::link("/dev/full", rig.path("15h15_11.dat")));
            rig.now = rig.now.addSecs(3600);
            rig.rec.rotate();
        } else if (fault == "size limit") { // room for part of a record only
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
        QCOMPARE(written, fault != "disk full");
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
        RecordingRig rig("data", headless ? &quiet : nullptr);
        rig.n.hold = true;
        rig.now = QDateTime(QDate(2026, 11, 15), QTime(14, 59, 58));
        QVERIFY(rig.rec.start());
        rig.st.deliver(20, "00020\r");
        QVERIFY(QDir(rig.path(QString())).removeRecursively());
        for (const char* v : {"00021\r", "00022\r", "00023\r"}) { // the third in the next hour
            rig.st.deliver(0, v);
            rig.now = rig.now.addSecs(1);
        }
        QCOMPARE(rig.rec.heldCount(), 3);
        QCOMPARE(rig.n.questions.size(), headless ? 0 : 1);
        QVERIFY(QDir().mkpath(rig.path(QString())));
        rig.st.deliver(0, "00024\r"); // the folder is back, the question still open: it waits
        QCOMPARE(rig.rec.heldCount(), 4);
        if (headless) {
            QTRY_COMPARE(rig.rec.heldCount(), 0);
        } else {
            rig.n.open.takeFirst()(Notifier::Retry);
            QCOMPARE(rig.rec.heldCount(), 0);
            QCOMPARE(rig.n.questions.size(), 1);
        }
        QCOMPARE(rig.file("14h15_11.dat"),
                 "00002\t14:59:58\t00021\t00000\t0\r\n00003\t14:59:59\t00022\t00000\t0\r\n");
        QCOMPARE(rig.file("15h15_11.dat"), "00001\t15:00:00\t00023\t00000\t0\r\n"
                                           "00002\t15:00:01\t00024\t00000\t0\r\n");
        rig.rec.end();
    }

    // Headless, a write failure is printed once when it begins, whatever the
    // tries and the alarm lines after it, and again when a new one begins.
    void headlessSaysFailureOnce()
    {
        struct Counting : HeadlessNotifier
        {
            void askLater(const QString& text, int buttons, const Answer& answered,
                          Icon icon) override
            {
                ++asked;
                message(QStringLiteral("-1-й порог превышен")); // an alarm line between tries
                HeadlessNotifier::askLater(text, buttons, answered, icon);
            }
            int asked = 0;
        } quiet;
        quiet.retryMs = 10;
        StderrCapture err;
        {
            RecordingRig rig("data", &quiet);
            QVERIFY(rig.rec.start());
            for (int failure = 0; failure < 2; ++failure) {
                QVERIFY(QDir(rig.path(QString())).removeRecursively());
                const int before = quiet.asked;
                rig.st.deliver(20, "00020\r");
                QVERIFY(QTest::qWaitFor([&] { return quiet.asked >= before + 3; }, 5000));
                QVERIFY(QDir().mkpath(rig.path(QString())));
                QVERIFY(QTest::qWaitFor([&] { return rig.rec.heldCount() == 0; }, 5000));
            }
            rig.rec.end();
        }
        const QByteArray printed = err.take();
        QCOMPARE(printed.count("(trying again every 1 s)\n"), 2);
        QVERIFY(printed.count("порог превышен") >= 6);
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
        const QString chosen = put(rig.path("night.log"), "00007\t09:00:00\t00011\t00000\t0\r\n");
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

    // A restart appends to the hour's file and numbers on from its last
    // record, which has six digits once the hour holds 100,000 of them.
    void numberingGoesOnAfterRestart_data()
    {
        QTest::addColumn<QByteArray>("held"); // the hour's file before the start
        QTest::addColumn<QByteArray>("next");
        const QByteArray rest = "\t14:01:00\t00020\t00000\t0\r\n";
        QTest::newRow("five digits") << "00041" + rest + "00042" + rest << QByteArray("00043\t");
        QTest::newRow("to six digits") << "99998" + rest + "99999" + rest << QByteArray("100000\t");
        QTest::newRow("six digits") << "99999" + rest + "100000" + rest << QByteArray("100001\t");
    }

    void numberingGoesOnAfterRestart()
    {
        QFETCH(QByteArray, held);
        RecordingRig rig;
        QVERIFY(!put(rig.path("14h15_11.dat"), held).isEmpty());
        QVERIFY(rig.rec.start());
        rig.st.deliver(20, "00020\r");
        rig.rec.end();
        const QByteArray added = rig.file("14h15_11.dat").mid(held.size());
        QCOMPARE(added.count('\n'), 1);
        QTEST(added.left(added.indexOf('\t') + 1), "next");
    }

    // The folder away or the disk full when recording starts or at midnight:
    // the records and the day's marks are kept, in order, the operator is
    // told, and Retry writes them all once they can be written.
    void keptFromStartAndOverMidnight_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<bool>("atStart");
        QTest::newRow("folder missing at start") << "folder away" << true;
        QTest::newRow("folder away over midnight") << "folder away" << false;
        QTest::newRow("no room over midnight") << "no room" << false;
    }

    void keptFromStartAndOverMidnight()
    {
        QFETCH(QString, fault);
        QFETCH(bool, atStart);
        RecordingRig rig("data");
        rig.n.hold = true;
        const QDateTime before(QDate(2026, 11, 15), QTime(23, 59, 58));
        const QDateTime after(QDate(2026, 11, 16), QTime(0, 0, 1));
        rig.now = atStart ? after : before;
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, SIG_IGN);
        auto breakIt = [&] {
            if (fault == "folder away") {
                QVERIFY(QDir().rename(rig.path(QString()), rig.dir.filePath("away")));
            } else { // no room for a whole line in any file
                rlimit tight = saved;
                tight.rlim_cur = 8;
                QVERIFY(setrlimit(RLIMIT_FSIZE, &tight) == 0);
            }
        };
        if (atStart)
            breakIt();
        QCOMPARE(rig.rec.start(), !atStart);
        rig.st.deliver(20, "00020\r");
        if (!atStart) {
            breakIt();
            rig.now = after;
            rig.st.deliver(21, "00021\r");
        }
        rig.now = after.addSecs(1);
        rig.st.deliver(22, "00022\r");
        setrlimit(RLIMIT_FSIZE, &saved);
        std::signal(SIGXFSZ, SIG_DFL);
        // Said once: at the start also by the message about the data file.
        QCOMPARE(rig.n.messages.size(), atStart ? 1 : 0);
        QCOMPARE(rig.n.questions.size(), 1);
        QCOMPARE(rig.rec.heldMarks(), 1);
        QCOMPARE(rig.rec.heldCount(), 2);
        if (fault == "folder away")
            QVERIFY(QDir().rename(rig.dir.filePath("away"), rig.path(QString())));
        rig.n.open.takeFirst()(Notifier::Retry);
        QCOMPARE(rig.rec.heldCount() + rig.rec.heldMarks(), 0);
        rig.now = after.addSecs(2);
        rig.rec.end();
        QCOMPARE(rig.file("16_11_26.txt"), "Start=16/11/26\r\nStop-00:00:03\r\n\r\n");
        QCOMPARE(rig.file("00h16_11.dat"),
                 atStart ? recordLine("00001", after, "00020") +
                               recordLine("00002", after.addSecs(1), "00022")
                         : recordLine("00001", after, "00021") +
                               recordLine("00002", after.addSecs(1), "00022"));
        if (!atStart) {
            QCOMPARE(rig.file("15_11_26.txt"), "Start=15/11/26\r\n");
            QCOMPARE(rig.file("23h15_11.dat"), recordLine("00001", before, "00020"));
        }
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
    return runTests<RecordingTest, LineRecorderTest, RecordFileTest, RecordTraceTest, ViewerTest>(
        argc, argv);
}

#include "tst_recording.moc"
