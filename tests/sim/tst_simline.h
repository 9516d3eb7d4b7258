// The simulator over a real pty, read through the station's port: on the
// test's thread, on a thread of its own (the station's --simulate) and as the
// standalone velmora-sim.
#pragma once

#include "sim/AnalyzerSim.h"
#include "sim/SimHost.h"
#include "station/CommPort.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QThread>
#include <csignal>

inline const QList<int> kBus{1, 10, 255};

// A streaming analyzer, or an RS-485 line of analyzers at `bus`.
inline SimConfig simConfig(AnalyzerType type, double rate, int baud = 9600,
                           const QList<int>& bus = {})
{
    SimConfig c;
    c.type = type;
    c.readingsPerSecond = rate;
    c.baud = baud;
    c.addresses = bus;
    c.seed = 42;
    return c;
}

// A data reply's length, start byte, whether the two hex digits before its last
// byte are the XOR of the bytes between, and its last byte: "73 0e check 0d"
// for a healthy one.
inline QByteArray replyShape(const QByteArray& r)
{
    if (r.size() < 4)
        return r.toHex(' ');
    quint8 x = 0;
    for (char c : r.mid(1, r.size() - 4))
        x ^= quint8(c);
    const QByteArray check = QByteArray::number(x, 16).toUpper().rightJustified(2, '0');
    return QByteArray::number(r.size()) + ' ' + r.left(1).toHex() +
           (r.mid(r.size() - 3, 2) == check ? " check " : " bad-check ") + r.right(1).toHex();
}

// A simulator with the station's port opened on its pty, both served by the
// test's waits.
struct SimLine
{
    explicit SimLine(const SimConfig& c) : sim(c) {}

    bool open()
    {
        clock.start();
        if (!sim.start())
            return false;
        port.setPortName(sim.ttyPath());
        return port.setPortOpen(true);
    }
    void send(const QByteArray& command) { port.Output(command + '\r'); }
    // Waits until the simulator has heard `heard` commands, then appends what
    // arrives to `got` until nothing more comes for 200 ms; false on a timeout.
    bool drain(QByteArray& got, int heard = 0)
    {
        QElapsedTimer t;
        t.start();
        if (!QTest::qWaitFor([&] { return sim.commands().size() >= heard; }))
            return false;
        while (QTest::qWaitFor([&] { return port.InBufferCount() > 0; }, 200)) {
            got += port.Input();
            if (t.elapsed() > 3000)
                return false;
        }
        return true;
    }

    AnalyzerSim sim;
    CommPort port;
    QElapsedTimer clock; // since open()
};

class TestSimLine : public QObject
{
    Q_OBJECT
    using Frames = QList<QByteArray>;
private Q_SLOTS:
    void commands_data()
    {
        QTest::addColumn<Frames>("frames");    // addressed ones go to an RS-485 line
        QTest::addColumn<QByteArray>("reply"); // all that comes back, in order
        const AnalyzerSim bus(simConfig(AnalyzerType::ZepD, 1.0, 9600, kBus));
        auto row = [](const char* name, const Frames& frames, const QByteArray& reply) {
            QTest::newRow(name) << frames << reply;
        };
        row("acknowledged, refused or ignored",
            {"HELLO", "ZERO", "INIT", "CALB 2.5", "CALB 150", "CALB 100", "CALB 0", "CALBX"},
            "OK\rOK\rOK\rER\rOK\rER\rER\r");
        row("user ID stored as sent", {"CUST  X Y", "CUST?"}, " X Y          \r");
        row("zero value kept, bad one ignored", {"AMB 0005", "AMB 12345", "AMB?"},
            "A0005 0000\rA0005 0000\rA0005 0000\r");
        row("addressed serial numbers", {"#0ASRAL?", "#FFSRAL?"},
            bus.unit(10)->serial + '\r' + bus.unit(255)->serial + '\r');
        row("only the addressed answer, none streams",
            {"#02SRAL?", "#0aSRAL?", "SRAL?", "#01XDAT?"}, "");
        row("user ID per analyzer", {"#FFCUST NORTH", "#01CUST SOUTH", "#FFCUST?", "#01CUST?"},
            "NORTH         \rSOUTH         \r");
    }
    void commands()
    {
        QFETCH(Frames, frames);
        const bool bus = frames.first().startsWith('#');
        QFETCH(QByteArray, reply);
        SimLine l(simConfig(AnalyzerType::ZepD, 1.0, 1200, bus ? kBus : QList<int>{}));
        QVERIFY(l.open());
        for (const QByteArray& f : frames)
            l.send(f);
        // Paced at 1200 baud, 10 bit times a byte.
        QVERIFY(QTest::qWaitFor([&] { return l.port.InBufferCount() >= reply.size(); }));
        const qint64 ms = l.clock.elapsed(), minMs = reply.size() * 10000 / 1200 - 1;
        QVERIFY2(ms >= minMs && ms < minMs * 3 + 300, qPrintable(QString::number(ms)));
        QByteArray got;
        QVERIFY(l.drain(got, int(frames.size())));
        QCOMPARE(got, reply);
    }

