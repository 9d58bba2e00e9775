// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A pulse and how it was found.
#pragma once

#include "score/meter.h"

#include <cstddef>
#include <vector>

namespace score {

constexpr int TicksPerPulse = TicksPerQuarter; // a pulse may turn out to be a quarter

// Onsets on the grid of a pulse. Whether the pulse is a quarter, an eighth or a dotted quarter is
// not known here.
struct PulseTrack {
    std::vector<int> Ticks;           // ticks from a pulse; the first one lies below TicksPerPulse
    std::vector<double> PulseSeconds; // duration of a pulse at each onset
    std::vector<bool> InThree;        // whether the pulse of each onset has three parts
    std::vector<std::size_t> TempoChanges; // onsets where another tempo begins, ascending
    double Stretch = 0;                    // of single notes, as a share of their length
    double OffBeat = 0.5;                  // time of a second half, as a share of its pulse
    double Cost = 0;                       // negative logarithm of its likelihood
};

struct PulseOptions {
    double MinPulsesPerMinute = 48;
    double MaxPulsesPerMinute = 190;
    bool Binary = true;     // pulses in two or four parts
    bool Ternary = true;    // pulses in three parts
    bool Fine = true;       // fourths and sixths of a pulse
    bool TempoJumps = true; // sudden changes of tempo
};

} // namespace score
