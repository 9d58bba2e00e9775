// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The beam search behind the tracking of a pulse.
#pragma once

#include "score/pulse_manner.h"

#include <span>

namespace score {

// The most likely pulse of at least one onset for a player of this manner, without Stretch, OffBeat
// and TempoChanges. onsets: seconds, strictly ascending. Time and memory are proportional to their
// number.
PulseTrack SearchPulse(std::span<const double> onsets, const PulseOptions& options,
                       const PulseManner& manner);

} // namespace score
