// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The input of a score: the notes of one voice, as a recogniser reports them.
#pragma once

#include <span>

namespace score {

struct HeardNote {
    double Onset; // seconds
    double End;   // seconds, above Onset
    int Key;      // MIDI note number, 0 to 127
};

// Notes in ascending order of Onset, without overlaps.
using Melody = std::span<const HeardNote>;

} // namespace score
