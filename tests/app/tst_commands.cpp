// The main frame's command panel: the command buttons' enabled state, the
// zero keys and their entry box, and the Run button when Run can't start.
#include "Files.h"
#include "StationRig.h"
#include "alarms/AlarmCheck.h"
#include "app/GuiNotifier.h"
#include "app/MDIFrm.h"
#include "link/frmCUST.h"
#include "recording/DataRecorder.h"
#include "rs485/frmFind.h"
#include "tst_app.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

namespace {
QList<bool> enabled(const QList<QPushButton*>& buttons)
{
    QList<bool> out;
    for (const QPushButton* b : buttons)
        out << b->isEnabled();
    return out;
}
} // namespace

void CommandPanelTest::panelFollowsTheLine()
{
    PtyRig r; // an analyzer that never answers
    MDIFrm f(r.st);
    const QList<bool> all(8, true);
    QList<bool> atStart = all;
    atStart[6] = atStart[7] = false; // "DATA?" and "CDAT?" wait for the analyzer
    QCOMPARE(enabled(f.commandButtons()), atStart);
    r.st.deliver(19, "00019\n\r");
    QCOMPARE(enabled(f.commandButtons()), all);

    QList<bool> during;
    bool runDuring = true;
    QTimer::singleShot(300, [&] {
        during = enabled(f.commandButtons());
        runDuring = f.toolButton(QStringLiteral("Run"))->isEnabled() ||
                    f.findChild<QLineEdit*>(QStringLiteral("txtZ"))->isEnabled();
    });
    f.commandButtons()[0]->click();
    QCOMPARE(during, QList<bool>(8, false));
    QVERIFY(!runDuring);
    QCOMPARE(enabled(f.commandButtons()), all);
    QVERIFY(f.toolButton(QStringLiteral("Run"))->isEnabled());
    QCOMPARE(r.n.lastStatus.value(0), QStringLiteral("Send SRAL?<CR> No Reply"));
}

// The zero entry box: what typing leaves in it, and the zero keys without
// data from the analyzer.
void CommandPanelTest::zeroBox_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("key"); // a zero key pressed afterwards
    QTest::addColumn<QString>("left");
    QTest::addColumn<QStringList>("messages");
    QTest::newRow("slash passes") << "12/4" << QString() << "12/4" << QStringList{};
    QTest::newRow("letter") << "12a" << QString() << "" << QStringList{"Bad Data"};
    QTest::newRow("full stop, code 46") << "1.5" << QString() << "5" << QStringList{"Bad Data"};
    QTest::newRow("colon, code 58") << "1:" << QString() << "" << QStringList{"Bad Data"};
    for (const char* key : {"Z", "Z0", "ZT"})
        QTest::addRow("%s without data", key)
            << "55" << key << "0000" << QStringList{"Данные не получены"};
}

void CommandPanelTest::zeroBox()
{
    QFETCH(QString, typed);
    QFETCH(QString, key);
    StationRig r;
    MDIFrm f(r.st);
    auto* z = f.findChild<QLineEdit*>(QStringLiteral("txtZ"));
    z->clear();
    QTest::keyClicks(z, typed);
    if (!key.isEmpty())
        f.toolButton(key)->trigger();
    QTEST(z->text(), "left");
    QTEST(r.n.messages, "messages");
}

