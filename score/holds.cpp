// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/holds.h"

#include <algorithm>
#include <utility>

namespace score {

namespace {

constexpr double AnyHoldCost = 1;       // of holds in a piece
constexpr std::size_t FewestNotes = 24; // that show what is usual
constexpr double LongNote = 1.46;       // times the usual length

} // namespace

std::vector<std::size_t> FindLongNotes(std::span<const GridNote> notes) {
    std::vector<std::size_t> found;
    if (notes.size() < FewestNotes) return found;
    std::vector<int> lengths;
    for (std::size_t i = 1; i < notes.size(); ++i)
        lengths.push_back(notes[i].Tick - notes[i - 1].Tick);
    std::vector<int> sorted = lengths;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    for (std::size_t i = 1; i + 1 < lengths.size(); ++i)
        if (lengths[i] >= LongNote * *middle && lengths[i] >= lengths[i - 1] &&
            lengths[i] >= lengths[i + 1])
            found.push_back(i + 1);
    return found;
}

double CostOf(std::span<const Hold> holds) {
    return holds.empty() ? 0 : AnyHoldCost + HoldCost * static_cast<double>(holds.size());
}

std::vector<int> RemoveHolds(std::vector<int> ticks, std::span<const Hold> holds) {
    auto hold = holds.begin();
    int excess = 0;
    for (int& tick : ticks) {
        for (; hold != holds.end() && tick >= hold->Tick; ++hold) excess += hold->Excess;
        tick -= excess;
    }
    return ticks;
}

std::vector<GridNote> RemoveHolds(std::span<const GridNote> notes, std::span<const Hold> holds) {
    std::vector<int> ticks;
    ticks.reserve(notes.size());
    for (const GridNote& note : notes) ticks.push_back(note.Tick);
    ticks = RemoveHolds(std::move(ticks), holds);
    std::vector<GridNote> moved(notes.begin(), notes.end());
    for (std::size_t i = 0; i < moved.size(); ++i) moved[i].Tick = ticks[i];
    return moved;
}

} // namespace score
