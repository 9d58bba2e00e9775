// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The input of a score: notes as a recogniser or a keyboard reports them.
#pragma once

#include <span>

namespace score {

struct HeardNote {
    double Onset;          // seconds
    double End;            // seconds, above Onset
    int Key;               // MIDI note number, 0 to 127
    double Confidence = 1; // of the recogniser, 0 to 1
};

// Notes in ascending order of Onset. Those of one voice do not overlap.
using Melody = std::span<const HeardNote>;

} // namespace score
