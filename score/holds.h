// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Fermatas and breaths: notes that lasted longer than they are written, which moves all bar lines
// behind them.
#pragma once

#include "score/bar_features.h"

#include <cstddef>
#include <span>
#include <vector>

namespace score {

struct Hold {
    int Tick;   // of the pulse, where the next note begins
    int Excess; // ticks of the pulse by which it and all behind it come too late
};

// The indices of notes that follow one which is longer than usual, and as long as those around it.
std::vector<std::size_t> FindLongNotes(std::span<const GridNote> notes);

constexpr double HoldCost = 0.4; // of each one, as a negative logarithm of a probability
double CostOf(std::span<const Hold> holds);

// Ticks of the pulse without the excess of holds. Both are in ascending order.
std::vector<int> RemoveHolds(std::vector<int> ticks, std::span<const Hold> holds);
// The same for notes.
std::vector<GridNote> RemoveHolds(std::span<const GridNote> notes, std::span<const Hold> holds);

} // namespace score
