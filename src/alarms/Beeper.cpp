#include "alarms/Beeper.h"

#include <QApplication>
#include <QAudioFormat>
#include <QAudioSink>
#include <QBuffer>
#include <QMediaDevices>
#include <QTimer>
#include <QtMath>
#include <cstring>

namespace {
constexpr double kLevel = 0.4; // of full scale
constexpr int kFadeMs = 8;
constexpr int kPreferredRate = 22050;

// One sample of amplitude a (-1..1) in the format's sample type.
void putSample(char* at, QAudioFormat::SampleFormat type, double a)
{
    switch (type) {
    case QAudioFormat::UInt8: {
        const auto s = quint8(qRound(128 + a * 127));
        std::memcpy(at, &s, sizeof s);
        break;
    }
    case QAudioFormat::Int16: {
        const auto s = qint16(qRound(a * 32767));
        std::memcpy(at, &s, sizeof s);
        break;
    }
    case QAudioFormat::Int32: {
        const auto s = qint32(qRound64(a * 2147483647.0));
        std::memcpy(at, &s, sizeof s);
        break;
    }
    case QAudioFormat::Float: {
        const auto s = float(a);
        std::memcpy(at, &s, sizeof s);
        break;
    }
    default:
        break;
    }
}

// One tone of `ms` at `hz` in `format`'s sample type and channel count, with
// short fades so that it starts and ends without a click.
QByteArray tone(const QAudioFormat& format, int hz, int ms)
{
    const int rate = format.sampleRate();
    const int channels = format.channelCount();
    const int bytes = format.bytesPerSample();
    if (rate <= 0 || channels <= 0 || bytes <= 0)
        return {};
    const int frames = rate * ms / 1000;
    const int fade = qMax(1, rate * kFadeMs / 1000);
    QByteArray pcm(qsizetype(frames) * channels * bytes, '\0');
    char* at = pcm.data();
    for (int i = 0; i < frames; ++i) {
        const double envelope = qMin(1.0, double(qMin(i, frames - 1 - i)) / fade);
        const double a = kLevel * envelope * std::sin(2 * M_PI * hz * i / rate);
        for (int c = 0; c < channels; ++c, at += bytes)
            putSample(at, format.sampleFormat(), a);
    }
    return pcm;
}
} // namespace

Beeper::Beeper(QObject* parent) : QObject(parent) {}

Beeper::~Beeper()
{
    if (playing_)
        playing_->stop();
}

bool Beeper::playTone()
{
    if (playing_)
        return true; // the last tone is still sounding
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (device.isNull())
        return false;
    QAudioFormat format;
    format.setSampleRate(kPreferredRate);
    format.setChannelCount(1);
    format.setSampleFormat(QAudioFormat::Int16);
    if (!device.isFormatSupported(format))
        format = device.preferredFormat();
    if (format.bytesPerFrame() <= 0 || format.sampleRate() <= 0)
        return false;
    if (format != format_ || pcm_.isEmpty()) {
        format_ = format;
        pcm_ = tone(format, ToneHz, ToneMs);
    }
    auto* sink = new QAudioSink(device, format, this);
    auto* source = new QBuffer(sink);
    source->setData(pcm_);
    source->open(QIODevice::ReadOnly);
    // The stream reads the whole tone and then runs dry: that is its end.
    connect(sink, &QAudioSink::stateChanged, this, [this, sink](QAudio::State state) {
        if (state == QAudio::IdleState || state == QAudio::StoppedState)
            finished(sink);
    });
    sink->start(source);
    if (sink->error() != QAudio::NoError || sink->state() == QAudio::StoppedState) {
        delete sink;
        return false;
    }
    playing_ = sink;
    return true;
}

void Beeper::finished(QAudioSink* sink)
{
    if (sink != playing_)
        return;
    playing_ = nullptr;
    // What the stream has handed to the sound system still plays for a
    // moment: it is closed a little later so that the tone's end isn't cut.
    QTimer::singleShot(ToneMs + 200, sink, [sink] {
        sink->stop();
        sink->deleteLater();
    });
}

void Beeper::beep()
{
    lastWasTone_ = playTone();
    if (!lastWasTone_)
        QApplication::beep();
}
