#include "alarms/Beeper.h"

#include <QApplication>
#include <QAudioFormat>
#include <QAudioSink>
#include <QMediaDevices>
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
    release();
}

bool Beeper::prepare()
{
    const QAudioDevice device = QMediaDevices::defaultAudioOutput();
    if (device.isNull())
        return false;
    if (sink_ && device == device_)
        return true;
    release();
    QAudioFormat format;
    format.setSampleRate(kPreferredRate);
    format.setChannelCount(1);
    format.setSampleFormat(QAudioFormat::Int16);
    if (!device.isFormatSupported(format))
        format = device.preferredFormat();
    if (format.bytesPerFrame() <= 0 || format.sampleRate() <= 0)
        return false;
    // One stream kept open and fed a tone per beep; it idles silently in
    // between. The sound system starts playing a stream once its buffer is
    // full, so each tone is exactly one buffer: cut to the buffer granted, or
    // padded with silence, it sounds as soon as it is written.
    sink_ = new QAudioSink(device, format, this);
    sink_->setBufferSize(qsizetype(format.bytesForDuration(ToneMs * 1000)));
    out_ = sink_->start();
    device_ = device;
    const qsizetype granted = sink_->bufferSize();
    if (!out_ || sink_->error() != QAudio::NoError || granted <= 0) {
        release();
        return false;
    }
    const int ms = qMin(ToneMs, int(format.durationForBytes(qint32(granted)) / 1000));
    pcm_ = tone(format, ToneHz, ms);
    pcm_.append(qMax<qsizetype>(0, granted - pcm_.size()),
                format.sampleFormat() == QAudioFormat::UInt8 ? '\x80' : '\0');
    return true;
}

void Beeper::release()
{
    if (sink_) {
        sink_->stop();
        delete sink_;
    }
    sink_ = nullptr;
    out_ = nullptr;
    device_ = QAudioDevice();
}

bool Beeper::playTone()
{
    if (!prepare())
        return false;
    if (sink_->bytesFree() >= pcm_.size())
        out_->write(pcm_); // otherwise the last tone is still sounding
    const QAudio::Error e = sink_->error();
    if (e == QAudio::NoError || e == QAudio::UnderrunError)
        return true;
    // The output failed; try afresh next time, the platform beep for now.
    release();
    return false;
}

void Beeper::beep()
{
    lastWasTone_ = playTone();
    if (!lastWasTone_)
        QApplication::beep();
}
