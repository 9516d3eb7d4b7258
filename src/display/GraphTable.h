#pragma once

#include <QObject>
#include <QtGlobal>
#include <array>

class Station;

// What the rest of the station reaches on a trend-graph window: the reading
// path sets curValue and calls SetNewPointA, the alarm settings move the limit
// lines, and a window in synchro mode passes its scale changes on.
class TrendGraph
{
public:
    virtual ~TrendGraph() = default;

    // The reading (less the zero offset) that the next SetNewPointA stores.
    double curValue = 0;

    virtual bool SetNewPointA() = 0;
    virtual void SetLimit1Y(qint32 limit) = 0;
    virtual void SetLimit2Y(qint32 limit) = 0;
    virtual bool SetScalesX(int pointsPerScreen) = 0;
    virtual bool SetScalesY(double scaleValue) = 0;
    // Sets the window's "Synchro" box without passing the change on.
    virtual void setSynchro(bool on) = 0;
};

// The station's graph windows: the main graph, and 256 slots indexed by RS-485
// address (the added graph of the single-analyzer mode is slot 0). A slot is
// empty or holds one window. There is one table per Station: it lives as a
// child of the Station object, so it goes away with it.
class GraphTable : public QObject
{
    Q_OBJECT
public:
    static constexpr int kSlots = 256;

    // The table of `station`, created on first use.
    static GraphTable& of(Station& station);

    // Subtracted from every stored value before any graph window draws it. The
    // readings reach the graphs with the station's zero offset already taken
    // off, so this is a display shift of its own, 0 unless someone sets it.
    qint32 zeroOffset = 0;

    TrendGraph* mainGraph() const { return main_; }
    void setMainGraph(TrendGraph* g) { main_ = g; }

    // nullptr for an empty slot or an index outside 0..255.
    TrendGraph* at(int slot) const;
    // Puts `g` into `slot` (nullptr empties it); false for an index outside 0..255.
    bool set(int slot, TrendGraph* g);
    // Forgets `g` wherever it is held (a window calls this as it goes away).
    void remove(TrendGraph* g);
    bool contains(const TrendGraph* g) const;

    // Calls f(slot, window) for the filled slots in ascending order.
    template <typename F> void forEachSlot(F&& f) const
    {
        for (int i = 0; i < kSlots; ++i) {
            if (slots_[std::size_t(i)] != nullptr)
                f(i, slots_[std::size_t(i)]);
        }
    }

    // Calls f(window) once for every open graph window: the main graph first,
    // then the slots in ascending order. This is the walk of synchro mode.
    template <typename F> void forEachOpen(F&& f) const
    {
        if (main_ != nullptr)
            f(main_);
        forEachSlot([&](int slot, TrendGraph* g) {
            if (g != main_ && !heldBefore(g, slot))
                f(g);
        });
    }

private:
    explicit GraphTable(QObject* parent) : QObject(parent) {}
    // True when `g` also sits in a slot below `slot` (a window held twice is visited once).
    bool heldBefore(const TrendGraph* g, int slot) const;

    TrendGraph* main_ = nullptr;
    std::array<TrendGraph*, kSlots> slots_{};
};
