// The control room: the site model on its own, then the window against a
// real mosquitto, fed by test publishers and by the station program itself.
#include "CollectorRig.h"
#include "TestMain.h"
#include "display/frmOscil.h"
#include "fleet/ChannelTile.h"
#include "fleet/SiteAlarms.h"
#include "fleet/SiteTiles.h"
#include "fleet/frmControlRoom.h"
#include "station/IniFile.h"
#include "station/Notifier.h"
#include "tst_sitemodel.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <csignal>

using namespace mqtt_rig;

namespace {
class QuietNotifier : public Notifier
{
public:
    void message(const QString&, Icon) override {}
    int ask(const QString&, int, Icon) override { return Ok; }
    void status(int, const QString&) override {}
};
} // namespace

class ControlRoomTest : public QObject
{
    Q_OBJECT
    QTemporaryDir cfg_;
    QuietNotifier notifier_;

    // A control room watching `broker`, subscribed.
    std::unique_ptr<frmControlRoom> room(const Broker& broker)
    {
        auto r = std::make_unique<frmControlRoom>(notifier_);
        r->setAttribute(Qt::WA_DeleteOnClose, false);
        MqttSettings s;
        s.host = QStringLiteral("127.0.0.1");
        s.port = broker.port;
        s.clientId = QStringLiteral("room");
        r->connectBroker(s);
        if (!QTest::qWaitFor([&] { return r->stateText().startsWith("MQTT: watching"); }, 10000))
            return nullptr;
        return r;
    }
    // The channel once its reading `record` (or a later one) is in; null if it never came.
    static const SiteModel::Channel* waitChannel(frmControlRoom& r, const QString& station,
                                                 const QByteArray& ch, qint64 record)
    {
        auto in = [&] {
            const SiteModel::Channel* c = r.model().channel(station, ch);
            return c && c->record >= record;
        };
        return QTest::qWaitFor(in, 5000) ? r.model().channel(station, ch) : nullptr;
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("XDG_CONFIG_HOME", cfg_.path().toLocal8Bit());
        if (Broker::program().isEmpty())
            QSKIP("mosquitto is not installed (scripts/install-deps)");
    }

    // Two stations, one of them an RS-485 line of three: each reading in its
    // own tile, under its station, with its value and its level's colour.
    void site_data()
    {
        QTest::addColumn<QString>("station");
        QTest::addColumn<int>("address");
        QTest::addColumn<int>("raw");
        QTest::addColumn<int>("level");
        QTest::addColumn<QColor>("colour");
        QTest::newRow("single") << "boiler1" << -1 << 19 << 0 << QColor(0xc8, 0xf0, 0xc8);
        QTest::newRow("line 1") << "boiler2" << 1 << 612 << 1 << QColor(0xff, 0xd8, 0x60);
        QTest::newRow("line 2") << "boiler2" << 2 << 934 << 3 << QColor(0xff, 0x70, 0x60);
        QTest::newRow("line 3") << "boiler2" << 3 << -4 << 0 << QColor(0xc8, 0xf0, 0xc8);
    }
    void site()
    {
        QFETCH(QString, station);
        QFETCH(int, address);
        QFETCH(int, raw);
        QFETCH(int, level);
        QFETCH(QColor, colour);
        Broker broker;
        QVERIFY(broker.start());
        auto r = room(broker);
        QVERIFY(r);
        Feed feed;
        QVERIFY(feed.start(broker.port));
        // Every channel of the site, the one under test last.
        const qint64 t = QDateTime::currentMSecsSinceEpoch();
        feed.reading("boiler1", reading(t, 7, 10, 0));
        for (int a = 1; a <= 3; ++a)
            feed.reading("boiler2", reading(t, 7, 10 * a, 0, a, 4000));
        feed.reading(station, reading(t + 1000, 8, raw, level, address, 4000));
        QVERIFY(feed.settle());

        const QByteArray ch = MqttMessages::channel(address);
        const SiteModel::Channel* c = waitChannel(*r, station, ch, 8);
        QVERIFY(c);
        QCOMPARE(c->raw, raw);
        QCOMPARE(c->level, SiteModel::levelOf(level));
        QCOMPARE(r->model().channelCount(), 4);
        QCOMPARE(r->model().station(QStringLiteral("boiler2"))->channels,
                 (QList<QByteArray>{"001", "002", "003"}));
        r->model().flush();
        ChannelTile* tile = r->tiles()->tile(station, ch);
        QVERIFY(tile);
        QCOMPARE(tile->parentWidget()->objectName(), QStringLiteral("grp_") + station);
        QCOMPARE(tile->colour(QDateTime::currentMSecsSinceEpoch()), colour);
        // Quiet for three periods (1 s here): grey.
        QCOMPARE(tile->colour(c->arrivedMs + 3000), QColor(0xb4, 0xb4, 0xb4));
    }

