#pragma once

#include <QAudioFormat>
#include <QByteArray>
#include <QObject>

class QAudioSink;

// The alarm's beep: a short tone generated in memory and played on the
// default sound output (the platform beep is often silent on Linux
// desktops). Without a sound output, or when playing fails, it falls back to
// QApplication::beep(). Playing is asynchronous: beep() returns at once.
// Each tone is a short stream of its own that reads the tone from memory and
// is closed once it has been played out.
class Beeper : public QObject
{
    Q_OBJECT
public:
    static constexpr int ToneHz = 880;
    static constexpr int ToneMs = 120;

    explicit Beeper(QObject* parent = nullptr);
    ~Beeper() override;

    void beep();
    // True when the last beep went to the sound output, false when it was the
    // platform beep.
    bool lastWasTone() const { return lastWasTone_; }

private:
    bool playTone();
    void finished(QAudioSink* sink);

    QAudioSink* playing_ = nullptr; // the tone now sounding, if any
    QAudioFormat format_;
    QByteArray pcm_; // the tone in format_
    bool lastWasTone_ = false;
};
