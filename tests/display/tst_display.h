#pragma once

#include <QObject>

// The sample arrays, their shift and the graph-window table: the display's
// parts that run without a screen.
class TestShowArr : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void shiftArray_data();
    void shiftArray();
    void badBoundKeepsContents();
    void setPointsPerScreen_data();
    void setPointsPerScreen();
    void log10_data();
    void log10();
    void oleDate();
    void graphTableWalk();
};

// The trend graph window's drawing: where points land, the shift, lazy and
// incremental drawing, pixel ratio.
class TestTrendGraph : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void loadsWithSettingsIndices();
    void pointLandsOnMapping_data();
    void pointLandsOnMapping();
    void gridIsFiveByFive();
    void shiftContinuesAtFourFifths();
    void incrementalMatchesFullRedraw();
    void hiddenOrMinimisedKeepsNoImage();
    void setNewPointA();
    void highDpiRender_data();
    void highDpiRender();
};

// The graph's scale boxes, "Log Y", "Synchro", limit lines and cursor read-out,
// driven through the window's controls.
class TestGraphScales : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void scaleYList_data();
    void scaleYList();
    void typedScaleY_data();
    void typedScaleY();
    void logAxis();
    void typedScaleX();
    void synchro();
    void limitLines_data();
    void limitLines();
    void limitLinesFollowRescale();
    void cursor_data();
    void cursor();
};