    // A station killed outright is marked offline by the broker's last will.
    void lastWill()
    {
        Broker broker;
        QVERIFY(broker.start());
        auto r = room(broker);
        QVERIFY(r);
        StationProcess st;
        st.start(mqttIni(broker.port));
        auto state = [&]() -> QString {
            r->model().flush();
            const QLabel* h = r->tiles()->heading(QStringLiteral("st1"));
            return h ? h->text() : QString();
        };
        QVERIFY2(QTest::qWaitFor([&] { return state().contains("online since"); }, 15000),
                 qPrintable(st.errors()));
        QVERIFY(waitChannel(*r, QStringLiteral("st1"), "main", 3));
        ::kill(pid_t(st.proc.processId()), SIGKILL);
        QVERIFY2(QTest::qWaitFor([&] { return state().contains("offline since"); }, 10000),
                 qPrintable(state()));
    }

    // Each payload that isn't a station's is counted against its station and
    // shown on its heading; the reading after it is taken as usual.
    void badPayloads_data()
    {
        QTest::addColumn<QByteArray>("topic");
        QTest::addColumn<QByteArray>("payload");
        const QByteArray good = MqttMessages::readingPayload(reading(1764000000000, 1, 5, 0));
        QTest::newRow("not JSON") << QByteArray("velmora/st1/main/reading") << QByteArray("hello");
        QTest::newRow("wrong type") << QByteArray("velmora/st1/main/reading")
                                    << QByteArray(good).replace("\"raw\":5", "\"raw\":\"5\"");
        QTest::newRow("missing field") << QByteArray("velmora/st1/main/reading")
                                       << QByteArray(good).replace("\"record\":1,", "");
        QTest::newRow("too large")
            << QByteArray("velmora/st1/main/reading")
            << good.chopped(1) + ",\"pad\":\"" + QByteArray(MqttIncoming::kMaxPayload, 'x') + "\"}";
        QTest::newRow("topic levels") << QByteArray("velmora/st1/status/reading") << good;
        QTest::newRow("unknown channel") << QByteArray("velmora/st1/7/reading") << good;
    }
    void badPayloads()
    {
        QFETCH(QByteArray, topic);
        QFETCH(QByteArray, payload);
        Broker broker;
        QVERIFY(broker.start());
        auto r = room(broker);
        QVERIFY(r);
        Feed feed;
        QVERIFY(feed.start(broker.port));
        const qint64 t = QDateTime::currentMSecsSinceEpoch();
        feed.reading("st1", reading(t, 1, 11, 0));
        feed.send(topic, payload);
        feed.send(topic, payload);
        feed.reading("st1", reading(t + 1000, 2, 22, 0));
        QVERIFY(feed.settle());
        const SiteModel::Channel* c = waitChannel(*r, QStringLiteral("st1"), "main", 2);
        QVERIFY(c);
        QCOMPARE(c->raw, 22);
        QCOMPARE(r->model().station(QStringLiteral("st1"))->rejects, 2);
        r->model().flush();
        QVERIFY2(r->tiles()->heading(QStringLiteral("st1"))->text().endsWith("2 rejected"),
                 qPrintable(r->tiles()->heading(QStringLiteral("st1"))->text()));
    }

