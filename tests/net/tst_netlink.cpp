#include "StationRig.h"
#include "link/DataWatch.h"
#include "link/RunControl.h"
#include "net/Telnet.h"
#include "sim/NetLineEnd.h"
#include "tst_net.h"

#include <QSignalSpy>
#include <QTcpServer>

namespace {
SimConfig netSim(const QString& listen)
{
    SimConfig c;
    c.readingsPerSecond = 50;
    c.baud = 115200;
    c.seed = 7;
    PortAddress::parse(listen, &c.listen, nullptr, true);
    return c;
}
} // namespace

void NetLinkTest::readingsOverTheNetwork_data()
{
    QTest::addColumn<QString>("listen");
    QTest::addColumn<QString>("asked"); // what an RFC 2217 server hears
    QTest::addColumn<int>("readings");  // 0: From Device, else that many polls From Timer
    QTest::newRow("raw TCP") << "tcp://127.0.0.1:0" << QString() << 0;
    QTest::newRow("RFC 2217") << "rfc2217://127.0.0.1:0"
                              << "19200,e,7,2" << 0;
    QTest::newRow("RFC 2217, From Timer") << "rfc2217://127.0.0.1:0"
                                          << "19200,e,7,2" << 3;
    // A rate the server's UART can't run: it keeps 9600 and the operator is told.
    QTest::newRow("RFC 2217, odd rate") << "rfc2217://127.0.0.1:0"
                                        << "12345,n,8,1" << 0;
}

// Run from the device, readings in order, Stop: the station's own path over
// a network port, the simulator serving it.
void NetLinkTest::readingsOverTheNetwork()
{
    QFETCH(QString, listen);
    QFETCH(QString, asked);
    QFETCH(int, readings);
    SimRig rig(netSim(listen));
    QSignalSpy said(&rig.sim, &AnalyzerSim::lineAsked);
    rig.st.commSettings = asked.isEmpty() ? QStringLiteral("9600,n,8,1") : asked;
    rig.st.applyPortSettings();
    wireRunControl(rig.st);
    rig.st.synchroFromTimer = readings > 0;
    rig.st.timerPeriod = 1;
    QList<double> values;
    rig.st.sinks[Station::MainGraphSink] = [&](double v, const QByteArray&) { values << v; };
    Run(rig.st);
    QVERIFY2(rig.st.myComm.PortOpen(), qPrintable(rig.st.myComm.lastError()));
    const int wanted = readings > 0 ? readings : 20;
    QVERIFY2(QTest::qWaitFor([&] { return values.size() >= wanted; }, 5000),
             qPrintable(QStringLiteral("heard %1; said %2")
                            .arg(QString::fromLatin1(rig.sim.commands().join(' ')),
                                 rig.n.messages.join(" | ") + rig.n.statuses.join(" | "))));
    rig.st.Stop();
    QVERIFY(QTest::qWaitFor([&] { return rig.sim.commands().contains("CDAT?"); }, 2000));
    // Every reading taken is one the analyzer sent, none lost between them.
    QList<int> taken, sent;
    for (const double v : values)
        taken << int(v);
    for (const AnalyzerSim::SentRecord& r : rig.sim.records())
        sent << r.value;
    bool unbroken = false;
    for (qsizetype at = 0; at + taken.size() <= sent.size() && !unbroken; ++at)
        unbroken = sent.mid(at, taken.size()) == taken;
    if (readings > 0) {
        // Polled readings skip what streamed between the polls.
        QVERIFY(rig.sim.commands().count("DATA?") >= readings);
        for (const int v : std::as_const(taken))
            QVERIFY(sent.contains(v));
    } else {
        QVERIFY(unbroken);
    }
    if (asked.startsWith(QLatin1String("12345"))) {
        QCOMPARE(rig.st.myComm.serverSettings(), QStringLiteral("9600,n,8,1"));
        QVERIFY(rig.n.statuses.contains(
            QStringLiteral("%1 runs the line at 9600 Bd, not the 12345 Bd asked for")
                .arg(rig.sim.ttyPath())));
    } else if (!asked.isEmpty()) {
        QCOMPARE(rig.st.myComm.serverSettings(), asked);
        QVERIFY(!said.isEmpty() && said.last().at(0).toString() == asked);
    }
}

// 0xFF is data like any byte: doubled on the wire, single at either end.
void NetLinkTest::iacBytesBothWays()
{
    NetLineEnd server;
    PortAddress a;
    QVERIFY(PortAddress::parse(QStringLiteral("rfc2217://127.0.0.1:0"), &a, nullptr, true));
    QVERIFY(server.listen(a, nullptr));
    QByteArray heard;
    connect(&server, &NetLineEnd::received, [&](const QByteArray& d) { heard += d; });
    CommPort port;
    port.setPortName(server.url());
    QVERIFY(port.setPortOpen(true));
    const QByteArray odd("\xff\xff\x00\xfa\xff\xf0 end", 10);
    QVERIFY(port.Output(odd));
    QVERIFY(QTest::qWaitFor([&] { return heard.size() >= odd.size(); }, 2000));
    QCOMPARE(heard, odd);
    QVERIFY(QTest::qWaitFor([&] { return server.hasClient(); }, 2000));
    server.write(odd.constData(), odd.size());
    QVERIFY(QTest::qWaitFor([&] { return port.InBufferCount() >= odd.size(); }, 2000));
    QCOMPARE(port.InputAll(), odd);
}

// A device server serves one client; the second is turned away and treated
// as a lost port, while the first keeps its line.
void NetLinkTest::oneClientAtATime()
{
    NetLineEnd server;
    PortAddress a;
    QVERIFY(PortAddress::parse(QStringLiteral("tcp://127.0.0.1:0"), &a, nullptr, true));
    QVERIFY(server.listen(a, nullptr));
    CommPort first, second;
    first.setPortName(server.url());
    second.setPortName(server.url());
    QVERIFY(first.setPortOpen(true));
    QVERIFY(QTest::qWaitFor([&] { return server.hasClient(); }, 2000));
    QSignalSpy lost(&second, &CommPort::deviceLost);
    second.setPortOpen(true);
    QVERIFY(QTest::qWaitFor([&] { return !second.PortOpen(); }, 2000));
    server.write("00042\r\n", 7);
    QVERIFY(QTest::qWaitFor([&] { return first.InBufferCount() == 7; }, 2000));
    QCOMPARE(first.CommEvent(), 0);
    QVERIFY(lost.size() <= 1);
}

// A server that takes the connection and never sends a byte: the no-data
// watch asks again, then connects anew.
void NetLinkTest::silentServer()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost, 0));
    QList<QTcpSocket*> clients;
    QByteArray heard;
    connect(&server, &QTcpServer::newConnection, [&] {
        while (QTcpSocket* c = server.nextPendingConnection()) {
            clients << c;
            connect(c, &QTcpSocket::readyRead, [&heard, c] { heard += c->readAll(); });
        }
    });
    StationRig rig;
    rig.st.portName = QStringLiteral("tcp://127.0.0.1:%1").arg(server.serverPort());
    rig.st.applyPortSettings();
    rig.st.format.autoLength = false;
    wireRunControl(rig.st);
    DataWatch::of(rig.st).limitMs = 300;
    rig.st.synchroFromTimer = false;
    Run(rig.st);
    // XDAT? at Run, again when nothing came, and on the new connection.
    QVERIFY(QTest::qWaitFor([&] { return heard.count("XDAT?\r") == 3; }, 5000));
    QCOMPARE(clients.size(), 2);
    QVERIFY(rig.n.statuses.filter(QStringLiteral("opening the port again")).size() == 1);
}
