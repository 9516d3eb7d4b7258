#pragma once

#include <QObject>

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
    void scaleX_data();
    void scaleX();
    void typedScaleXNotMultipleOf5();
    void synchro();
    void limitLines_data();
    void limitLines();
    void limitLinesFollowRescale();
    void cursor_data();
    void cursor();
};