    void dataRecord()
    {
        // One ZEP-C record (five digits, CR, LF) and no more; AMB? then reports
        // the zero value and that reading.
        SimLine l(simConfig(AnalyzerType::ZepC, 20.0));
        QVERIFY(l.open());
        l.send("DATA?");
        l.send("AMB?");
        QByteArray got;
        QVERIFY(l.drain(got, 2));
        const QByteArray v = QByteArray::number(l.sim.records().value(0).value);
        QCOMPARE(got, v.rightJustified(5, '0') + "\r\nA0000 " + v.rightJustified(4, '0') + '\r');
    }

    void lineFaults_data()
    {
        QTest::addColumn<QString>("kind");             // of the analyzer at address 10
        QTest::addColumn<int>("serialLen");            // its answer to "SRAL?", CR included
        QTest::addColumn<QByteArray>("data");          // replyShape() of its data reply
        QTest::addColumn<AnalyzerSim::Fault>("fault"); // how the log names that reply
        using F = AnalyzerSim::Fault;
        const QByteArray healthy = "73 0e check 0d";
        QTest::newRow("silent") << "silent" << 0 << QByteArray() << F::None;
        QTest::newRow("short serial") << "short-serial" << 6 << healthy << F::None;
        QTest::newRow("wrong check")
            << "wrong-check" << 9 << QByteArray("73 0e bad-check 0d") << F::WrongCheck;
        QTest::newRow("wrong start")
            << "wrong-start" << 9 << QByteArray("73 23 check 0d") << F::WrongStart;
        // The lost byte is a blank of the body; the check value still covers it.
        QTest::newRow("short reply")
            << "short-reply" << 9 << QByteArray("72 0e bad-check 0d") << F::ShortReply;
        QTest::newRow("late") << "late" << 9 << healthy << F::Late;
    }
    void lineFaults()
    {
        QFETCH(QString, kind);
        QFETCH(int, serialLen);
        QFETCH(QByteArray, data);
        QFETCH(AnalyzerSim::Fault, fault);
        const auto faults = parseLineFaults("10=" + kind);
        QVERIFY(faults);
        SimConfig c = simConfig(AnalyzerType::ZepD, 1.0, 9600, kBus);
        c.lineFaults = *faults;
        SimLine l(c);
        QVERIFY(l.open());

        // The faulty analyzer is asked first, the healthy one at address 1 right after.
        QElapsedTimer t;
        t.start();
        for (const char* frame : {"#0ASRAL?", "#0ADATA?", "#01SRAL?", "#01DATA?"})
            l.send(frame);
        const bool late = kind == "late";
        const qsizetype healthyLen = 9 + 73, faultyLen = serialLen + data.left(2).toInt();
        // A station waiting 500 ms gets every answer in time but the late ones,
        // and the late analyzer holds up nobody else.
        QVERIFY(QTest::qWaitFor(
            [&] { return l.port.InBufferCount() >= healthyLen + (late ? 0 : faultyLen); }, 2000));
        QVERIFY2(t.elapsed() < 500, qPrintable(QString::number(t.elapsed())));
        QByteArray got = l.port.Input();
        if (late) {
            QVERIFY(QTest::qWaitFor([&] { return l.port.InBufferCount() >= faultyLen; }, 2000));
            QVERIFY2(t.elapsed() > 500, qPrintable(QString::number(t.elapsed())));
            got += l.port.Input();
        }
        // Nothing more; from the silent analyzer not even after a late answer's delay.
        const int quietMs = kind == "silent" ? AnalyzerSim::kLateMs + 300 : 200;
        QVERIFY(!QTest::qWaitFor([&] { return l.port.InBufferCount() > 0; }, quietMs));
        QCOMPARE(got.size(), healthyLen + faultyLen);

        const QByteArray faulty = late ? got.mid(healthyLen) : got.left(faultyLen);
        const QByteArray healthy = late ? got.left(healthyLen) : got.mid(faultyLen);
        const QByteArray serial = l.sim.unit(10)->serial;
        QCOMPARE(faulty.left(serialLen), serialLen ? serial.left(serialLen - 1) + '\r' : "");
        QCOMPARE(replyShape(faulty.mid(serialLen)), data);
        QVERIFY(data.isEmpty() || faulty.mid(serialLen + 1, 8) == serial);
        QCOMPARE(healthy.left(9), l.sim.unit(1)->serial + '\r');
        QCOMPARE(replyShape(healthy.mid(9)), QByteArray("73 0e check 0d"));
        // The log holds the data replies as they went out, named by their fault.
        const auto sent = l.sim.records();
        QCOMPARE(sent.size(), data.isEmpty() ? 1 : 2);
        // A healthy reply: 0x0E, 69 printable body bytes, two hex digits, CR; CO2
        // (near 420 ppm) and CH4 five digits each at bytes 49..59.
        const QRegularExpression frame("\\A\x0E[ -~]{69}[0-9A-F]{2}\r\\z");
        auto digits = [](int v) { return QByteArray::number(v).rightJustified(5, '0'); };
        for (const AnalyzerSim::SentRecord& r : sent) {
            const bool bad = r.address == 10;
            QCOMPARE(r.bytes, bad ? faulty.mid(serialLen) : healthy.mid(9));
            QCOMPARE(r.fault, bad ? fault : AnalyzerSim::Fault::None);
            if (bad)
                continue;
            QVERIFY2(frame.match(QString::fromLatin1(r.bytes)).hasMatch(),
                     r.bytes.toHex(' ').constData());
            QVERIFY(r.second > 3000 && r.second < 6000);
            QCOMPARE(r.bytes.mid(49, 11), digits(r.second) + ' ' + digits(r.value));
        }
    }

