#pragma once

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>
#include <functional>

class Station;

// What the alarm check drives on the screen: the beeper, the value window's
// back colour and the comment window. The windowed station fills it with
// AlarmWindows; without one (headless, tests) nothing is shown and nothing
// beeps. The check alone sets the colour, so it keeps it.
class AlarmView
{
public:
    virtual ~AlarmView() = default;
    virtual void beep() = 0;
    virtual void setValueColor(int colorNumber) = 0;
    virtual void showComment() = 0;
    virtual void setMessage(const QString& text) = 0; // frmComment's message label
};

// The two alarm thresholds, checked on every accepted reading (it installs
// itself as the station's alarm sink, the last in the reading's path):
//  1. value >= Limit1: beep if tmrSound is idle, tmrSound at 700 ms, and once
//     (until frmComment clears the flag) the comment window with the dated
//     "1-й порог превышен" line;
//  2. value >= Limit2: beep if tmrSound is idle, tmrSound at 250 ms, once the
//     dated "2-й порог превышен" line appended, the comment window if not shown;
//  3. value < Limit1: value window green, tmrSound stopped.
// Each tmrSound tick beeps and swaps the value window between green and red.
//
// Wiring: one per Station, destroyed before the Station.
//   AlarmCheck alarms(st);
//   windowed:  AlarmWindows screen(alarms, valueWindow, commentWindow);
//   headless:  connect(&alarms, &AlarmCheck::lineWritten, ...,
//                      [&](const QString& l) { notifier.message(l); });
class AlarmCheck : public QObject
{
    Q_OBJECT
public:
    static constexpr int FirstMs = 700;
    static constexpr int SecondMs = 250;
    static constexpr int Green = 0x8000; // colour numbers, red in the low byte
    static constexpr int Red = 255;

    explicit AlarmCheck(Station& st, QObject* parent = nullptr);
    ~AlarmCheck() override;

    // Dates the alarm lines; tests replace it.
    std::function<QDateTime()> clock = [] { return QDateTime::currentDateTime(); };

    // Without an operator to press OK (headless), a reading below Limit1
    // clears both flags, so that the next excursion is reported again.
    bool acknowledgeWhenQuiet = false;

    void setView(AlarmView* view);
    AlarmView* view() const { return view_; }

    // The alarm sound and blink timer; its interval tells the level.
    QTimer tmrSound;

    // The three tests for one reading (raw units, zero offset taken off).
    // Each analyzer of the RS-485 line (address 0..255) keeps flags of its
    // own, its lines name it ("1-й порог превышен Addr=005"), and the sound
    // and blink follow the highest level among them; -1 is the single analyzer.
    void check(double v, int address = -1);
    void tmrSound_Timer();

    // frmComment's OK: both flags cleared.
    void acknowledge();
    // frmComment unloaded: the alarm-window flag cleared.
    void commentUnloaded();

    bool alarmWindowShown() const { return channels_.value(-1).windowShown; }
    bool secondLogged() const { return channels_.value(-1).secondLogged; }
    // The comment window's message as the check wrote it.
    QString message() const { return message_; }
    int valueColor() const { return color_; } // frmVal's back colour number

    static QString line(const QDateTime& t, const QString& text);

Q_SIGNALS:
    // A dated alarm line was written into the message.
    void lineWritten(const QString& line);

private:
    void showComment();
    void setMessage(const QString& text);
    void setValueColor(int colorNumber);

    struct Channel
    {
        bool windowShown = false;
        bool secondLogged = false;
        int level = 0; // 0 quiet, 1 above Limit1, 2 above Limit2
    };

    Station& st_;
    AlarmView* view_ = nullptr;
    QHash<int, Channel> channels_;
    QString message_;
    int color_ = Green;
};
