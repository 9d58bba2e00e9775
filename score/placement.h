// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Places notes on beats that are known, for instance those of the click that they were played to.
#pragma once

#include "score/rhythm.h"

#include <vector>

namespace score {

struct KnownBeats {
    std::vector<double> Quarters;    // position of each note in quarter notes from the first bar
    std::vector<MeterChange> Meters; // the first one of bar 0
    std::vector<TempoChange> Tempos; // the first one of bar 0
};

// Bars before that of the first note are left out. notes: ascending, one for each position.
Rhythm PlaceOnBeats(Melody notes, const KnownBeats& beats,
                    RhythmHints::Grid shortest = RhythmHints::Grid::Any);

} // namespace score
