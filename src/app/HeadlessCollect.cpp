#include "app/Headless.h"
#include "fleet/Collector.h"
#include "platform/Platform.h"
#include "station/IniFile.h"
#include "station/SettingsKeys.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QHash>
#include <cstdio>

namespace {
void say(const QString& text)
{
    std::fprintf(stderr, "velmora: %s\n", qPrintable(text));
    std::fflush(stderr);
}

QString stationName(const QString& station)
{
    return station.isEmpty() ? QStringLiteral("(no station)") : station;
}

// Where the collected files go: --record-dir, else the data folder of the
// settings file, else the current folder.
QString recordDir(const HeadlessOptions& options)
{
    if (!options.recordDir.isEmpty())
        return options.recordDir;
    const QString data = ReadIni(QLatin1String(Ini::SecPath), QLatin1String(Ini::IniPathDat),
                                 QLatin1String(Ini::File))
                             .trimmed();
    return data.isEmpty() ? QDir::currentPath() : data;
}
} // namespace

int runCollector(QCoreApplication& app, const HeadlessOptions& options)
{
    platform::ShutdownRequests shutdown;
    if (!shutdown.isWatching()) {
        say(QStringLiteral("Can't watch for signals: %1").arg(shutdown.error()));
        return 1;
    }
    const QString dir = recordDir(options);
    if (!QDir().mkpath(dir)) {
        say(QStringLiteral("the record folder %1 can't be made").arg(dir));
        return 1;
    }
    Collector collector(dir);
    QObject::connect(&collector, &Collector::stateChanged, &app, say);
    QObject::connect(&collector, &Collector::note, &app, say);
    QObject::connect(
        &collector, &Collector::stationStatus, &app, [](const QString& station, bool online) {
            say(QStringLiteral("%1 is %2").arg(station, online ? "online" : "offline"));
        });
    // A rejection is printed with the station's running count, at most once a
    // second per station: a station sending nonsense many times a second
    // must not drown the rest. The count still tells how many were dropped.
    QHash<QString, QDeadlineTimer> quiet;
    QObject::connect(&collector, &Collector::rejected, &app,
                     [&quiet](const QString& station, const QByteArray& topic, const QString& why,
                              qint64 count) {
                         QDeadlineTimer& until = quiet[station];
                         if (!until.hasExpired())
                             return;
                         until.setRemainingTime(1000);
                         say(QStringLiteral("rejected from %1 on %2: %3 (%4 rejected so far)")
                                 .arg(stationName(station), QString::fromUtf8(topic), why)
                                 .arg(count));
                     });
    QString why;
    if (!collector.start(MqttSettings::read(), &why)) {
        say(QStringLiteral("can't collect: %1").arg(why));
        return 2;
    }
    say(QStringLiteral("collecting into %1").arg(QDir(dir).absolutePath()));
    QObject::connect(&shutdown, &platform::ShutdownRequests::requested, &app,
                     [&app] { app.exit(0); });
    const int rc = app.exec();
    collector.stop();
    say(QStringLiteral("%1 readings written, %2 repeated ones skipped")
            .arg(collector.written())
            .arg(collector.duplicates()));
    for (auto it = collector.rejects().cbegin(); it != collector.rejects().cend(); ++it)
        say(QStringLiteral("%1 payloads rejected from %2")
                .arg(it.value())
                .arg(stationName(it.key())));
    shutdown.finished();
    return rc;
}
