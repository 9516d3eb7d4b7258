// The simulator's pure parts: address lists, command line cutting, traces.
#pragma once

#include "sim/LineSplitter.h"
#include "sim/SimConfig.h"
#include "sim/SimTrace.h"

#include <QTest>
#include <algorithm>

class TestSimParts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void addressList_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QList<int>>("addresses");
        QTest::newRow("list and range") << "1,2,10-12" << true << QList<int>{1, 2, 10, 11, 12};
        QTest::newRow("bounds") << "255,0" << true << QList<int>{0, 255};
        QTest::newRow("duplicates") << "5,3-5" << true << QList<int>{3, 4, 5};
        QTest::newRow("too big") << "256" << false << QList<int>{};
        QTest::newRow("reversed range") << "9-3" << false << QList<int>{};
        QTest::newRow("negative") << "-1" << false << QList<int>{};
        QTest::newRow("not a number") << "1,x" << false << QList<int>{};
        QTest::newRow("empty") << "" << false << QList<int>{};
    }
    void addressList()
    {
        QFETCH(QString, text);
        QFETCH(bool, ok);
        QFETCH(QList<int>, addresses);
        QString why;
        const auto got = parseAddressList(text, &why);
        QCOMPARE(got.has_value(), ok);
        if (ok)
            QCOMPARE(*got, addresses);
        else
            QVERIFY(!why.isEmpty());
    }

    void lines_data()
    {
        QTest::addColumn<QList<QByteArray>>("pieces");
        QTest::addColumn<QList<QByteArray>>("lines");
        QTest::newRow("plain") << QList<QByteArray>{"XDAT?\r"} << QList<QByteArray>{"XDAT?"};
        QTest::newRow("split over reads")
            << QList<QByteArray>{"#0", "1SR", "AL?\r"} << QList<QByteArray>{"#01SRAL?"};
        QTest::newRow("LF ignored")
            << QList<QByteArray>{"\nCDAT?\r\n"} << QList<QByteArray>{"CDAT?"};
        QTest::newRow("noise dropped") << QList<QByteArray>{QByteArray("\x00\xff"
                                                                       "DA\x07TA?\r",
                                                                       10)}
                                       << QList<QByteArray>{"DATA?"};
        QTest::newRow("two in one read")
            << QList<QByteArray>{"AMB?\rCUST?\r"} << QList<QByteArray>{"AMB?", "CUST?"};
        QTest::newRow("overlong line dropped")
            << QList<QByteArray>{QByteArray(100, 'x'), "\rSRAL?\r"} << QList<QByteArray>{"SRAL?"};
        QTest::newRow("blanks of an ID kept") << QList<QByteArray>{"CUST AB12          \r"}
                                              << QList<QByteArray>{"CUST AB12          "};
    }
    void lines()
    {
        QFETCH(QList<QByteArray>, pieces);
        QFETCH(QList<QByteArray>, lines);
        LineSplitter s;
        QList<QByteArray> got;
        for (const QByteArray& p : pieces)
            got += s.feed(p);
        QCOMPARE(got, lines);
    }

    void traceRepeatsWithItsSeed()
    {
        SimTrace a(7), b(7), c(8);
        QList<int> va, vb, vc;
        for (int i = 0; i < 300; ++i) {
            va << a.next();
            vb << b.next();
            vc << c.next();
        }
        QCOMPARE(va, vb);
        QVERIFY(va != vc);
    }

    void traceCrossesBothAlarmLevels_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {1u, 2u, 99u, 123456u})
            QTest::addRow("seed %u", seed) << seed;
    }
    void traceCrossesBothAlarmLevels()
    {
        // Within ten minutes of readings at one a second the background sits
        // near 2 ppm and both thresholds (50 and 80 raw) are crossed.
        QFETCH(quint32, seed);
        SimTrace t(seed);
        QList<int> v;
        for (int i = 0; i < 600; ++i)
            v << t.next();
        QList<int> sorted = v;
        std::sort(sorted.begin(), sorted.end());
        const int median = sorted[sorted.size() / 2];
        QVERIFY2(median >= 12 && median <= 30, qPrintable(QString::number(median)));
        QVERIFY(std::count_if(v.begin(), v.end(), [](int x) { return x > 50 && x <= 80; }) > 0);
        QVERIFY(std::count_if(v.begin(), v.end(), [](int x) { return x > 80; }) > 0);
        // Excursions are episodes, not the normal state.
        QVERIFY(std::count_if(v.begin(), v.end(), [](int x) { return x > 50; }) < 120);
        QVERIFY(sorted.first() >= 0);
    }
};
