#pragma once

#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <memory>

class MDIFrm;
class QAction;

// An item of the main frame's menus, by its object name.
QAction* item(MDIFrm& f, const char* name);

// A fresh configuration folder for each test, so that no settings file
// carries over from one to the next.
class FreshConfigTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();

protected:
    std::unique_ptr<QTemporaryDir> dir_;
};

class MainFrameTest : public FreshConfigTest
{
    Q_OBJECT
private Q_SLOTS:
    void menus();
    void onTopToggle();
    void showValueShortcut();
    void loadPreSet();
    void writeToggle();
    void alarmReachesWindowsAndFiles();
    void typeChangeAndExitStop();
    void comPortChangeReopens();
    void keptOnScreen_data();
    void keptOnScreen();
    void valueWindowDefault_data();
    void valueWindowDefault();
    void placesDoNotDrift();
};

class CommandPanelTest : public FreshConfigTest
{
    Q_OBJECT
private Q_SLOTS:
    void panelFollowsTheLine();
    void zeroBox_data();
    void zeroBox();
    void zeroWhileStreaming();
    void silentZeroAnswer();
    void runButtonFollowsRunning();
    void messagesDoNotStopReadings();
    void writeQuestionDoesNotWait();
    void textToThePort_data();
    void textToThePort();
};

class OperatorShiftTest : public FreshConfigTest
{
    Q_OBJECT
private Q_SLOTS:
    void stopInTimerMode();
    void shift();
};

class ComDialogTest : public FreshConfigTest
{
    Q_OBJECT
private Q_SLOTS:
    void devicePort_data();
    void devicePort();
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

class ViewsTest : public FreshConfigTest
{
    Q_OBJECT
private Q_SLOTS:
    void toggles_data();
    void toggles();
    void readingsReachViews();
    void chartScales_data();
    void chartScales();
};
