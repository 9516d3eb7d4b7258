// The device types, command strings and button captions.
#include "station/DataFormat.h"
#include "station/zep_cmnd.h"
#include "tst_station.h"

#include <QTest>

void CatalogueTest::marker_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("after");
    QTest::newRow("ZEP-C") << "ZEP-C" << 13 << 10;
    QTest::newRow("ZEP-D") << "ZEP-D" << 10 << 13;
    QTest::newRow("unknown keeps") << "ZEP-X" << 10 << 10;
    QTest::newRow("case matters") << "zep-c" << 13 << 13;
}

void CatalogueTest::marker()
{
    QFETCH(QString, type);
    QFETCH(int, before);
    DataFormat f;
    QCOMPARE(int(f.marker), 13); // the marker before any type is chosen
    f.marker = quint8(before);
    QVERIFY(zep_cmnd::InitDataFormat(f, type));
    QTEST(int(f.marker), "after");
    QVERIFY(zep_cmnd::InitDataFormatFromDB(f, type));
    QTEST(int(f.marker), "after");
}

void CatalogueTest::commands()
{
    const zep_cmnd::Commands c = zep_cmnd::buildCommands(QStringLiteral("ZEP-D"));
    QCOMPARE(c.serialNumber, QByteArray("SRAL?\r"));
    QCOMPARE(c.zero, QByteArray("ZERO\r"));
    QCOMPARE(c.init, QByteArray("INIT\r"));
    QCOMPARE(c.readUserId, QByteArray("CUST?\r"));
    QCOMPARE(c.writeUserId, QByteArray("CUST"));
    QCOMPARE(c.continuous, QByteArray("CDAT?\r"));
    QCOMPARE(c.oneRecord, QByteArray("DATA?\r"));
    QCOMPARE(c.calibration, QByteArray("CALB"));
}

void CatalogueTest::toolTips_data()
{
    QTest::addColumn<QString>("caption");
    QTest::addColumn<QString>("tip");
    QTest::newRow("serial") << "Ser. Number"
                            << "Get Serial Number from Gas Analyzer.";
    QTest::newRow("calibr") << "CALIBR"
                            << "Calibration of Gas analyzer";
    QTest::newRow("cdat") << "CDAT?"
                          << "Continuous reading data from Gas Analyzer";
    QTest::newRow("case differs") << "Zero" << QString();
    QTest::newRow("spacing differs") << "SET  CUST" << QString();
}

void CatalogueTest::toolTips()
{
    QFETCH(QString, caption);
    QTEST(zep_cmnd::toolTipFor(caption), "tip");
}

void CatalogueTest::findIndex_data()
{
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("index");
    QTest::newRow("CDAT?") << "CDAT?" << 7;
    QTest::newRow("DATA?") << "DATA?" << 6;
    QTest::newRow("first") << "Ser. Number" << 0;
    QTest::newRow("unknown") << "XDAT?" << -1;
    QTest::newRow("case-sensitive") << "cdat?" << -1;
}

void CatalogueTest::findIndex()
{
    QFETCH(QString, caption);
    QTEST(zep_cmnd::FindCDATIndex(zep_cmnd::buttonCaptions(), caption), "index");
}
