#pragma once

// A real mosquitto broker on a free loopback port, a mosquitto_sub that keeps
// its session across broker restarts, and the station program run headless.
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace mqtt_rig {

inline int freePort()
{
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof a;
    ::bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a);
    ::getsockname(s, reinterpret_cast<sockaddr*>(&a), &len);
    ::close(s);
    return ntohs(a.sin_port);
}

inline bool accepts(int port)
{
    const int s = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(quint16(port));
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool ok = ::connect(s, reinterpret_cast<sockaddr*>(&a), sizeof a) == 0;
    ::close(s);
    return ok;
}

// Keeps its sessions in a file over a restart, so a subscriber misses nothing.
class Broker
{
public:
    QTemporaryDir dir;
    int port = freePort();
    QProcess proc;

    // Debian installs it in /usr/sbin, which a user's PATH may not hold.
    static QString program()
    {
        return QStandardPaths::findExecutable(QStringLiteral("mosquitto"),
                                              {QStringLiteral("/usr/sbin")});
    }
    bool start()
    {
        QFile conf(dir.filePath(QStringLiteral("mosquitto.conf")));
        if (!conf.open(QIODevice::WriteOnly))
            return false;
        conf.write("listener " + QByteArray::number(port) +
                   " 127.0.0.1\nallow_anonymous true\n"
                   // A subscriber away keeps more than the default 1000 messages.
                   "max_queued_messages 100000\npersistence true\npersistence_location " +
                   dir.path().toLocal8Bit() + "/\n");
        if (::getuid() == 0)
            conf.write("user root\n"); // else it drops to a user that can't write the folder
        conf.close();
        proc.start(program(), {QStringLiteral("-c"), conf.fileName()});
        return proc.waitForStarted(5000) && QTest::qWaitFor([this] { return accepts(port); }, 5000);
    }
    void stop()
    {
        proc.terminate();
        proc.waitForFinished(5000);
    }
    ~Broker() { stop(); }
};

// One message as mosquitto_sub -v prints it.
struct Message
{
    QString topic;
    QByteArray payload;
    QJsonObject json() const { return QJsonDocument::fromJson(payload).object(); }
};

class Subscriber
{
public:
    QProcess proc;
    QList<Message> got;

    void start(int port)
    {
        proc.start(QStringLiteral("mosquitto_sub"),
                   {"-h", "127.0.0.1", "-p", QString::number(port), "-t", "velmora/#", "-v", "-q",
                    "1", "-c", "-i", "velmora-test-sub"});
        QVERIFY(proc.waitForStarted(5000));
    }
    void read()
    {
        while (proc.canReadLine()) {
            const QByteArray line = proc.readLine().trimmed();
            const qsizetype space = line.indexOf(' ');
            got.append({QString::fromUtf8(line.left(space)), line.mid(space + 1)});
        }
    }
    QList<Message> on(const QString& topicEnd)
    {
        read();
        QList<Message> out;
        for (const Message& m : std::as_const(got))
            if (m.topic.endsWith(topicEnd))
                out.append(m);
        return out;
    }
    bool waitFor(const QString& topicEnd, const QByteArray& payload, int ms = 10000)
    {
        return QTest::qWaitFor(
            [&] {
                const QList<Message> ms = on(topicEnd);
                return !ms.isEmpty() && (payload.isEmpty() || ms.last().payload == payload);
            },
            ms);
    }
    ~Subscriber()
    {
        proc.kill();
        proc.waitForFinished(2000);
    }
};

// A broker with a subscriber on every station's topics.
struct Site
{
    Broker broker;
    Subscriber sub;
    bool start()
    {
        if (!broker.start())
            return false;
        sub.start(broker.port);
        return !QTest::currentTestFailed();
    }
};

// velmora --headless on the simulator with a settings file of its own.
class StationProcess
{
public:
    QTemporaryDir cfg;
    QProcess proc;
    QByteArray out;
    QByteArray err;

    void start(const QByteArray& ini, const QString& rate = QStringLiteral("10"))
    {
        QFile f(cfg.filePath(QStringLiteral("Tervala.ini")));
        QVERIFY(f.open(QIODevice::WriteOnly));
        f.write(ini);
        f.close();
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), cfg.path());
        proc.setProcessEnvironment(env);
        proc.start(QStringLiteral(VELMORA_BIN),
                   {"--headless", "--simulate", "--from-device", "--sim-rate", rate});
        QVERIFY(proc.waitForStarted(5000));
    }
    int readings()
    {
        out += proc.readAllStandardOutput();
        return int(out.count('\n'));
    }
    QString errors()
    {
        err += proc.readAllStandardError();
        return QString::fromUtf8(err);
    }
    bool stop()
    {
        proc.terminate();
        const bool ok = proc.waitForFinished(5000) && proc.exitCode() == 0;
        readings();
        errors();
        return ok;
    }
    ~StationProcess()
    {
        proc.kill();
        proc.waitForFinished(2000);
    }
};

inline QByteArray mqttIni(int port, const QByteArray& more = {})
{
    return "[MQTT]\nHost=127.0.0.1\nPort=" + QByteArray::number(port) + "\nClientId=st1\n" + more;
}

} // namespace mqtt_rig
