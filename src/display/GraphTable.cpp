#include "display/GraphTable.h"

#include "station/Station.h"

#include <algorithm>

GraphTable& GraphTable::of(Station& station)
{
    auto* table = station.findChild<GraphTable*>(QString(), Qt::FindDirectChildrenOnly);
    if (table == nullptr)
        table = new GraphTable(&station);
    return *table;
}

TrendGraph* GraphTable::at(int slot) const
{
    if (slot < 0 || slot >= kSlots)
        return nullptr;
    return slots_[std::size_t(slot)];
}

bool GraphTable::set(int slot, TrendGraph* g)
{
    if (slot < 0 || slot >= kSlots)
        return false;
    slots_[std::size_t(slot)] = g;
    return true;
}

void GraphTable::remove(TrendGraph* g)
{
    if (g == nullptr)
        return;
    if (main_ == g)
        main_ = nullptr;
    std::replace(slots_.begin(), slots_.end(), g, static_cast<TrendGraph*>(nullptr));
}

bool GraphTable::contains(const TrendGraph* g) const
{
    return g != nullptr &&
           (main_ == g || std::find(slots_.begin(), slots_.end(), g) != slots_.end());
}

bool GraphTable::heldBefore(const TrendGraph* g, int slot) const
{
    return std::find(slots_.begin(), slots_.begin() + slot, g) != slots_.begin() + slot;
}
