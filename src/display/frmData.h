#pragma once

#include <QWidget>

class QLabel;

// The digital view: the latest reading in large figures, readable from across
// a room. The figures grow and shrink with the window.
class frmData : public QWidget
{
    Q_OBJECT
public:
    explicit frmData(QWidget* parent = nullptr);

    // Shows a reading (ppm x10, zero offset already subtracted).
    void showValue(double raw);
    QString valueText() const;

protected:
    void resizeEvent(QResizeEvent* e) override;

private:
    void fitFont();

    QLabel* lblValue_;
    QLabel* lblUnit_;
};
