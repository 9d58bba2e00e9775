// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Estimates the period of a waveform from the lengths of its cycles, by majority.
#pragma once

#include "pitchrec/cycle.h"

#include <array>
#include <cstdint>

namespace Sonorel {

// Two periods count as equal if they differ by at most this many samples.
constexpr std::int32_t SegDiffLengthThreshold = 5;

// A group of measured periods that count as equal.
struct PeriodCluster {
    std::int32_t Votes; // number of periods
    std::int32_t Mean;  // samples; each new period moves it half the way
    std::int32_t Total; // samples; sum of the periods
};

// Each length of one cycle, of two and of three consecutive cycles is one vote for that period.
// Returns the winning cluster, whose Total / Votes is the mean period in samples. The result is
// unreliable if its Votes are below 2, and all zeros without any vote. Thread: any. Real time: yes.
PeriodCluster VotePeriod(const CycleTable& cycles);

} // namespace Sonorel
