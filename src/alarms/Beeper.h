#pragma once

#include <QAudioDevice>
#include <QByteArray>
#include <QObject>

class QAudioSink;

// The alarm's beep: a short tone generated in memory and played on the
// default sound output (the platform beep is often silent on Linux
// desktops). Without a sound output, or when playing fails, it falls back to
// QApplication::beep(). Playing is asynchronous: beep() returns at once.
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
    bool prepare();
    void release();

    QAudioDevice device_;
    QAudioSink* sink_ = nullptr;
    QIODevice* out_ = nullptr; // the sink's input while it runs
    QByteArray pcm_;
    bool lastWasTone_ = false;
};
