// Pure framing functions: marker and length detection, component layout,
// the ppm text, and picking a record out of a stream.
#include "link/DataFormat.h"
#include "link/ProcessReply.h"
#include "tst_link.h"

#include <QTest>

void FramingTest::detect_data()
{
    QTest::addColumn<QByteArray>("sample");
    QTest::addColumn<int>("marker");
    QTest::addColumn<int>("length");
    QTest::newRow("two CR LF records") << QByteArray("12345\r\n12345\r\n") << 13 << 7;
    QTest::newRow("A before line ends") << QByteArray("A12A") << 65 << 3;
    QTest::newRow("A wins over CR") << QByteArray("\r1A2\r3A") << 65 << 4;
    QTest::newRow("odd code 14") << QByteArray("1\x0e"
                                               "22\x0e")
                                 << 14 << 3;
    QTest::newRow("full stop") << QByteArray("1.23.") << 46 << 3;
    QTest::newRow("one marker only") << QByteArray("12345\r") << 0 << 0;
    QTest::newRow("nothing") << QByteArray("123456") << 0 << 0;
}

void FramingTest::detect()
{
    QFETCH(QByteArray, sample);
    QFETCH(int, marker);
    QFETCH(int, length);
    QCOMPARE(int(DetectMark(sample)), marker);
    // Without a marker found, the length is measured on the current one (CR).
    QCOMPARE(DetectLen(sample, marker ? quint8(marker) : quint8(13)), length);
}

void FramingTest::setAllComponents_data()
{
    QTest::addColumn<bool>("identical");
    QTest::addColumn<bool>("mark");
    QTest::addColumn<bool>("checkSum");
    QTest::addColumn<QList<int>>("starts");
    QTest::newRow("mark and check sum") << true << true << true << QList<int>{0, 7, 14};
    QTest::newRow("mark only") << true << true << false << QList<int>{0, 6, 12};
    QTest::newRow("check sum only") << true << false << true << QList<int>{0, 6, 12};
    QTest::newRow("not the same format") << false << true << true << QList<int>{0, 0, 0};
}

void FramingTest::setAllComponents()
{
    QFETCH(bool, identical);
    QFETCH(bool, mark);
    QFETCH(bool, checkSum);
    QFETCH(QList<int>, starts);
    DataFormat f;
    f.setComponents(3);
    f.comp[0] = {0, 5, true};
    f.identData = identical;
    f.markForComponent = mark;
    f.checkSumForComponent = checkSum;
    SetAllComponents(f);
    QList<int> got;
    for (const ComponentFormat& c : f.comp)
        got << c.start;
    QCOMPARE(got, starts);
    if (identical)
        QCOMPARE(f.comp[2].length, 5);
    // Fewer components keep the first ones as they were.
    f.setComponents(2);
    QCOMPARE(f.comp.size(), 2);
    QCOMPARE(f.comp[1].start, starts[1]);
}

void FramingTest::formatVal_data()
{
    QTest::addColumn<double>("raw");
    QTest::addColumn<QString>("text");
    QTest::newRow("12345") << 12345.0 << "1234.5";
    QTest::newRow("70") << 70.0 << "07.0";
    QTest::newRow("5") << 5.0 << "00.5";
    QTest::newRow("0") << 0.0 << "00.0";
    QTest::newRow("-25") << -25.0 << "-02.5";
}

void FramingTest::formatVal()
{
    QFETCH(double, raw);
    QTEST(FormatVal(raw), "text");
}

void FramingTest::latestRecord_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("record");
    QTest::newRow("one") << QByteArray("00123\n\r") << QByteArray("00123\n\r");
    QTest::newRow("newest of two") << QByteArray("00123\n\r00456\n\r") << QByteArray("00456\n\r");
    QTest::newRow("partial tail") << QByteArray("3\n\r00456\n\r007") << QByteArray("00456\n\r");
    QTest::newRow("none complete") << QByteArray("\r0045") << QByteArray();
}

void FramingTest::latestRecord()
{
    QFETCH(QByteArray, stream);
    DataFormat f; // marker CR, value length 5
    QTEST(LatestRecord(stream, f), "record");
}
