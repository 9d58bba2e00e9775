// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds where the meter of a piece changes, while its pulse goes on.
#pragma once

#include "score/bar_line_search.h"

#include <cstddef>
#include <vector>

namespace score {

// A part of a piece in one meter.
struct Section {
    std::size_t Note; // index of its first note
    int Begin; // written ticks, without phase, of its first bar line; pickup notes come before
    BarLines Lines;
};

struct FoundSections {
    std::vector<Section> Sections; // at least one; all have the same scale
    std::vector<Hold> Holds;       // those that are left out before bar lines are drawn
};

// The sections of a piece. found: its most likely bar lines if the meter does not change. They are
// returned if nothing speaks for a change, the meter or the pickup is given, or there are more than
// 1,000 notes. Where a change explains the piece better than holds do, there are none.
FoundSections FindSections(const std::vector<GridNote>& notes, double pulsesPerMinute,
                           const BarLineHints& hints, const FoundBarLines& found);

} // namespace score
