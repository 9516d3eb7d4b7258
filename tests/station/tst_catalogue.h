// The device catalogue: what a type name does to the record's marker, and
// which captions get a tool tip.
#pragma once

#include "station/DataFormat.h"
#include "station/zep_cmnd.h"

#include <QTest>

class CatalogueTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void typeMarker_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("before");
        QTest::addColumn<int>("after");
        QTest::newRow("ZEP-C") << "ZEP-C" << 13 << 10;
        QTest::newRow("ZEP-D") << "ZEP-D" << 10 << 13;
        // A name the catalogue doesn't know keeps the marker in force.
        QTest::newRow("unknown name") << "ZEP-X" << 13 << 13;
        QTest::newRow("other case") << "zep-c" << 13 << 13;
        QTest::newRow("empty") << "" << 10 << 10;
    }
    void typeMarker()
    {
        QFETCH(QString, type);
        QFETCH(int, before);
        DataFormat f;
        f.marker = quint8(before);
        QVERIFY(zep_cmnd::InitDataFormat(f, type));
        QTEST(int(f.marker), "after");
        // The database variant reads nothing and changes nothing.
        f.marker = quint8(before);
        QVERIFY(zep_cmnd::InitDataFormatFromDB(f, type));
        QCOMPARE(int(f.marker), before);
    }

    void toolTips_data()
    {
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("tip");
        QTest::newRow("exact") << "Ser. Number" << "Get Serial Number from Gas Analyzer.";
        QTest::newRow("continuous") << "CDAT?" << "Continuous reading data from Gas Analyzer";
        QTest::newRow("case differs") << "ser. number" << "";
        QTest::newRow("trailing blank") << "Ser. Number " << "";
        QTest::newRow("inner blank") << "SETCUST" << "";
    }
    void toolTips()
    {
        QFETCH(QString, caption);
        QTEST(zep_cmnd::toolTipFor(caption), "tip");
    }
};
