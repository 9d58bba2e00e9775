// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The meters that a melody can be written in, and the probability of a note at each position of
// their bars.
#pragma once

#include <span>

namespace score {

// Notes are written on a grid whose unit is this part of a quarter note: a sixteenth. Onsets,
// lengths and positions in a bar are whole numbers of grid units.
constexpr int GridUnitsPerQuarter = 4;

struct Meter {
    int Beats;         // upper number of the time signature: 6 in 6/8
    int BeatType;      // lower number: 8 in 6/8
    int BarLength;     // grid units
    int BeatLength;    // grid units of the beat that is felt: a dotted quarter in 6/8
    double UsualTempo; // quarter notes per minute, the most likely value
    double PriorCost;  // negative logarithm of how likely the meter is, 0 for the most common one
    // Probability that a note begins, for each grid unit of the bar.
    std::span<const double> OnsetProbability;
};

std::span<const Meter> Meters();

} // namespace score
