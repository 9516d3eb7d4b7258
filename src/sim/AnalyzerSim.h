#pragma once

#include "sim/LineSplitter.h"
#include "sim/PtyLine.h"
#include "sim/SimConfig.h"
#include "sim/SimUnit.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QTimer>
#include <vector>

// A gas analyzer at the far end of a pseudo-terminal: either one ZEP-C or
// ZEP-D that streams records after "XDAT?", or an RS-485 line of addressed
// analyzers that answer "#hh" frames. It answers the maintenance commands,
// paces its bytes at the line's baud rate and injects faults on request.
//
// The object works on the thread it lives on; the logs may be read from any
// thread.
class AnalyzerSim : public QObject
{
    Q_OBJECT
public:
    // What spoiled a record or data reply. Line noise (Garbled, OutOfStep)
    // hits any of them; the others are the faults of one analyzer on an
    // RS-485 line (LineFault) and name its data replies.
    enum class Fault
    {
        None,
        Garbled,
        OutOfStep,
        WrongCheck,
        WrongStart,
        ShortReply,
        Late // right as it is, but kLateMs late
    };
    Q_ENUM(Fault)
    // How long an analyzer with LineFault::Late holds back each answer.
    static constexpr int kLateMs = 700;

    // One record or data reply as it went out, complete, on the line.
    struct SentRecord
    {
        int address = -1; // -1 for the streaming analyzer
        int value = 0;    // CH4, tenths of ppm
        int second = 0;   // CO2 of a data reply, tenths of ppm
        Fault fault = Fault::None;
        QByteArray bytes;
    };

    // Streaming rates: up to kMaxRate readings a second. From kClockedRate on,
    // a 1 ms tick makes every reading whose time has come since streaming
    // began, so that rates above one reading a millisecond are met; one is
    // skipped while the line is still busy with earlier ones for longer than
    // kLineSlackNs and a reading's interval.
    static constexpr double kMaxRate = kMaxSimRate;
    static constexpr double kClockedRate = 500.0;
    static constexpr qint64 kLineSlackNs = 10'000'000;

    explicit AnalyzerSim(const SimConfig& config = {}, QObject* parent = nullptr);

    // Creates the pseudo-terminal and starts the timed faults of the config.
    bool start(QString* error = nullptr);
    // The device the station opens.
    QString ttyPath() const { return line_.ttyPath(); }
    const SimConfig& config() const { return config_; }
    bool isStreaming() const { return stream_.isActive(); }

    // The analyzer at `address` (-1 or any address for the streaming one);
    // nullptr when there is none.
    const SimUnit* unit(int address = -1) const;
    void setSerialNumber(int address, const QByteArray& serial);

    // Faults. The injected ones apply to the next record or data reply.
    void injectGarble();
    void injectOutOfStep(int bytes = 3);
    void injectBurst(int records = 3);
    void setBurstSize(int records);
    void setSilent(bool silent);
    bool isSilent() const { return silent_; }
    void setAnswerFault(AnswerFault fault) { answers_ = fault; }
    // Makes the analyzer at `address` misbehave from its next command on
    // (LineFault::None heals it); false when the line has no analyzer there or
    // is not an RS-485 line.
    bool setLineFault(int address, LineFault fault);
    // Closes the line for good, as if the device were unplugged.
    void pullDevice();
    bool isPulled() const { return pulled_; }

    // What the analyzer heard and sent.
    QList<QByteArray> commands() const;
    QList<SentRecord> records() const;
    int recordCount() const;
    void clearLogs();

Q_SIGNALS:
    // A network client set the line settings ("19200,e,8,1").
    void lineAsked(const QString& settings);
    void commandReceived(const QByteArray& command);
    void recordSent(int address, int value);
    void devicePulled();

private:
    SimUnit* unitAt(int address);
    void onReceived(const QByteArray& bytes);
    void handleLine(const QByteArray& line);
    void answer(SimUnit& u, const QByteArray& command);
    // An answer to a maintenance command, as the answer fault shapes it.
    void reply(const QByteArray& bytes);
    void startStreaming();
    void stopStreaming();
    void onStreamTick();
    int takeReading(SimUnit& u);
    SentRecord makeRecord(SimUnit& u);
    SentRecord makeDataReply(SimUnit& u);
    void applyFaults(SentRecord& r, int digitsAt);
    void deliver(const SentRecord& r, bool mayHold);
    void logSent(const SentRecord& r);

    SimConfig config_;
    PtyLine line_;
    LineSplitter splitter_;
    std::vector<SimUnit> units_;
    QTimer stream_;
    double rate_ = 1.0;         // readings a second while streaming
    bool clocked_ = false;      // readings made by streamClock_, several a tick
    QElapsedTimer streamClock_; // since streaming began
    QElapsedTimer life_;        // since the analyzer was made: its traces' time
    qint64 streamReadings_ = 0; // reading slots passed since then, made or skipped

    bool silent_ = false;
    AnswerFault answers_ = AnswerFault::None;
    bool pulled_ = false;
    int recordNo_ = 0; // records and data replies made so far
    bool garbleNext_ = false;
    int shiftNext_ = 0; // bytes of shift for the next record, 0 for none
    int burstOnce_ = 0; // records of a one-off burst still to collect
    int burstSize_ = 1;
    QByteArray heldBytes_; // records held back for a burst
    QList<SentRecord> held_;

    mutable QMutex logLock_;
    QList<QByteArray> commands_;
    QList<SentRecord> sent_;
};
