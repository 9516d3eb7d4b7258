#include "mqtt/MqttLink.h"

#include "mqtt/MessageSpool.h"
#include "mqtt/MqttSettings.h"

#include <QFile>
#include <QMetaObject>
#include <QPointer>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mosquitto.h>
#include <mutex>
#include <thread>
#include <vector>

using Clock = std::chrono::steady_clock;

struct MqttLink::Shared
{
    MqttLink::Config config;
    // Two locks that are never held together: `mutex` for the owner and the
    // stop wait (taken in libmosquitto's callbacks), `handleMutex` for the
    // handle (held around mosquitto_publish, never inside a callback).
    std::mutex mutex;
    std::condition_variable wake; // stop requested
    MqttLink* owner = nullptr;    // null once the link is gone
    // Where messages go: stays set until stop() has waited for the thread,
    // so what arrives while the connection closes (acknowledged already) is
    // not dropped.
    MqttLink* receiver = nullptr;
    std::mutex handleMutex;
    mosquitto* mosq = nullptr;          // the current connection attempt's handle
    std::atomic<bool> connected{false}; // CONNACK accepted on `mosq`
    std::atomic<bool> stopping{false};
    std::atomic<bool> finished{false};
    QString refusal; // the broker's reason for refusing, from the network thread

    // Runs `f` on the owner in its thread, if the owner is still there
    // (for a message: the receiver).
    template <typename F> void post(F f, bool message = false)
    {
        std::lock_guard lock(mutex);
        MqttLink* to = message ? receiver : owner;
        if (!to)
            return;
        QPointer<MqttLink> target(to);
        QMetaObject::invokeMethod(
            to,
            [target, f] {
                if (target)
                    f(target.data());
            },
            Qt::QueuedConnection);
    }

    // Sleeps `ms` unless stop() comes first; false when stopping.
    bool pause(int ms)
    {
        std::unique_lock lock(mutex);
        wake.wait_for(lock, std::chrono::milliseconds(ms), [this] { return stopping.load(); });
        return !stopping;
    }
};

namespace {

void initLibrary()
{
    static std::once_flag once;
    std::call_once(once, [] { mosquitto_lib_init(); });
}

QString errorText(int rc)
{
    if (rc == MOSQ_ERR_ERRNO)
        return QString::fromLocal8Bit(std::strerror(errno));
    return QString::fromUtf8(mosquitto_strerror(rc));
}

void onConnect(mosquitto* m, void* obj, int rc)
{
    auto* s = static_cast<MqttLink::Shared*>(obj);
    if (rc != 0) {
        s->refusal = QString::fromUtf8(mosquitto_connack_string(rc));
        return;
    }
    const MqttLink::Config& c = s->config;
    if (!c.statusTopic.isEmpty())
        mosquitto_publish(m, nullptr, c.statusTopic.constData(), int(c.onlinePayload.size()),
                          c.onlinePayload.constData(), 1, true);
    // Subscribed again on every connection: a broker that lost the session
    // (restarted without persistence) would otherwise send nothing.
    if (!c.subscriptions.isEmpty()) {
        std::vector<const char*> filters;
        for (const QByteArray& filter : c.subscriptions)
            filters.push_back(filter.constData());
        mosquitto_subscribe_multiple(m, nullptr, int(filters.size()),
                                     const_cast<char* const*>(filters.data()), 1, 0, nullptr);
    }
    s->connected = true;
    s->post([](MqttLink* l) { Q_EMIT l->connected(); });
}

void onPublish(mosquitto*, void* obj, int mid)
{
    static_cast<MqttLink::Shared*>(obj)->post([mid](MqttLink* l) { Q_EMIT l->delivered(mid); });
}

void onSubscribe(mosquitto*, void* obj, int, int, const int*)
{
    static_cast<MqttLink::Shared*>(obj)->post([](MqttLink* l) { Q_EMIT l->subscribed(); });
}

// Called on the network thread: the message is kept in the spool, copied
// and queued to the owner's thread, behind the ones before it.
void onMessage(mosquitto*, void* obj, const mosquitto_message* msg)
{
    auto* s = static_cast<MqttLink::Shared*>(obj);
    QByteArray topic(msg->topic);
    QByteArray payload(static_cast<const char*>(msg->payload), msg->payloadlen);
    std::shared_ptr<MessageSpool> spool = s->config.spool;
    const qint64 number = spool ? spool->append(topic, payload) : 0;
    const bool retained = msg->retain;
    s->post(
        [topic, payload, retained, spool, number](MqttLink* l) {
            Q_EMIT l->message(topic, payload, retained);
            if (spool)
                spool->handled(number);
        },
        true);
}

// A fresh handle for each attempt, so no message of an earlier session is
// sent again behind the station's back.
mosquitto* newHandle(MqttLink::Shared& s, QString* why)
{
    const MqttLink::Config& c = s.config;
    mosquitto* m = mosquitto_new(c.clientId.toUtf8().constData(), c.cleanSession, &s);
    if (!m) {
        *why = QStringLiteral("out of memory");
        return nullptr;
    }
    mosquitto_threaded_set(m, true);
    mosquitto_int_option(m, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V311);
    mosquitto_connect_callback_set(m, onConnect);
    mosquitto_publish_callback_set(m, onPublish);
    mosquitto_message_callback_set(m, onMessage);
    mosquitto_subscribe_callback_set(m, onSubscribe);
    int rc = MOSQ_ERR_SUCCESS;
    if (!c.statusTopic.isEmpty())
        rc = mosquitto_will_set(m, c.statusTopic.constData(), int(c.offlinePayload.size()),
                                c.offlinePayload.constData(), 1, true);
    if (rc == MOSQ_ERR_SUCCESS && !c.user.isEmpty())
        rc = mosquitto_username_pw_set(m, c.user.toUtf8().constData(),
                                       c.password.isEmpty() ? nullptr
                                                            : c.password.toUtf8().constData());
    if (rc == MOSQ_ERR_SUCCESS && !c.caFile.isEmpty())
        rc = mosquitto_tls_set(m, QFile::encodeName(c.caFile).constData(), nullptr, nullptr,
                               nullptr, nullptr);
    if (rc != MOSQ_ERR_SUCCESS) {
        *why = errorText(rc);
        mosquitto_destroy(m);
        return nullptr;
    }
    return m;
}

void setHandle(MqttLink::Shared& s, mosquitto* m)
{
    std::lock_guard lock(s.handleMutex);
    s.mosq = m;
    s.connected = false;
}

// One connection, from the attempt to its end; true when it was established.
bool runConnection(MqttLink::Shared& s, mosquitto* m, QString* why)
{
    const MqttLink::Config& c = s.config;
    s.refusal.clear();
    int rc = mosquitto_connect_async(m, c.host.toUtf8().constData(), c.port, c.keepaliveSeconds);
    if (rc != MOSQ_ERR_SUCCESS) {
        *why = rc == MOSQ_ERR_EAI ? QStringLiteral("unknown host name") : errorText(rc);
        return false;
    }
    const Clock::time_point begun = Clock::now();
    bool established = false;
    while (!s.stopping) {
        rc = mosquitto_loop(m, 100, 1);
        established = established || s.connected;
        if (rc != MOSQ_ERR_SUCCESS)
            break;
        if (!established && !s.refusal.isEmpty())
            break;
        if (!established && Clock::now() - begun > std::chrono::milliseconds(c.connectTimeoutMs)) {
            *why = QStringLiteral("no answer within %1 s").arg(c.connectTimeoutMs / 1000);
            return false;
        }
    }
    if (s.stopping && established) {
        // A clean end: the status says so before the connection closes.
        int mid = -1;
        if (!c.statusTopic.isEmpty())
            mosquitto_publish(m, &mid, c.statusTopic.constData(), int(c.offlinePayload.size()),
                              c.offlinePayload.constData(), 1, true);
        mosquitto_disconnect(m);
        for (int i = 0; i < 10 && mosquitto_loop(m, 50, 1) == MOSQ_ERR_SUCCESS; ++i) {
        }
    }
    if (why->isEmpty())
        *why = !s.refusal.isEmpty()          ? QStringLiteral("refused: ") + s.refusal
               : rc == MOSQ_ERR_CONN_REFUSED ? QStringLiteral("connection refused")
                                             : errorText(rc);
    return established;
}

void run(std::shared_ptr<MqttLink::Shared> s)
{
    int delayMs = 1000;
    while (!s->stopping) {
        QString why;
        mosquitto* m = newHandle(*s, &why);
        bool established = false;
        if (m) {
            setHandle(*s, m);
            established = runConnection(*s, m, &why);
            setHandle(*s, nullptr);
            mosquitto_destroy(m);
        }
        if (s->stopping)
            break;
        if (established) {
            delayMs = 1000;
            s->post([why](MqttLink* l) { Q_EMIT l->disconnected(why); });
        } else {
            s->post([why](MqttLink* l) { Q_EMIT l->connectFailed(why); });
        }
        if (!s->pause(delayMs))
            break;
        if (!established)
            delayMs = std::min(delayMs * 2, 10000);
    }
    s->finished = true;
}

} // namespace

