#include "net/PortAddress.h"

#include <QHostAddress>

QString PortAddress::scheme(Kind kind)
{
    switch (kind) {
    case Kind::RawTcp:
        return QStringLiteral("tcp");
    case Kind::Rfc2217:
        return QStringLiteral("rfc2217");
    case Kind::Local:
        break;
    }
    return {};
}

QString PortAddress::toString() const
{
    if (!isNetwork())
        return host;
    const QString h = host.contains(u':') ? u'[' + host + u']' : host;
    return QStringLiteral("%1://%2:%3").arg(scheme(kind), h).arg(port);
}

bool PortAddress::parse(const QString& name, PortAddress* out, QString* error, bool anyPort)
{
    const QString text = name.trimmed();
    const qsizetype sep = text.indexOf(QLatin1String("://"));
    if (sep < 0) {
        *out = {Kind::Local, text, 0};
        return true;
    }
    auto fail = [&](const QString& why) {
        if (error)
            *error = QStringLiteral("Bad port name \"%1\": %2").arg(name, why);
        return false;
    };
    const QString scheme = text.left(sep).toLower();
    PortAddress a;
    if (scheme == QLatin1String("tcp"))
        a.kind = Kind::RawTcp;
    else if (scheme == QLatin1String("rfc2217"))
        a.kind = Kind::Rfc2217;
    else
        return fail(QStringLiteral("unknown kind \"%1\" (tcp:// or rfc2217://)").arg(scheme));

    const QString rest = text.mid(sep + 3);
    QString portText;
    if (rest.startsWith(u'[')) {
        const qsizetype close = rest.indexOf(u']');
        if (close < 0)
            return fail(QStringLiteral("the IPv6 address has no closing ]"));
        a.host = rest.mid(1, close - 1);
        if (rest.mid(close + 1, 1) != QLatin1String(":"))
            return fail(QStringLiteral("no :PORT after the host"));
        portText = rest.mid(close + 2);
        if (QHostAddress(a.host).protocol() != QAbstractSocket::IPv6Protocol)
            return fail(QStringLiteral("\"%1\" is not an IPv6 address").arg(a.host));
    } else {
        const qsizetype colon = rest.lastIndexOf(u':');
        if (colon < 0)
            return fail(QStringLiteral("no :PORT after the host"));
        a.host = rest.left(colon);
        portText = rest.mid(colon + 1);
        if (a.host.contains(u':'))
            return fail(QStringLiteral("an IPv6 address goes in brackets: [%1]").arg(a.host));
        if (a.host.contains(u'/') || a.host.contains(u' '))
            return fail(QStringLiteral("\"%1\" is not a host name").arg(a.host));
    }
    if (a.host.isEmpty())
        return fail(QStringLiteral("no host"));
    bool ok = false;
    const int port = portText.toInt(&ok);
    if (portText.isEmpty())
        return fail(QStringLiteral("no port number"));
    if (!ok || portText.contains(u'+') || portText.contains(u' '))
        return fail(QStringLiteral("port \"%1\" is not a number").arg(portText));
    if ((port < 1 && !(anyPort && port == 0)) || port > 65535)
        return fail(QStringLiteral("port %1 is outside 1-65535").arg(port));
    a.port = quint16(port);
    *out = a;
    return true;
}
