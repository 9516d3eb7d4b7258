#include "net/PortAddress.h"
#include "net/Telnet.h"
#include "tst_net.h"

#include <QTest>

using namespace telnet;
Q_DECLARE_METATYPE(PortAddress::Kind)

void TelnetTest::portNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<PortAddress::Kind>("kind");
    QTest::addColumn<QString>("host");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("error"); // empty when the name is good
    using K = PortAddress::Kind;
    QTest::newRow("local") << "/dev/ttyUSB0" << K::Local << "/dev/ttyUSB0" << 0 << "";
    QTest::newRow("raw") << "tcp://plant-ds1:4001" << K::RawTcp << "plant-ds1" << 4001 << "";
    QTest::newRow("telnet ipv4") << "RFC2217://10.0.0.7:2217" << K::Rfc2217 << "10.0.0.7" << 2217
                                 << "";
    QTest::newRow("ipv6") << "rfc2217://[fe80::1]:65535" << K::Rfc2217 << "fe80::1" << 65535 << "";
    const QString bad = QStringLiteral("Bad port name \"%1\": %2");
    QTest::newRow("no port") << "tcp://host" << K::Local << "" << 0
                             << bad.arg("tcp://host", "no :PORT after the host");
    QTest::newRow("empty port") << "tcp://host:" << K::Local << "" << 0
                                << bad.arg("tcp://host:", "no port number");
    QTest::newRow("words") << "tcp://host:telnet" << K::Local << "" << 0
                           << bad.arg("tcp://host:telnet", "port \"telnet\" is not a number");
    QTest::newRow("zero") << "tcp://host:0" << K::Local << "" << 0
                          << bad.arg("tcp://host:0", "port 0 is outside 1-65535");
    QTest::newRow("too big") << "tcp://host:65536" << K::Local << "" << 0
                             << bad.arg("tcp://host:65536", "port 65536 is outside 1-65535");
    QTest::newRow("no host") << "rfc2217://:4001" << K::Local << "" << 0
                             << bad.arg("rfc2217://:4001", "no host");
    QTest::newRow("scheme") << "udp://h:1" << K::Local << "" << 0
                            << bad.arg("udp://h:1", "unknown kind \"udp\" (tcp:// or rfc2217://)");
    QTest::newRow("bare ipv6") << "tcp://fe80::1:4001" << K::Local << "" << 0
                               << bad.arg("tcp://fe80::1:4001",
                                          "an IPv6 address goes in brackets: [fe80::1]");
}

void TelnetTest::portNames()
{
    QFETCH(QString, name);
    QFETCH(PortAddress::Kind, kind);
    QFETCH(QString, host);
    QFETCH(int, port);
    QFETCH(QString, error);
    PortAddress a;
    QString why;
    QCOMPARE(PortAddress::parse(name, &a, &why), error.isEmpty());
    QCOMPARE(why, error);
    if (!error.isEmpty())
        return;
    QCOMPARE(a.kind, kind);
    QCOMPARE(a.host, host);
    QCOMPARE(int(a.port), port);
    // What the dialog writes reads back the same.
    PortAddress again;
    QVERIFY(PortAddress::parse(a.toString(), &again));
    QCOMPARE(again.toString(), a.toString());
}

namespace {
QByteArray b(std::initializer_list<int> list)
{
    QByteArray out;
    for (int v : list)
        out.append(char(v));
    return out;
}
} // namespace

void TelnetTest::decode_data()
{
    QTest::addColumn<QByteArray>("wire");
    QTest::addColumn<QByteArray>("data");
    QTest::addColumn<QStringList>("events"); // "verb option" or "SB option payload-hex"
    const QByteArray rec = "00123\n\r";
    QTest::newRow("plain") << rec << rec << QStringList();
    QTest::newRow("doubled IAC") << "a" + b({IAC, IAC}) + "b"
                                 << "a" + b({IAC}) + "b" << QStringList();
    QTest::newRow("negotiation") << b({IAC, DO, kComPort}) + rec + b({IAC, WILL, 1}) << rec
                                 << QStringList{"253 44", "251 1"};
    QTest::newRow("baud answer") << rec + b({IAC, SB, kComPort, 101, 0, 0, 0x4B, 0, IAC, SE}) + rec
                                 << rec + rec << QStringList{"SB 44 6500004b00"};
    QTest::newRow("IAC in a subnegotiation")
        << b({IAC, SB, kComPort, 101, 0, 0, IAC, IAC, IAC, IAC, IAC, SE}) << QByteArray()
        << QStringList{"SB 44 650000ffff"};
    QTest::newRow("NOP and GA") << b({IAC, 241}) + rec + b({IAC, 249}) << rec << QStringList();
    QTest::newRow("stray IAC before data") << b({IAC}) + rec << rec << QStringList();
    QTest::newRow("unknown option") << b({IAC, WILL, 200}) + rec << rec << QStringList{"251 200"};
    QTest::newRow("SB ended by another command")
        << b({IAC, SB, kComPort, 106, 1, IAC, WILL, 3}) + rec << rec
        << QStringList{"SB 44 6a01", "251 3"};
    QByteArray tail;
    for (int i = 0; i < 12; ++i)
        tail += rec;
    QTest::newRow("SB without SE") << b({IAC, SB}) + tail << tail.mid(1) << QStringList();
}

void TelnetTest::decode()
{
    QFETCH(QByteArray, wire);
    QFETCH(QByteArray, data);
    QFETCH(QStringList, events);
    auto text = [](const QList<Event>& es) {
        QStringList out;
        for (const Event& e : es)
            out << (e.kind == Event::Negotiation
                        ? QStringLiteral("%1 %2").arg(e.verb).arg(e.option)
                        : QStringLiteral("SB %1 %2").arg(e.option).arg(e.payload.toHex()));
        return out;
    };
    // In one piece, and a byte at a time as a slow connection hands it on.
    Decoder whole;
    QList<Event> got;
    QCOMPARE(whole.feed(wire, &got), data);
    QCOMPARE(text(got), events);
    Decoder bytewise;
    QList<Event> got1;
    QByteArray data1;
    for (const char c : wire)
        data1 += bytewise.feed(QByteArray(1, c), &got1);
    QCOMPARE(data1, data);
    QCOMPARE(text(got1), events);
}

void TelnetTest::encode()
{
    QCOMPARE(escape(b({1, IAC, 2, IAC})), b({1, IAC, IAC, 2, IAC, IAC}));
    QCOMPARE(comPortBaud(SetBaudRate, 19200), b({IAC, SB, 44, 1, 0, 0, 0x4B, 0, IAC, SE}));
    // A value byte that is IAC is doubled inside the subnegotiation too.
    QCOMPARE(comPortBaud(SetBaudRate, 0xFF00), b({IAC, SB, 44, 1, 0, 0, IAC, IAC, 0, IAC, SE}));
    QCOMPARE(baudOf(b({0, 1, 0xC2, 0})), 115200u);
    QCOMPARE(baudOf(b({1, 2})), 0u);
}
