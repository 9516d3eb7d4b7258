// One record through the checks and into the sinks.
#include "Pty.h"
#include "RecordingNotifier.h"
#include "app/Station.h"
#include "link/ProcessReply.h"
#include "tst_link.h"

#include <QTest>

namespace {
// Records every sink call as "slot:value:reply".
struct SinkLog
{
    QStringList calls;
    void attach(Station& st)
    {
        for (int i = 0; i < Station::SinkCount; ++i) {
            st.sinks[size_t(i)] = [this, i](double v, const QByteArray& reply) {
                calls << QStringLiteral("%1:%2:%3").arg(i).arg(v).arg(QString::fromLatin1(reply));
            };
        }
    }
};
} // namespace

void ReplyTest::process_data()
{
    QTest::addColumn<QByteArray>("record");
    QTest::addColumn<int>("marker");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QStringList>("calls");
    const auto all = [](const QString& v, const QString& reply) {
        QStringList out;
        for (int slot : {0, 1, 2, 4}) // no data file while not recording
            out << QStringLiteral("%1:%2:%3").arg(slot).arg(v, reply);
        return out;
    };
    QTest::newRow("LF marker accepts CR LF")
        << QByteArray("12345\r\n") << 10 << 0 << all("12345", "12345\r");
    QTest::newRow("CR marker rejects CR LF") << QByteArray("12345\r\n") << 13 << 0 << QStringList();
    QTest::newRow("longer cut to seven")
        << QByteArray("00042\n\r00043\n\r") << 13 << 0 << all("42", "00042\n");
    QTest::newRow("letter in digits") << QByteArray("12a45\r\n") << 10 << 0 << QStringList();
    QTest::newRow("zero offset 30") << QByteArray("00100\r\n") << 10 << 30 << all("70", "00100\r");
    QTest::newRow("short record") << QByteArray("001\r\n") << 10 << 0 << QStringList();
}

void ReplyTest::process()
{
    QFETCH(QByteArray, record);
    QFETCH(int, marker);
    QFETCH(int, offset);
    QFETCH(QStringList, calls);
    RecordingNotifier n;
    Station st(n);
    st.format.marker = quint8(marker);
    st.zeroOffset = offset;
    SinkLog log;
    log.attach(st);
    QCOMPARE(ProcessRecord(st, record), !calls.isEmpty());
    QCOMPARE(log.calls, calls);
    QVERIFY(n.messages.isEmpty()); // malformed data is dropped without a word
    if (!calls.isEmpty())
        QCOMPARE(st.valueText, QString::fromLatin1(record.left(5)));
}

void ReplyTest::outOfStepFlushesInput()
{
    Pty line;
    RecordingNotifier n;
    Station st(n);
    st.portName = line.slavePath();
    st.applyPortSettings();
    QVERIFY(st.ensurePortOpen());
    line.write("00019\n\r00020");
    QVERIFY(QTest::qWaitFor([&] { return st.myComm.InBufferCount() >= 12; }, 2000));
    SinkLog log;
    log.attach(st);
    QVERIFY(!ProcessRecord(st, "12345\r\n")); // CR marker: out of step
    QCOMPARE(st.myComm.InBufferCount(), 0);
    QVERIFY(log.calls.isEmpty());
    // A letter drops the record but leaves pending input alone.
    line.write("00021\n\r");
    QVERIFY(QTest::qWaitFor([&] { return st.myComm.InBufferCount() >= 7; }, 2000));
    QVERIFY(!ProcessRecord(st, "1a345\n\r"));
    QCOMPARE(st.myComm.InBufferCount(), 7);
}

void ReplyTest::dataFileSinkOnlyWhileRecording()
{
    RecordingNotifier n;
    Station st(n);
    SinkLog log;
    log.attach(st);
    st.recording = true;
    QVERIFY(ProcessRecord(st, "00005 \r"));
    QCOMPARE(log.calls,
             (QStringList{"0:5:00005 ", "1:5:00005 ", "2:5:00005 ", "3:5:00005 ", "4:5:00005 "}));
}
