#pragma once

#include "display/ScreenRefresh.h"

#include <QWidget>

class QLabel;

// The digital view: the latest reading in large figures, readable from across
// a room. The figures grow and shrink with the window.
class frmData : public QWidget
{
    Q_OBJECT
public:
    explicit frmData(QWidget* parent = nullptr);

    // Shows a reading (ppm x10, zero offset already subtracted) at the next
    // screen refresh.
    void showValue(double raw);
    // The figures on screen.
    QString valueText() const;

protected:
    void resizeEvent(QResizeEvent* e) override;

private:
    void fitFont();
    void showLatest();

    QLabel* lblValue_;
    QLabel* lblUnit_;
    double raw_ = 0;
    ScreenRefresh refresh_{this, [this] { showLatest(); }};
};
