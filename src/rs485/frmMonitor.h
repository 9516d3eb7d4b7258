#pragma once

#include <QTimer>
#include <QWidget>

class QPlainTextEdit;
class QPushButton;
class Station;

// The line monitor: every frame sent on the RS-485 line and every reply read
// back, with its time to the millisecond, control bytes readable. It shows
// what the station's monitor holds (the newest frames) and follows new ones.
class frmMonitor : public QWidget
{
    Q_OBJECT
public:
    explicit frmMonitor(Station& st, QWidget* parent = nullptr);

    QPlainTextEdit* text() const { return text_; }

private:
    void refresh();

    Station& st_;
    QPlainTextEdit* text_ = nullptr;
    QTimer refresh_;
    qsizetype shown_ = 0;    // frames of the monitor already in the text
    qint64 droppedSeen_ = 0; // the monitor's drop count when the text was filled
};