    // Alarms through the window: the kept one marked, acknowledging from the
    // list, and the filter.
    void acknowledge()
    {
        Broker broker;
        QVERIFY(broker.start());
        Feed feed;
        QVERIFY(feed.start(broker.port));
        const qint64 t = QDateTime::currentMSecsSinceEpoch();
        const QByteArray topic = MqttMessages::alarmTopic("velmora", "st1", 2);
        const int kept = feed.link.publish(
            topic, MqttMessages::alarmPayload(reading(t - 60000, 1, 900, 3, 2)), 1, true);
        QVERIFY(kept >= 0);
        feed.pending.insert(kept);
        QVERIFY(feed.settle()); // kept by the broker before the room connects
        auto r = room(broker);
        QVERIFY(r);
        feed.send(MqttMessages::alarmTopic("velmora", "st2", -1),
                  MqttMessages::alarmPayload(reading(t, 5, 600, 1)));
        QVERIFY(feed.settle());
        QTreeWidget* list = r->findChild<QTreeWidget*>(QStringLiteral("lstAlarms"));
        QVERIFY(QTest::qWaitFor([&] { return list->topLevelItemCount() == 2; }, 5000));
        QCOMPARE(list->topLevelItem(0)->text(1), QStringLiteral("st2")); // newest first
        QCOMPARE(list->topLevelItem(1)->text(5),
                 QStringLiteral("raised, older than the connection"));

        list->setCurrentItem(list->topLevelItem(0));
        QTest::mouseClick(r->findChild<QPushButton*>(QStringLiteral("cmdAcknowledge")),
                          Qt::LeftButton);
        QCOMPARE(list->topLevelItem(0)->text(6), QStringLiteral("yes"));
        QCOMPARE(r->model().unacknowledged(), 1);
        r->findChild<QCheckBox*>(QStringLiteral("chkUnacknowledged"))->setChecked(true);
        QCOMPARE(list->topLevelItemCount(), 1);
        QCOMPARE(list->topLevelItem(0)->text(1), QStringLiteral("st1"));
    }

    // The stations' order outlives the window: as first seen, here or in an
    // earlier run, or by name.
    void layout_data()
    {
        QTest::addColumn<QString>("kept");
        QTest::addColumn<bool>("sorted");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("first seen") << "" << false << QStringList{"st-b", "st-c", "st-a"};
        QTest::newRow("kept from before")
            << "st-a,st-x,st-c" << false << QStringList{"st-a", "st-c", "st-b"};
        QTest::newRow("sorted") << "st-c" << true << QStringList{"st-a", "st-b", "st-c"};
    }
    void layout()
    {
        QFETCH(QString, kept);
        QFETCH(bool, sorted);
        QFETCH(QStringList, shown);
        QVERIFY(WriteIni("ControlRoom", "Stations", kept, "Tervala.ini"));
        QVERIFY(WriteIni("ControlRoom", "Sorted", sorted ? "1" : "0", "Tervala.ini"));
        QVERIFY(WriteIni("ControlRoom", "Graphs", "", "Tervala.ini"));
        QStringList seen;
        {
            frmControlRoom r(notifier_);
            r.setAttribute(Qt::WA_DeleteOnClose, false);
            for (const char* id : {"st-b", "st-c", "st-a"})
                r.model().take(MqttMessages::statusTopic("velmora", id), "online", true);
            r.model().flush();
            QCOMPARE(r.tiles()->stationsShown(), shown);
            seen = r.tiles()->knownOrder();
        }
        const QString stored = ReadIni("ControlRoom", "Stations", "Tervala.ini");
        QCOMPARE(stored, seen.join(','));
        for (const QString& id : shown)
            QVERIFY(stored.split(',').contains(id));
    }

    // A tile opens its channel's trend graph, which then draws each reading.
    void graph()
    {
        Broker broker;
        QVERIFY(broker.start());
        auto r = room(broker);
        QVERIFY(r);
        Feed feed;
        QVERIFY(feed.start(broker.port));
        const qint64 t = QDateTime::currentMSecsSinceEpoch();
        feed.reading("st1", reading(t, 1, 40, 0, 9));
        QVERIFY(waitChannel(*r, QStringLiteral("st1"), "009", 1));
        r->model().flush();
        QTest::mouseDClick(r->tiles()->tile(QStringLiteral("st1"), "009"), Qt::LeftButton);
        frmOscil* g = r->graph(QStringLiteral("st1"), "009");
        QVERIFY(g);
        for (int i = 2; i <= 4; ++i)
            feed.reading("st1", reading(t + i * 1000, i, 40 * i, 0, 9));
        QVERIFY(QTest::qWaitFor([&] { return g->pointCount() == 3; }, 5000));
        QCOMPARE(ReadIni("ControlRoom", "Graphs", "Tervala.ini"), QStringLiteral("st1/009"));
    }
};

VELMORA_TEST_MAIN(SiteModelTest, ControlRoomTest)

#include "tst_fleet.moc"
