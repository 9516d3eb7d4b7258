// Data files: record bytes, names, rotation, appending and write failures.
#include "RecordingNotifier.h"
#include "TestMain.h"
#include "app/Station.h"
#include "recording/DataRecorder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class RecordingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void record_data();
    void record();
    void namesRotationAndAppend();
    void writeFailureAsksAndKeepsWhatWasWritten();
};

namespace {
QByteArray contents(const QString& path)
{
    QFile f(path);
    f.open(QIODevice::ReadOnly);
    return f.readAll();
}
const QDateTime kAt(QDate(2026, 11, 15), QTime(14, 5, 9));
} // namespace

void RecordingTest::record_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("zero");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("at Limit1") << QByteArray("00050\n") << 0
                               << QByteArray("00007\t14:05:09\t00050\t00000\t0\r\n");
    QTest::newRow("above Limit1") << QByteArray("00051\n") << 123
                                  << QByteArray("00007\t14:05:09\t00051\t00123\t1\r\n");
    QTest::newRow("at Limit2") << QByteArray("00080\n") << 0
                               << QByteArray("00007\t14:05:09\t00080\t00000\t1\r\n");
    QTest::newRow("above Limit2") << QByteArray("00081\n") << -1
                                  << QByteArray("00007\t14:05:09\t00081\t-0001\t3\r\n");
}

void RecordingTest::record()
{
    QFETCH(QByteArray, reply);
    QFETCH(int, zero);
    QTEST(DataRecorder::record(7, kAt, reply, zero, 50, 80), "expected");
}

void RecordingTest::namesRotationAndAppend()
{
    QTemporaryDir dir;
    RecordingNotifier n;
    Station st(n);
    st.dataFolder = dir.path();
    DataRecorder rec(st);
    QDateTime now(QDate(2026, 11, 15), QTime(14, 5, 0));
    rec.clock = [&] { return now; };
    QVERIFY(rec.start());
    QCOMPARE(QFileInfo(rec.dataFilePath()).fileName(), QStringLiteral("14h15_11.dat"));
    QCOMPARE(QFileInfo(rec.textFilePath()).fileName(), QStringLiteral("15_11_26.txt"));
    st.deliver(20, "00020\r");
    st.deliver(21, "00021\r");
    rec.end();
    // Restarting within the hour appends and counts on.
    now = now.addSecs(60);
    QVERIFY(rec.start());
    st.deliver(22, "00022\r");
    QCOMPARE(contents(dir.filePath("14h15_11.dat")),
             QByteArray("00001\t14:05:00\t00020\t00000\t0\r\n"
                        "00002\t14:05:00\t00021\t00000\t0\r\n"
                        "00003\t14:06:00\t00022\t00000\t0\r\n"));
    // Across midnight: nothing changes until the first tick after it.
    now = QDateTime(QDate(2026, 11, 16), QTime(0, 0, 3));
    st.deliver(23, "00023\r");
    QVERIFY(QFile::exists(dir.filePath("14h15_11.dat")));
    rec.rotate();
    QCOMPARE(QFileInfo(rec.dataFilePath()).fileName(), QStringLiteral("00h16_11.dat"));
    st.deliver(24, "00024\r");
    rec.end();
    QCOMPARE(contents(dir.filePath("00h16_11.dat")),
             QByteArray("00001\t00:00:03\t00024\t00000\t0\r\n"));
    QCOMPARE(contents(dir.filePath("15_11_26.txt")),
             QByteArray("Start=15/11/26\r\nStop-14:05:00\r\n\r\nStart=15/11/26\r\n"));
    QCOMPARE(contents(dir.filePath("16_11_26.txt")),
             QByteArray("Start=16/11/26\r\nStop-00:00:03\r\n\r\n"));
    QVERIFY(n.messages.isEmpty());
}

void RecordingTest::writeFailureAsksAndKeepsWhatWasWritten()
{
    QTemporaryDir dir;
    RecordingNotifier n;
    Station st(n);
    st.dataFolder = dir.path();
    DataRecorder rec(st);
    rec.clock = [] { return kAt; };
    QVERIFY(rec.start());
    st.deliver(20, "00020\r");
    const QByteArray before = contents(rec.dataFilePath());
    QCOMPARE(before.count('\n'), 1);
    // The disk fills up: the next record can't be written.
    QVERIFY(QFile::remove(rec.dataFilePath()));
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), rec.dataFilePath()));
    rec.end();
    QVERIFY(rec.start());
    n.answers = {Notifier::Retry, Notifier::Cancel};
    QVERIFY(!rec.WriteToFile("00021\r"));
    QCOMPARE(n.questions.size(), 2); // asked, retried, asked again, gave up
    QVERIFY(n.questions.first().contains(QLatin1String("14h15_11.dat")));
    rec.end();
}

int main(int argc, char** argv)
{
    return runTests<RecordingTest>(argc, argv);
}

#include "tst_recording.moc"
