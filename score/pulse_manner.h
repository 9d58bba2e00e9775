// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// How the pulses of a piece are divided, and how its player plays them. Costs are negative
// logarithms of probabilities.
#pragma once

#include "score/pulse.h"

#include <array>

namespace score {

// One way of dividing a pulse.
struct PulseDivision {
    std::array<double, TicksPerPulse> OnsetProbability{}; // of an onset at each tick
    std::array<double, TicksPerPulse> OnsetCost{};        // infinite where no note may begin
    std::array<double, TicksPerPulse + 1> SilenceCost{};  // of no onset at all ticks before this
    void UpdateCosts();                                   // from OnsetProbability
};

struct PulseManner {
    PulseDivision Divisions[2]; // in two, in three
    double DivisionChange = 0;  // cost of going from one to the other
    double OffBeat = 0.5;       // time of a second half, as a share of its pulse: more in swing
    double LocalStretch = 0.05; // standard deviation of one note's length, as a share of it
};

PulseManner UsualManner(const PulseOptions& options);

// Adapts how pulses are divided to what was found in a piece.
void Learn(PulseManner& manner, const PulseTrack& track);

} // namespace score
