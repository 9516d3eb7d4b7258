// The platform seam: shutdown requests, syncing to the disk, and what the
// recorders say when a file can't be synced.
#pragma once

#include "RecordingNotifier.h"
#include "platform/Platform.h"
#include "recording/DiskSync.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>

class PlatformTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void shutdownRequests_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<QString>("name");
        QTest::newRow("SIGINT") << int(SIGINT) << "SIGINT";
        QTest::newRow("SIGTERM") << int(SIGTERM) << "SIGTERM";
    }

    void shutdownRequests()
    {
        QFETCH(int, signal);
        platform::ShutdownRequests requests;
        QVERIFY2(requests.isWatching(), qPrintable(requests.error()));
        platform::ShutdownRequests second;
        QVERIFY(!second.isWatching());
        QVERIFY(!second.error().isEmpty());

        QSignalSpy spy(&requests, &platform::ShutdownRequests::requested);
        std::raise(signal);
        // Said from the event loop, never from inside the handler.
        QCOMPARE(spy.count(), 0);
        QVERIFY(spy.wait(2000));
        QTEST(spy.at(0).at(0).toString(), "name");
        std::raise(signal);
        QVERIFY(spy.wait(2000));
        QCOMPARE(spy.count(), 2);
    }

    void syncFile_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("synced");
        QTest::newRow("a data file") << QString() << true;
        QTest::newRow("a device that keeps nothing") << "/dev/null" << false;
    }

    void syncFile()
    {
        QFETCH(QString, path);
        QFETCH(bool, synced);
        QTemporaryDir dir;
        const QString name = path.isEmpty() ? dir.filePath("14h15_11.dat") : path;
        QFile f(name);
        QVERIFY(f.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        f.write("1;00001\r\n");
        QString why;
        QCOMPARE(platform::syncFile(f, &why), synced);
        QCOMPARE(why.isEmpty(), synced);

        // Said once per file; the next file that can't be synced is said too.
        RecordingNotifier n;
        DiskSync disk(n);
        QFile other(QStringLiteral("/dev/zero"));
        QVERIFY(other.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        for (int i = 0; i < 3; ++i) {
            disk.sync(f);
            disk.sync(other);
        }
        QCOMPARE(n.statuses.size(), synced ? 1 : 2);
        QVERIFY(n.statuses.last().startsWith("/dev/zero can't be synced to the disk: "));
        if (!synced)
            QCOMPARE(n.statuses.first(), "/dev/null can't be synced to the disk: " + why);
    }
};
