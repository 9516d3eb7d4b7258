#pragma once

#include <QObject>

class FramingTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void detect_data();
    void detect();
    void setAllComponents_data();
    void setAllComponents();
    void formatVal_data();
    void formatVal();
    void latestRecord_data();
    void latestRecord();
};

class ReplyTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void process_data();
    void process();
    void outOfStepFlushesInput();
    void dataFileSinkOnlyWhileRecording();
};

class RunControlTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void runStreamsAndStopSends();
    void stopOnClosedPortOpensIt();
    void timerModeIgnoresReceiveEvents();
    void timerTickAsksForOneRecord();
    void silentLineTimesOut_data();
    void silentLineTimesOut();
    void rs485WithoutDevices();
    void pulledDeviceKeepsRunning();
    void badSettingsAreAMessage();
};

class FormatDialogTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void layoutAndApply_data();
    void layoutAndApply();
    void cancelKeepsRecord();
};
