// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/holds.h"

#include <algorithm>

namespace score {

namespace {

constexpr double AnyHoldCost = 1;       // of holds in a piece
constexpr std::size_t FewestNotes = 24; // that show what is usual
constexpr double LongNote = 1.46;       // times the usual length

} // namespace

std::vector<std::size_t> FindLongNotes(std::span<const int> ticks) {
    std::vector<std::size_t> found;
    if (ticks.size() < FewestNotes) return found;
    std::vector<int> lengths;
    for (std::size_t i = 1; i < ticks.size(); ++i) lengths.push_back(ticks[i] - ticks[i - 1]);
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

} // namespace score
