// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The meters, note values and bar lines that are considered for onsets on the grid of a pulse, and
// how likely each is.
#pragma once

#include "score/bar_features.h"

#include <optional>
#include <span>
#include <vector>

namespace score {

// How heavy the notes are that begin together: deep ones, and chords.
struct Stress {
    int Tick; // of the pulse
    double Weight;
    double HarmonyChange; // from the notes before, 0 to 1
};

struct BarLineHints {
    std::optional<TimeSignature> Meter;
    double QuartersPerMinute = 0;   // 0: any
    std::optional<int> PickupTicks; // before the first bar line
    std::vector<Stress> Stresses;   // of an accompaniment; empty for a single line
};

// All bar lines that are considered for a pulse. Those of one meter and scale are neighbours.
std::vector<BarLines> ListBarLines(const BarLineHints& hints, double pulsesPerMinute);

// How likely bar lines are for notes of a piece: higher is more likely. stresses: those of the
// notes.
double ScoreOf(const MeasuredPiece& piece, const BarLines& lines, double pulsesPerMinute,
               const BarLineHints& hints, std::span<const Stress> stresses);

} // namespace score