    void stream_data()
    {
        QTest::addColumn<QByteArray>("fault");
        QTest::addColumn<QList<int>>("faulty"); // numbers among the first six records
        QTest::newRow("garble once") << QByteArray("garble") << QList<int>{1};
        QTest::newRow("out of step once") << QByteArray("shift") << QList<int>{1};
        QTest::newRow("2nd garbled, 3rd shifted") << QByteArray("every") << QList<int>{2, 3, 4, 6};
        QTest::newRow("burst of 3 at 1200 baud") << QByteArray("burst") << QList<int>{};
    }
    void stream()
    {
        QFETCH(QByteArray, fault);
        QFETCH(QList<int>, faulty);
        SimConfig c = simConfig(AnalyzerType::ZepD, 20.0, fault == "burst" ? 1200 : 9600);
        c.garbleEvery = fault == "every" ? 2 : 0;
        c.shiftEvery = fault == "every" ? 3 : 0;
        SimLine l(c);
        QVERIFY(l.open());
        if (fault == "garble")
            l.sim.injectGarble();
        else if (fault == "shift")
            l.sim.injectOutOfStep(3);
        else if (fault == "burst")
            l.sim.injectBurst(3);
        l.send("XDAT?");
        // Paced at 1200 baud a record trickles in over 58 ms; a burst is there
        // as a whole as soon as any of it is.
        QVERIFY(QTest::qWaitFor([&] { return l.port.InBufferCount() > 0; }));
        QByteArray got = l.port.Input();
        QVERIFY(fault != "burst" || got.size() == 3 * 7);
        // Six records at 20 a second take at least five reading periods.
        QVERIFY(QTest::qWaitFor([&] { return l.sim.recordCount() >= 6; }));
        QVERIFY2(l.clock.elapsed() >= 190, qPrintable(QString::number(l.clock.elapsed())));
        l.send("CDAT?");
        QVERIFY(l.drain(got, 2)); // the record on the line may finish

        // Faulty records break the framing the station checks (five digits, LF,
        // CR); the others carry the reading. All reach the line in order, alone.
        const QRegularExpression record("\\A[0-9]{5}\n\r\\z");
        const auto sent = l.sim.records();
        QByteArray expected;
        for (int i = 0; i < sent.size(); ++i) {
            const bool bad = !record.match(QString::fromLatin1(sent[i].bytes)).hasMatch();
            QCOMPARE(bad, sent[i].fault != AnalyzerSim::Fault::None);
            QVERIFY(i >= 6 || bad == faulty.contains(i + 1));
            QVERIFY(bad || sent[i].bytes.left(5).toInt() == sent[i].value);
            expected += sent[i].bytes;
        }
        QCOMPARE(got, expected);
    }

