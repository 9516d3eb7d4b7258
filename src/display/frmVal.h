#pragma once

#include "display/ScreenRefresh.h"

#include <QPointF>
#include <QWidget>

class QLabel;

// The small floating window that shows the latest reading in ppm ("00.0").
// It floats above the main frame and follows the pointer while the left
// button is held on it. Its back colour is set with the classic colour
// numbers (blue-green-red order), so 32768 is green and 255 red.
class frmVal : public QWidget
{
    Q_OBJECT
public:
    static constexpr int Green = 0x8000;
    static constexpr int Red = 255;

    explicit frmVal(QWidget* parent = nullptr);

    QLabel* Label1() const { return label_; }
    // Shows the latest reading's text at the next screen refresh.
    void setValueText(const QString& text);
    int backColor() const { return backColor_; }
    void setBackColor(int colorNumber);

protected:
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;

private:
    void applyBackColor();
    void showValueText();
    bool press(QMouseEvent* e);
    bool drag(QMouseEvent* e);

    QLabel* label_;
    QString valueText_;
    // A new text re-measures the label and lays the window out again: once a
    // refresh, not once a reading.
    ScreenRefresh refresh_{this, [this] { showValueText(); }};
    QPointF pressPoint_;
    bool pressed_ = false;
    int backColor_ = Green;
};
