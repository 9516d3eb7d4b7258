// What arrives from the broker: any topic and payload is either rejected
// with a reason or read as a station's message, and a reading read from it
// becomes exactly one record line of the station's data files.
#include "FuzzCommon.h"
#include "fleet/CollectedRecord.h"
#include "mqtt/MqttIncoming.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzzApplication();
    FuzzInput in(data, size);
    const QByteArray topic = in.take(in.byte());
    const QByteArray payload = in.rest();
    const MqttIncoming::Message m = MqttIncoming::parse(QStringLiteral("velmora"), topic, payload);
    if (m.kind == MqttIncoming::Kind::Rejected) {
        if (m.why.isEmpty())
            std::abort(); // a rejection always says why
        return 0;
    }
    if (m.kind != MqttIncoming::Kind::Reading)
        return 0;
    const MqttMessages::Reading& r = m.reading;
    if (r.alarmLevel != 0 && r.alarmLevel != 1 && r.alarmLevel != 3)
        std::abort();
    const QByteArray line = CollectedRecord::bytes(r);
    const qsizetype tabs = line.count('\t');
    if (!line.endsWith("\r\n") || line.count('\n') != 1 || tabs != (r.address < 0 ? 4 : 5))
        std::abort();
    return 0;
}
