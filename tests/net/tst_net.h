#pragma once

#include <QObject>

// Port names and the telnet framing, byte for byte.
class TelnetTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void portNames_data();
    void portNames();
    void decode_data();
    void decode();
    void encode();
};

// The station's port on the simulator served over TCP, both kinds.
class NetLinkTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void readingsOverTheNetwork_data();
    void readingsOverTheNetwork();
    void iacBytesBothWays();
    void oneClientAtATime();
    void silentServer();
};

// The same behind a real ser2net.
class Ser2netTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void settingsReachTheTty_data();
    void settingsReachTheTty();
    void recordingSurvivesARestart();
    void lineScanAndPoll();
    void headlessStart_data();
    void headlessStart();
};