MqttLink::MqttLink(QObject* parent) : QObject(parent) {}

MqttLink::~MqttLink()
{
    stop();
}

bool MqttLink::start(const Config& config, QString* why)
{
    stop();
    if (!config.caFile.isEmpty()) {
        QFile ca(config.caFile);
        if (!ca.open(QIODevice::ReadOnly)) {
            *why =
                QStringLiteral("CA file %1 can't be read: %2").arg(config.caFile, ca.errorString());
            return false;
        }
    }
    initLibrary();
    shared_ = std::make_shared<Shared>();
    shared_->config = config;
    shared_->owner = this;
    shared_->receiver = this;
    std::thread(run, shared_).detach();
    return true;
}

void MqttLink::stop(int waitMs)
{
    if (!shared_)
        return;
    {
        std::lock_guard lock(shared_->mutex);
        shared_->stopping = true;
        shared_->owner = nullptr;
    }
    shared_->wake.notify_all();
    const Clock::time_point until = Clock::now() + std::chrono::milliseconds(waitMs);
    while (!shared_->finished && Clock::now() < until)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    {
        std::lock_guard lock(shared_->mutex);
        shared_->receiver = nullptr;
    }
    shared_.reset(); // a thread still in a look-up keeps its share and ends later
}

bool MqttLink::running() const
{
    return shared_ != nullptr;
}

int MqttLink::publish(const QByteArray& topic, const QByteArray& payload, int qos, bool retain)
{
    if (!shared_)
        return -1;
    std::lock_guard lock(shared_->handleMutex);
    if (!shared_->mosq || !shared_->connected)
        return -1;
    int mid = -1;
    const int rc = mosquitto_publish(shared_->mosq, &mid, topic.constData(), int(payload.size()),
                                     payload.constData(), qos, retain);
    return rc == MOSQ_ERR_SUCCESS ? mid : -1;
}

MqttLink::Config MqttLink::configFor(const MqttSettings& settings, const QString& clientId)
{
    Config c;
    c.host = settings.host;
    c.port = settings.effectivePort();
    c.clientId = clientId;
    c.user = settings.user;
    c.password = settings.password;
    c.caFile = settings.caFile;
    return c;
}
