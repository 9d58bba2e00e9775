// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds where the tempo of a piece changes suddenly.
#pragma once

#include "score/pulse.h"

#include <cstddef>
#include <vector>

namespace score {

// The onsets with which another tempo begins, ascending: those that divide a piece best into parts
// of one tempo each, behind long notes. A tempo that drifts, or eases and comes back, is the same.
// Time is proportional to the number of onsets, and to that of parts.
std::vector<std::size_t> FindTempoChanges(const PulseTrack& track);

} // namespace score
