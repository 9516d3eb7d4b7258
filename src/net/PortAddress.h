#pragma once

#include <QString>

// Where a port name points: a local device, or a serial device server on the
// network ("tcp://HOST:PORT" carries the line's bytes as they are,
// "rfc2217://HOST:PORT" speaks telnet with the COM port option). HOST is a
// name, an IPv4 address or a bracketed IPv6 address.
struct PortAddress
{
    enum class Kind
    {
        Local,
        RawTcp,
        Rfc2217
    };

    Kind kind = Kind::Local;
    QString host; // without the brackets of an IPv6 address
    quint16 port = 0;

    bool isNetwork() const { return kind != Kind::Local; }
    // The name as the settings file writes it.
    QString toString() const;

    // Reads a port name. Anything without "scheme://" is a local device. A
    // network name that can't be used gives false, with a sentence naming
    // the value in *error. `anyPort` lets port 0 through, for a listener
    // that takes whatever port is free.
    static bool parse(const QString& name, PortAddress* out, QString* error = nullptr,
                      bool anyPort = false);
    static QString scheme(Kind kind);
};
