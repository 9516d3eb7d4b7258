#pragma once

#include <QObject>

// Sample arrays, their shift, coordinate math and the graph-window table:
// everything of the display that runs without a screen.
class TestShowArr : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void shiftArray_data();
    void shiftArray();
    void addPointShiftsAtFullScreen();
    void badBoundKeepsContents();
    void setPointsPerScreen_data();
    void setPointsPerScreen();
    void log10_data();
    void log10();
    void oleDate_data();
    void oleDate();
    void mapping_data();
    void mapping();
    void yLabelText_data();
    void yLabelText();
    void thinnedTraceKeepsExtremes();
    void graphTableWalk();
};
