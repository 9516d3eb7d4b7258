// The line-settings parser ("9600,n,8,1") on any text: what it accepts it
// gives back in a form it accepts again unchanged.
#include "FuzzCommon.h"
#include "station/CommPort.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    fuzzApplication();
    static CommPort port;
    const QString text =
        QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    QString why;
    const QString before = port.Settings();
    if (!port.setSettings(text, &why)) {
        if (why.isEmpty() || port.Settings() != before)
            std::abort(); // refused: a reason, and the settings in force stay
        return 0;
    }
    const QString taken = port.Settings();
    if (!port.setSettings(taken, &why) || port.Settings() != taken)
        std::abort();
    return 0;
}
