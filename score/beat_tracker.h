// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Follows a pulse through onsets whose tempo drifts, slows down in a ritardando and returns, and
// may change behind a long note; and divides each pulse in two, four or three.
#pragma once

#include "score/pulse.h"

#include <span>

namespace score {

// The most likely pulse of at least one onset. onsets: seconds, strictly ascending. Time and memory
// are proportional to their number.
PulseTrack TrackPulse(std::span<const double> onsets, const PulseOptions& options = {});

} // namespace score
