// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds where the meter of a piece changes, while its pulse goes on.
#pragma once

#include "score/bar_lines.h"

#include <span>
#include <vector>

namespace score {

// A part of a piece in one meter.
struct Section {
    int Begin; // written ticks, without phase, of its first bar line; pickup notes come before
    BarLines Lines;
};

// The sections of a piece, at least one. whole: the most likely bar lines if the meter does not
// change, which are returned if nothing speaks for a change, the meter or the pickup is given, or
// there are more than 1,000 notes. All sections have the same scale.
std::vector<Section> FindSections(std::span<const GridNote> notes, double pulsesPerMinute,
                                  const BarLineHints& hints, const BarLines& whole);

} // namespace score
