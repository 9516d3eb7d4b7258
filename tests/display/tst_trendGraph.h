#pragma once

#include <QObject>

// The trend graph window's drawing: where points land, the shift, lazy and
// incremental drawing.
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
    void hiddenWindowKeepsNoImage();
    void minimisedInMdiKeepsNoImage();
    void setNewPointA_data();
    void setNewPointA();
    void highDpiRender_data();
    void highDpiRender();
};
