// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/holds.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace score {

namespace {

constexpr double LongNote = 1.46;      // times the usual length
constexpr double ShortestShare = 0.38; // of a held note's length, that is written
constexpr double UsualShare = 0.55;
constexpr double LongestHold = 2.5; // bars: a longer pause is meant

} // namespace

std::vector<std::size_t> FindLongNotes(std::span<const GridNote> notes) {
    std::vector<std::size_t> found;
    if (notes.size() < 4) return found;
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

std::vector<Hold> FindHolds(std::span<const GridNote> notes, std::span<const std::size_t> after,
                            const BarLines& lines) {
    std::vector<Hold> holds;
    const int bar = lines.Meter.BarTicks();
    int excess = 0; // written ticks
    for (const std::size_t next : after) {
        const int end = Written(notes[next].Tick, lines);
        const int length = end - Written(notes[next - 1].Tick, lines);
        const int beyond = Modulo(end - Written(notes[0].Tick, lines) - excess, bar);
        if (beyond == 0 || length > LongestHold * bar) continue;
        const auto unusual = [&](int shift) {
            return std::fabs(std::log((length - shift) / (UsualShare * length)));
        };
        int best = 0;
        for (int shift = beyond; length - shift >= length * ShortestShare; shift += bar)
            if (best == 0 || unusual(shift) < unusual(best)) best = shift;
        if (best == 0 || best * lines.Denominator % lines.Numerator != 0) continue;
        excess += best;
        holds.push_back({notes[next].Tick, best * lines.Denominator / lines.Numerator});
    }
    return holds;
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
