#pragma once

#include <QTimer>
#include <QWidget>

class MyPict;
class SampleArrays;

// The wall-clock times under a trend graph's picture: a few labelled ticks
// (14:05:10, or 14:05 for longer steps) placed by the points' own times,
// interpolated between the points held and carried on at their average pace
// over the part of the screen still empty. Nothing shows until two points
// with different times are held. The strip follows the points twice a
// second while it is shown, whatever the reading rate.
class TimeLabels : public QWidget
{
    Q_OBJECT
public:
    TimeLabels(const SampleArrays& arrays, const MyPict& pict, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    struct Label
    {
        double x = 0; // pixels from the picture's left edge
        QString text;
    };
    // The labels for the points held now.
    QList<Label> labels() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const SampleArrays& arrays_;
    const MyPict& pict_;
    QTimer follow_;
};
