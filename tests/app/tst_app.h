#pragma once

#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <memory>

class MainFrameTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void menus();
    void onTopToggle();
    void showValueShortcut();
    void loadPreSet();
    void writeToggle();
    void alarmReachesWindowsAndFiles();
    void commandPanel();
    void typeChangeStops();
    void closeBoxRunsExit();
    void comPortChangeReopens();

private:
    std::unique_ptr<QTemporaryDir> dir_;
};

class CommandPanelTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void panelFollowsTheLine();
    void zeroKeysWithoutData();
    void zeroEntry_data();
    void zeroEntry();
    void zeroWhileStreaming();
    void runButtonFollowsRunning();
    void preSetRecordsGraphPlaces();
    void messagesDoNotStopReadings();
    void writeQuestionDoesNotWait();

private:
    std::unique_ptr<QTemporaryDir> dir_;
};

class HeadlessTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void printsReadingsAndStopsOnSigterm();
    void unusablePortIsAnErrorExit();
    void unplugAndReplug();
    void lineRecordsAndSummarises_data();
    void lineRecordsAndSummarises();
};

class ViewsTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void toggles_data();
    void toggles();
    void readingsReachViews();
    void chartScales_data();
    void chartScales();

private:
    std::unique_ptr<QTemporaryDir> dir_;
};
