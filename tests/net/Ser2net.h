#pragma once

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

// Debian's ser2net on loopback in front of a tty: a raw `tcp` accepter and a
// `telnet(rfc2217)` one, on free ports, from a YAML file of its own. Killed
// by its pid when the test is done with it.
class Ser2net
{
public:
    static QString program()
    {
        return QStandardPaths::findExecutable(QStringLiteral("ser2net"),
                                              {QStringLiteral("/usr/sbin")});
    }
    static int freePort()
    {
        QTcpServer s;
        s.listen(QHostAddress::LocalHost, 0);
        return s.serverPort();
    }

    int rawPort = freePort();
    int telnetPort = freePort();

    QString rawUrl() const { return QStringLiteral("tcp://127.0.0.1:%1").arg(rawPort); }
    QString telnetUrl() const { return QStringLiteral("rfc2217://127.0.0.1:%1").arg(telnetPort); }

    // `line` as ser2net writes it, e.g. "2400o72".
    bool start(const QString& tty, const QString& line)
    {
        QFile conf(dir_.filePath(QStringLiteral("ser2net.yaml")));
        if (!conf.open(QIODevice::WriteOnly))
            return false;
        const QByteArray connector = "  connector: serialdev," + tty.toLocal8Bit() + "," +
                                     line.toLatin1() +
                                     ",local\n"
                                     "  options:\n    chardelay: false\n";
        conf.write("%YAML 1.1\n---\n"
                   "connection: &raw\n  accepter: tcp,127.0.0.1," +
                   QByteArray::number(rawPort) + "\n" + connector +
                   "connection: &telnet\n  accepter: telnet(rfc2217),tcp,127.0.0.1," +
                   QByteArray::number(telnetPort) + "\n" + connector);
        conf.close();
        proc_.setProcessChannelMode(QProcess::MergedChannels);
        proc_.start(program(), {QStringLiteral("-n"), QStringLiteral("-u"), QStringLiteral("-c"),
                                conf.fileName(), QStringLiteral("-P"),
                                dir_.filePath(QStringLiteral("ser2net.pid"))});
        if (!proc_.waitForStarted(5000))
            return false;
        return QTest::qWaitFor([this] { return listening(rawPort) && listening(telnetPort); },
                               5000);
    }
    // As a crash or a power cut ends it: no goodbye.
    void kill()
    {
        if (proc_.state() == QProcess::NotRunning)
            return;
        proc_.kill();
        proc_.waitForFinished(5000);
    }
    QByteArray output() { return proc_.readAll(); }
    qint64 pid() const { return proc_.processId(); }
    ~Ser2net() { kill(); }

private:
    // Whether something listens on the port, read from the kernel's socket
    // table: a probe connection would make ser2net open its tty and close
    // it again just as the test's own client comes.
    static bool listening(int port)
    {
        const QByteArray local =
            ':' + QByteArray::number(port, 16).toUpper().rightJustified(4, '0');
        for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
            QFile f(QString::fromLatin1(table));
            if (!f.open(QIODevice::ReadOnly))
                continue;
            for (const QByteArray& line : f.readAll().split('\n')) {
                const QList<QByteArray> cols = line.simplified().split(' ');
                if (cols.size() > 3 && cols[1].endsWith(local) && cols[3] == "0A")
                    return true;
            }
        }
        return false;
    }

    QTemporaryDir dir_;
    QProcess proc_;
};