    void timedFaults_data()
    {
        QTest::addColumn<bool>("pull");
        QTest::newRow("silence") << false;
        QTest::newRow("pull") << true;
    }
    void timedFaults()
    {
        QFETCH(bool, pull);
        SimConfig c = simConfig(AnalyzerType::ZepC, 20.0);
        (pull ? c.pullAfterMs : c.silenceAfterMs) = 300;
        SimLine l(c);
        // The station closes and reopens its port around commands; the line
        // must survive that without a hang-up.
        QVERIFY(l.open() && l.port.setPortOpen(false) && l.port.setPortOpen(true));
        l.send("XDAT?");
        QVERIFY(QTest::qWaitFor([&] { return l.sim.isSilent() || l.sim.isPulled(); }));
        QVERIFY(l.sim.recordCount() > 0 && l.sim.isPulled() == pull);
        if (pull) {
            // The station's port notices the vanished device and closes itself.
            QVERIFY(QTest::qWaitFor([&] { return !l.port.PortOpen(); }));
            QVERIFY(!QFile::exists(l.sim.ttyPath()) && !l.port.setPortOpen(true));
        } else {
            // A silent analyzer stops streaming and answers nothing.
            QByteArray got;
            QVERIFY(l.drain(got));
            got.clear();
            l.send("ZERO");
            QVERIFY(l.drain(got, 2) && got.isEmpty());
        }
    }

    // The line as --simulate makes it: a pty, or loopback TCP where the
    // system has no ptys.
    void ownThreadKeepsStreamingWhileCallerIsBlocked_data()
    {
        QTest::addColumn<QString>("listen");
        QTest::newRow("pty") << QString();
        QTest::newRow("loopback TCP") << QStringLiteral("tcp://127.0.0.1:0");
    }

    void ownThreadKeepsStreamingWhileCallerIsBlocked()
    {
        QFETCH(QString, listen);
        SimConfig config = simConfig(AnalyzerType::ZepC, 50.0);
        if (!listen.isEmpty())
            QVERIFY(PortAddress::parse(listen, &config.listen, nullptr, true));
        SimHost host;
        const QString path = host.start(config);
        QVERIFY(!path.isEmpty());
        QCOMPARE(path.startsWith(QLatin1String("tcp://127.0.0.1:")), !listen.isEmpty());
        CommPort port;
        port.setPortName(path);
        QVERIFY(port.setPortOpen(true) && port.Output("XDAT?\r"));
        QVERIFY(QTest::qWaitFor([&] { return host.sim()->recordCount() > 0; }));
        // Block this thread without serving any events, as a station wait
        // without keep-alive does: the simulator's own thread goes on pacing.
        const int before = host.sim()->recordCount();
        QElapsedTimer t;
        t.start();
        while (host.sim()->recordCount() < before + 5 && t.elapsed() < 3000)
            QThread::msleep(5);
        QVERIFY(host.sim()->recordCount() >= before + 5);
        // invoke() runs on the simulator's thread and returns when it is done.
        QThread* ran = nullptr;
        host.invoke([&](AnalyzerSim&) { ran = QThread::currentThread(); });
        QVERIFY(ran == host.sim()->thread() && ran != QThread::currentThread());
        host.stop();
        port.setPortOpen(false);
        port.dropConnection();
        QVERIFY(!QFile::exists(path) && !port.setPortOpen(true));
    }

    void standaloneProgram()
    {
        // An RS-485 line at a list with a range, one analyzer with a wrong start
        // byte; SIGINT ends the program cleanly.
        QProcess p;
        p.start(QStringLiteral(VELMORA_SIM_EXE),
                {"--rs485", "3,7-9", "--baud", "19200", "--line-fault", "9=wrong-start"});
        QVERIFY(p.waitForStarted() && p.waitForReadyRead(5000));
        CommPort port;
        port.setPortName(QString::fromLocal8Bit(p.readLine()).trimmed());
        QVERIFY(port.setPortOpen(true) && port.Output("#08DATA?\r#09DATA?\r"));
        QVERIFY(QTest::qWaitFor([&] { return port.InBufferCount() >= 2 * 73; }));
        const QByteArray reply = port.Input();
        QVERIFY(reply.size() == 2 * 73 && reply.startsWith('\x0E') && reply[73] == '#');
        ::kill(pid_t(p.processId()), SIGINT);
        QVERIFY(p.waitForFinished(5000));
        QVERIFY(p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0);
    }
};
