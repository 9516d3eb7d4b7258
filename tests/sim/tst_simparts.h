// The simulator's pure parts: address and fault lists, command line cutting, traces.
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
        QTest::addColumn<QList<int>>("addresses"); // empty: refused
        QTest::newRow("sorted") << "255,10-12,1,11,0" << QList<int>{0, 1, 10, 11, 12, 255};
        for (const char* bad : {"256", "9-3", "-1", "1-2-3", "1,x", ""})
            QTest::addRow("refused \"%s\"", bad) << bad << QList<int>{};
    }
    void addressList()
    {
        QFETCH(QString, text);
        QFETCH(QList<int>, addresses);
        QString why;
        const auto got = parseAddressList(text, &why);
        QCOMPARE(got.value_or(QList<int>{}), addresses);
        QCOMPARE(why.isEmpty(), got.has_value()); // a reason for every refusal
    }

    void lineFaultList_data()
    {
        using F = LineFault;
        QTest::addColumn<QString>("text");
        QTest::addColumn<QMap<int, F>>("faults"); // empty: refused
        QTest::newRow("three") << "7=short-serial, 12 = LATE,9=silent"
                               << QMap<int, F>{{7, F::ShortSerial}, {9, F::Silent}, {12, F::Late}};
        QTest::newRow("data reply kinds")
            << "255=wrong-start,0=wrong-check,,3=short-reply"
            << QMap<int, F>{{0, F::WrongCheck}, {3, F::ShortReply}, {255, F::WrongStart}};
        for (const char* bad : {"7", "7=", "=late", "7=loud", "7=none", "256=late", "x=late",
                                "7=silent=late", "7=silent,7=late", ""})
            QTest::addRow("refused \"%s\"", bad) << bad << QMap<int, F>{};
    }
    void lineFaultList()
    {
        QFETCH(QString, text);
        QString why;
        const auto got = parseLineFaults(text, &why);
        QTEST(got.value_or(QMap<int, LineFault>{}), "faults");
        QCOMPARE(why.isEmpty(), got.has_value());
    }

    void lines()
    {
        // A line may come in pieces; LF, other control bytes and bytes above 126
        // are noise; an overlong line is thrown away up to its CR.
        const QByteArray pieces[] = {"#0", "1SR",
                                     QByteArrayLiteral("AL?\r\nAMB?\r\0\377CU\aST?\r\n"),
                                     QByteArray(100, 'x'), "\rINIT\r"};
        LineSplitter s;
        QList<QByteArray> got;
        for (const QByteArray& p : pieces)
            got += s.feed(p);
        QCOMPARE(got, (QList<QByteArray>{"#01SRAL?", "AMB?", "CUST?", "INIT"}));
    }

    void trace_data()
    {
        QTest::addColumn<quint32>("seed");
        for (quint32 seed : {1u, 2u, 99u, 123456u})
            QTest::addRow("seed %u", seed) << seed;
    }
    void trace()
    {
        // Ten minutes of readings at one a second: the same seed gives the same
        // readings, the background sits near 2 ppm and both alarm levels (50 and
        // 80 raw) are crossed, in episodes.
        QFETCH(quint32, seed);
        auto readings = [](quint32 s) {
            SimTrace t(s);
            QList<int> v(600);
            std::generate(v.begin(), v.end(), [&] { return t.next(); });
            return v;
        };
        QList<int> v = readings(seed);
        QVERIFY(readings(seed) == v && readings(seed + 1) != v);
        std::sort(v.begin(), v.end());
        QVERIFY2(v[300] >= 12 && v[300] <= 30, qPrintable(QString::number(v[300])));
        auto above = [&](int level) {
            return v.end() - std::upper_bound(v.begin(), v.end(), level);
        };
        QVERIFY(above(50) > above(80) && above(80) > 0 && above(50) < 120);
    }

    void profiles_data()
    {
        QTest::addColumn<int>("profile");
        QTest::addColumn<int>("minEpisodes"); // rises over the second threshold (80)
        QTest::addColumn<int>("minPeak");
        QTest::addColumn<int>("maxPeak");
        QTest::addColumn<double>("firstBy"); // seconds by which the first one has come
        // Ten minutes at two readings a second: a leak every one to two
        // minutes, of hundreds of ppm, the first within the first minute.
        QTest::newRow("site") << int(SimProfile::Site) << 5 << 1500 << 6000 << 55.0;
        QTest::newRow("flat") << int(SimProfile::Flat) << 0 << 0 << 49 << 0.0;
    }
    void profiles()
    {
        QFETCH(int, profile);
        QFETCH(int, minEpisodes);
        QFETCH(int, minPeak);
        QFETCH(int, maxPeak);
        QFETCH(double, firstBy);
        for (quint32 seed : {1u, 7u, 4242u}) {
            SimTrace t(seed, SimTrace::methane(SimProfile(profile)));
            QList<int> v;
            int episodes = 0;
            double first = -1;
            for (int i = 0; i < 1200; ++i) {
                v << t.next(i * 0.5);
                if (v.size() > 1 && v.last() > 80 && v[v.size() - 2] <= 80) {
                    ++episodes;
                    if (first < 0)
                        first = i * 0.5;
                }
            }
            QVERIFY2(episodes >= minEpisodes && episodes <= minEpisodes + 6,
                     qPrintable(QString::number(episodes)));
            if (firstBy > 0)
                QVERIFY2(first >= 20 && first <= firstBy, qPrintable(QString::number(first)));
            const int peak = *std::max_element(v.begin(), v.end());
            QVERIFY2(peak >= minPeak && peak <= maxPeak, qPrintable(QString::number(peak)));
            std::sort(v.begin(), v.end());
            QVERIFY2(v[600] >= 12 && v[600] <= 30, qPrintable(QString::number(v[600])));
        }
    }
};
