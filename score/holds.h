// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Fermatas and breaths: notes that lasted longer than they are written, which moves all bar lines
// behind them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace score {

struct Hold {
    int Tick;   // of the pulse, where the next note begins
    int Excess; // ticks of the pulse by which it and all behind it come too late
};

// The indices of onsets that follow one which is longer than usual, and as long as those around it.
// ticks: of all onsets, ascending.
std::vector<std::size_t> FindLongNotes(std::span<const int> ticks);

constexpr double HoldCost = 0.4; // of each one, as a negative logarithm of a probability
double CostOf(std::span<const Hold> holds);

inline int& TickOf(int& tick) { return tick; }
template <class Item>
int& TickOf(Item& item) {
    return item.Tick;
}

template <class Item>
std::vector<int> TicksOf(const std::vector<Item>& items) {
    std::vector<int> ticks;
    for (const Item& item : items) ticks.push_back(item.Tick);
    return ticks;
}

// Those of items in ascending order of Tick that are at first or later, and before end.
template <class Item>
std::vector<Item> ItemsBetween(const std::vector<Item>& items, int first, int end) {
    const auto before = [](const Item& item, int tick) { return item.Tick < tick; };
    const auto begin = std::lower_bound(items.begin(), items.end(), first, before);
    return {begin, std::lower_bound(begin, items.end(), end, before)};
}

// Ticks, or items with a Tick, without the excess of holds. Both are in ascending order.
template <class Item>
std::vector<Item> RemoveHolds(std::vector<Item> items, std::span<const Hold> holds) {
    auto hold = holds.begin();
    int excess = 0;
    for (Item& item : items) {
        for (; hold != holds.end() && TickOf(item) >= hold->Tick; ++hold) excess += hold->Excess;
        TickOf(item) -= excess;
    }
    return items;
}

} // namespace score