// A zero key against the simulator while it streams into the graph and the
// data file: the exchange happens, and the stream goes on after it.
void CommandPanelTest::zeroWhileStreaming()
{
    SimConfig config;
    config.readingsPerSecond = 20;
    config.seed = 3;
    SimRig r(config);
    AnalyzerSim& sim = r.sim;
    Station& st = r.st;
    st.synchroFromTimer = false;
    st.dataFolder = dir_->path();
    MDIFrm f(st);
    f.show();
    QList<double> seen;
    auto graphSink = st.sinks[Station::MainGraphSink];
    st.sinks[Station::MainGraphSink] = [&](double v, const QByteArray& reply) {
        seen << v;
        graphSink(v, reply);
    };
    f.toolButton(QStringLiteral("Write"))->trigger();
    f.mnuRun_Click();
    QVERIFY(QTest::qWaitFor([&] { return seen.size() >= 5; }, 3000));

    item(f, "mnu2ppmNow")->trigger();
    QCOMPARE(sim.unit()->zero, 20);
    QCOMPARE(st.zeroOffset, 20);
    QCOMPARE(f.findChild<QLineEdit*>(QStringLiteral("txtZ"))->text(), QStringLiteral("20"));
    QCOMPARE(f.findChild<QLineEdit*>(QStringLiteral("txtZR"))->text().size(), 4);
    QCOMPARE(f.findChild<QLabel*>(QStringLiteral("lblZeroOffset"))->text(),
             QStringLiteral("Zero offset 02.0 ppm"));
    QVERIFY(r.n.messages.isEmpty());

    // Readings after the exchange carry the new offset, in the graph and the file.
    const qsizetype before = seen.size();
    QVERIFY(QTest::qWaitFor([&] { return seen.size() >= before + 5; }, 3000));
    QCOMPARE(seen.last(), double(sim.records().last().value - 20));
    f.toolButton(QStringLiteral("Write"))->trigger();

    const QList<QByteArray> records =
        contents(onlyFile(st.dataFolder, QStringLiteral("*.dat"))).split('\n');
    // Every reading that reached the graph is in the file (the last split is empty).
    QCOMPARE(records.size() - 1, seen.size());
    // The zero position 20 stands in the records written while it was in force.
    QVERIFY(std::count_if(records.begin(), records.end(),
                          [](const QByteArray& r) { return r.contains("\t00020\t"); }) >= 5);
}

// An analyzer that keeps quiet on "AMB?": the zero fields keep what they
// held, the panel comes back, and the stream goes on.
void CommandPanelTest::silentZeroAnswer()
{
    SimConfig config;
    config.readingsPerSecond = 20;
    config.answers = AnswerFault::Silent;
    SimRig r(config);
    r.st.synchroFromTimer = false;
    MDIFrm f(r.st);
    f.show();
    int readings = 0;
    auto graphSink = r.st.sinks[Station::MainGraphSink];
    r.st.sinks[Station::MainGraphSink] = [&](double v, const QByteArray& reply) {
        ++readings;
        graphSink(v, reply);
    };
    f.mnuRun_Click();
    QVERIFY(QTest::qWaitFor([&] { return readings >= 3; }, 3000));
    auto* z = f.findChild<QLineEdit*>(QStringLiteral("txtZ"));
    auto* zr = f.findChild<QLineEdit*>(QStringLiteral("txtZR"));
    z->setText(QStringLiteral("0042"));
    zr->setText(QStringLiteral("1234"));
    f.toolButton(QStringLiteral("ZT"))->trigger();
    QVERIFY(r.sim.commands().contains("AMB?"));
    QCOMPARE(z->text(), QStringLiteral("0042"));
    QCOMPARE(zr->text(), QStringLiteral("1234"));
    QCOMPARE(r.st.zeroOffset, 0);
    QVERIFY(f.toolButton(QStringLiteral("ZT"))->isEnabled());
    QVERIFY(!r.st.lineBusy());
    const int before = readings;
    QVERIFY(QTest::qWaitFor([&] { return readings > before; }, 2000));
}

void CommandPanelTest::runButtonFollowsRunning()
{
    StationRig r;
    r.st.portName = dir_->filePath(QStringLiteral("no-such-tty"));
    r.st.applyPortSettings();
    MDIFrm f(r.st);
    QAction* run = f.toolButton(QStringLiteral("Run"));
    run->trigger();
    QVERIFY(!run->isChecked());
    QVERIFY(item(f, "mnuRun")->isVisible());
    QCOMPARE(r.n.messages.size(), 1);
}

// A message raised on the reading path is shown without waiting: readings go
// on reaching the data file and the alarms while it is on screen, and the
// same text comes up once.
void CommandPanelTest::messagesDoNotStopReadings()
{
    GuiNotifier n;
    Station st(n);
    st.dataFolder = dir_->path();
    DataRecorder recorder(st);
    AlarmCheck alarms(st);
    QVERIFY(recorder.start());
    st.sinks[Station::MainGraphSink] = [&](double, const QByteArray&) {
        n.message(QStringLiteral("Bad Bound if Array"));
    };
    for (int i = 0; i < 20; ++i)
        st.deliver(90, "00090\r"); // above both thresholds
    n.message(QStringLiteral("another"));
    QCOMPARE(n.openMessages().size(), 2);
    QVERIFY(alarms.secondLogged());
    recorder.end();
    QCOMPARE(contents(onlyFile(dir_->path(), QStringLiteral("*.dat"))).count('\n'), 20);
    for (QMessageBox* b : n.openMessages())
        b->close();
    QTRY_VERIFY(n.openMessages().isEmpty());
}

