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
