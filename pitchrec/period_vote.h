// The vote of the cycle lengths for a period.
#pragma once

#include "pitchrec/cycle.h"

#include <array>
#include <cstdint>

namespace Sonorel {

// Two period values count as the same if they differ by at most this much, in samples.
constexpr std::int32_t SegDiffLengthThreshold = 5;

struct PeriodCluster {
    std::int32_t Votes;
    std::int32_t Mean;  // follows the last value by halves, in samples
    std::int32_t Total; // sum of all values that voted
};

// Lets every distance between neighbouring peaks, and every sum of two or three of them, vote.
// Gives the winner, whose Total divided by Votes is the mean period; Votes below 2 mean that there
// is no period to believe in.
PeriodCluster VotePeriod(const CycleTable& cycles);

} // namespace Sonorel