// The write error's Retry/Cancel box does not wait either: readings that come
// while it is open are kept and written, in order, when Retry is clicked.
void CommandPanelTest::writeQuestionDoesNotWait()
{
    GuiNotifier n;
    Station st(n);
    st.dataFolder = QDir(dir_->path()).filePath("away");
    QVERIFY(QDir().mkpath(st.dataFolder));
    DataRecorder recorder(st);
    QVERIFY(recorder.start());
    const QString path = recorder.dataFilePath();
    QVERIFY(QDir(st.dataFolder).removeRecursively());
    for (int i = 0; i < 5; ++i)
        st.deliver(i, QByteArray::number(100000 + i).mid(1) + '\r');
    QMessageBox* box = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets()) {
        if (auto* b = qobject_cast<QMessageBox*>(w); b && b->isVisible())
            box = b;
    }
    QVERIFY(box && !box->isModal() && box->button(QMessageBox::Retry));
    QCOMPARE(recorder.heldCount(), 5);
    QVERIFY(QDir().mkpath(st.dataFolder));
    box->button(QMessageBox::Retry)->click();
    QCOMPARE(recorder.heldCount(), 0);
    const QList<QByteArray> lines = contents(path).split('\n');
    QCOMPARE(lines.size(), 6);
    for (int i = 0; i < 5; ++i)
        QVERIFY2(lines[i].startsWith("0000" + QByteArray::number(i + 1) + "\t") &&
                     lines[i].contains("\t0000" + QByteArray::number(i) + "\t"),
                 lines[i].constData());
    recorder.end();
}

// Text typed for an analyzer goes out in the station's code page,
// Windows-1251: Cyrillic is sent as its bytes there, not as "?", and the
// identifier read back is shown in it.
void CommandPanelTest::textToThePort_data()
{
    QTest::addColumn<QString>("where");
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("wire");
    const QString text = QString::fromUtf8("#01ЦЕХ №2 ё");
    const QByteArray bytes = "#01\xD6\xC5\xD5 \xB9\x32 \xB8\r";
    QTest::newRow("send line") << "TxtTo" << text << bytes;
    QTest::newRow("finder terminal") << "cmbComand" << text << bytes;
    QTest::newRow("no place in the code page")
        << "TxtTo" << QString::fromUtf8("CO₂") << QByteArray("CO?\r");
    QTest::newRow("user identifier")
        << "txtCUSTN" << QString::fromUtf8("Шахта №3")
        << QByteArray("CUST \xD8\xE0\xF5\xF2\xE0 \xB9\x33      \rCUST?\r");
}

void CommandPanelTest::textToThePort()
{
    QFETCH(QString, where);
    QFETCH(QString, typed);
    QFETCH(QByteArray, wire);
    PtyRig r;
    if (where == QLatin1String("cmbComand")) {
        frmFind find(r.st);
        find.findChild<QComboBox*>(QStringLiteral("cmbDevices"))
            ->addItem(QStringLiteral("at Addr=001"));
        find.findChild<QComboBox*>(where)->setCurrentText(typed);
        find.cmdSend_Click();
    } else if (where == QLatin1String("txtCUSTN")) {
        // The analyzer keeps the identifier's bytes and gives them back.
        QByteArray stored;
        r.line.respond([&](const QByteArray& line) {
            if (line.startsWith("CUST "))
                stored = line.mid(5);
            return line == "CUST?" ? stored + '\r' : QByteArray();
        });
        frmCUST dlg(r.st);
        dlg.findChild<QLineEdit*>(where)->setText(typed);
        dlg.cmdSet_Click();
        QCOMPARE(dlg.findChild<QLineEdit*>(QStringLiteral("txtNewID"))->text(),
                 typed.leftJustified(14));
    } else {
        MDIFrm f(r.st);
        f.findChild<QLineEdit*>(where)->setText(typed);
        f.toolButton(QStringLiteral("Send"))->trigger();
    }
    QCOMPARE(r.line.readAll(150), wire);
}
