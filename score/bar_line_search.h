// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Chooses meter, note values, bar lines and held notes for onsets on the grid of a pulse.
#pragma once

#include "score/bar_lines.h"
#include "score/holds.h"

#include <vector>

namespace score {

struct FoundBarLines {
    BarLines Lines;
    std::vector<Hold> Holds; // ascending
    BarLines WithoutHolds;   // the most likely ones if there are none
};

// The most likely bar lines of at least one note of a melody, and the onsets before which excess
// length is to be left out for them. Time is proportional to the number of notes.
FoundBarLines FindBarLines(const std::vector<GridNote>& notes, double pulsesPerMinute,
                           const BarLineHints& hints = {});

} // namespace score
