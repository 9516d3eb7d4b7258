// Framing without a line: marker and length detection, the ppm text, picking a
// record out of a stream, one record through the checks into the sinks, and the
// record-layout dialog driven through its controls.
#pragma once

#include "StationRig.h"
#include "link/ProcessReply.h"
#include "link/frmSet.h"
#include "station/DataFormat.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>

class FramingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void detect_data()
    {
        QTest::addColumn<QByteArray>("sample");
        QTest::addColumn<int>("marker");
        QTest::addColumn<int>("length");
        QTest::newRow("CR wins over LF") << QByteArray("12345\r\n12345\r\n") << 13 << 7;
        QTest::newRow("A wins over CR") << QByteArray("\r1A2\r3A") << 65 << 4;
        QTest::newRow("code 14") << QByteArray("1\x0e-2\x0e") << 14 << 3;
        QTest::newRow("full stop") << QByteArray("1.23.") << 46 << 3;
        QTest::newRow("one marker only") << QByteArray("12345\r") << 0 << 0;
    }
    void detect()
    {
        QFETCH(QByteArray, sample);
        QFETCH(int, marker);
        QFETCH(int, length);
        QCOMPARE(int(DetectMark(sample)), marker);
        // Without a marker found, the length is measured on the current one (CR).
        QCOMPARE(DetectLen(sample, marker ? quint8(marker) : quint8(13)), length);
    }

    void formatVal_data()
    {
        QTest::addColumn<double>("raw");
        QTest::addColumn<QString>("text");
        QTest::newRow("12345") << 12345.0 << "1234.5";
        QTest::newRow("5") << 5.0 << "00.5";
        QTest::newRow("-25") << -25.0 << "-02.5";
    }
    void formatVal()
    {
        QFETCH(double, raw);
        QTEST(FormatVal(raw), "text");
    }

    void latestRecord_data()
    {
        QTest::addColumn<QByteArray>("stream");
        QTest::addColumn<QByteArray>("record");
        QTest::newRow("one") << QByteArray("00123\n\r") << QByteArray("00123\n\r");
        QTest::newRow("newest of two")
            << QByteArray("00123\n\r00456\n\r") << QByteArray("00456\n\r");
        QTest::newRow("partial tail") << QByteArray("3\n\r00456\n\r007") << QByteArray("00456\n\r");
        QTest::newRow("none complete") << QByteArray("\r0045") << QByteArray();
    }
    void latestRecord()
    {
        QFETCH(QByteArray, stream);
        DataFormat f; // marker CR, value length 5
        QTEST(LatestRecord(stream, f), "record");
    }

    void process_data()
    {
        QTest::addColumn<QByteArray>("record");
        QTest::addColumn<int>("marker");
        QTest::addColumn<int>("offset");
        QTest::addColumn<bool>("recording");
        QTest::addColumn<QString>("value"); // given to the sinks with the reply; empty: dropped
        QTest::addColumn<QByteArray>("reply");
        const auto row = [](const char* name, const QByteArray& record, int marker, int offset,
                            const QString& value, const QByteArray& reply, bool recording = false) {
            QTest::newRow(name) << record << marker << offset << recording << value << reply;
        };
        row("LF marker accepts CR LF", "12345\r\n", 10, 0, "12345", "12345\r");
        row("CR marker rejects CR LF", "12345\r\n", 13, 0, "", "");
        row("longer cut to seven", "00042\n\r00043\n\r", 13, 0, "42", "00042\n");
        row("letter in digits", "12a45\r\n", 10, 0, "", "");
        row("zero offset 30", "00100\r\n", 10, 30, "70", "00100\r");
        row("short record", "001\r\n", 10, 0, "", "");
        row("recording: data file too", "00005 \r", 13, 0, "5", "00005 ", true);
    }
    void process()
    {
        QFETCH(QByteArray, record);
        QFETCH(int, marker);
        QFETCH(int, offset);
        QFETCH(bool, recording);
        QFETCH(QString, value);
        QFETCH(QByteArray, reply);
        StationRig r;
        r.st.format.marker = quint8(marker);
        r.st.zeroOffset = offset;
        r.st.recording = recording;
        // Every sink in slot order; the data file only while recording.
        QStringList calls, expected;
        for (int i = 0; i < Station::SinkCount; ++i) {
            r.st.sinks[size_t(i)] = [&calls, i](double v, const QByteArray& got) {
                calls << QStringLiteral("%1:%2:%3").arg(i).arg(v).arg(QString::fromLatin1(got));
            };
            if (!value.isEmpty() && (i != Station::DataFileSink || recording))
                expected
                    << QStringLiteral("%1:%2:%3").arg(i).arg(value, QString::fromLatin1(reply));
        }
        QCOMPARE(ProcessRecord(r.st, record), !value.isEmpty());
        QCOMPARE(calls, expected);
        QVERIFY(r.n.messages.isEmpty()); // malformed data is dropped without a word
        if (!value.isEmpty())
            QCOMPARE(r.st.valueText, QString::fromLatin1(record.left(5)));
    }

    void layoutDialog_data()
    {
        QTest::addColumn<bool>("identical");
        QTest::addColumn<bool>("mark");
        QTest::addColumn<bool>("checkSum");
        QTest::addColumn<bool>("apply");
        QTest::addColumn<QList<int>>("starts"); // component 1 is 4 bytes long
        QTest::newRow("mark and check sum: gap 2")
            << true << true << true << true << QList<int>{0, 6, 12};
        QTest::newRow("mark only: gap 1") << true << true << false << true << QList<int>{0, 5, 10};
        QTest::newRow("check sum only: gap 1")
            << true << false << true << true << QList<int>{0, 5, 10};
        QTest::newRow("not the same format")
            << false << true << true << true << QList<int>{0, 0, 0};
        QTest::newRow("cancel keeps the record") << true << true << true << false << QList<int>{0};
    }
    void layoutDialog()
    {
        QFETCH(bool, identical);
        QFETCH(bool, mark);
        QFETCH(bool, checkSum);
        QFETCH(bool, apply);
        QFETCH(QList<int>, starts);
        StationRig r;
        const DataFormat& format = r.st.format;
        frmSet dlg(r.st);
        auto find = [&](const char* name) { return dlg.findChild<QWidget*>(QLatin1String(name)); };
        static_cast<QCheckBox*>(find("chkForComp"))->setChecked(mark);
        static_cast<QCheckBox*>(find("chkMark"))->setChecked(checkSum);
        static_cast<QCheckBox*>(find("chkIdentData"))->setChecked(identical);
        static_cast<QScrollBar*>(find("scrNofC"))->setValue(3);
        // Component 1 shortened to 4 bytes; moving to component 3 lays the others out again.
        static_cast<QLineEdit*>(find("txtLenD"))->setText(QStringLiteral("4"));
        static_cast<QScrollBar*>(find("scrN"))->setValue(3);
        static_cast<QLineEdit*>(find("txtMark"))->setText(QStringLiteral("10"));
        static_cast<QLineEdit*>(find("txtLenS"))->setText(QStringLiteral("7.4"));
        static_cast<QPushButton*>(find(apply ? "cmdApply" : "cmdCancel"))->click();
        QCOMPARE(format.components, apply ? 3 : 1);
        QCOMPARE(int(format.marker), apply ? 10 : 13);
        QCOMPARE(format.recordLength, apply ? 7 : 6);
        QList<int> got;
        for (const ComponentFormat& c : format.comp)
            got << c.start;
        QCOMPARE(got, starts);
    }
    void layoutNumbers_data()
    {
        QTest::addColumn<QString>("box");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("applied");
        const auto row = [](const char* name, const QString& box, const QString& typed,
                            bool applied) { QTest::newRow(name) << box << typed << applied; };
        row("marker 266 would wrap to 10", "txtMark", "266", false);
        row("marker -3 would wrap to 253", "txtMark", "-3", false);
        row("marker 255", "txtMark", "255", true);
        row("length not a number", "txtLenS", "7x", false);
        row("length 0", "txtLenS", "0", false);
        row("start below 0", "txtStart", "-1", false);
        row("data length 300", "txtLenD", "300", false);
    }
    void layoutNumbers()
    {
        QFETCH(QString, box);
        QFETCH(QString, typed);
        QFETCH(bool, applied);
        StationRig r;
        frmSet dlg(r.st);
        dlg.show();
        const DataFormat before = r.st.format;
        auto* edit = dlg.findChild<QLineEdit*>(box);
        const QString old = edit->text();
        edit->setText(typed);
        dlg.findChild<QPushButton*>(QStringLiteral("cmdApply"))->click();
        QCOMPARE(dlg.isVisible(), !applied);
        QCOMPARE(r.n.messages, applied ? QStringList{} : QStringList{"Bad Data"});
        if (applied) {
            QCOMPARE(int(r.st.format.marker), typed.toInt());
            return;
        }
        QCOMPARE(edit->text(), old);
        QCOMPARE(int(r.st.format.marker), int(before.marker));
        QCOMPARE(r.st.format.recordLength, before.recordLength);
        QCOMPARE(r.st.format.comp.front().start, before.comp.front().start);
        QCOMPARE(r.st.format.comp.front().length, before.comp.front().length);
    }
};
