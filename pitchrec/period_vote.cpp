// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "pitchrec/period_vote.h"

#include <cstdlib>

namespace Sonorel {

namespace {

bool SamePeriod(std::int32_t a, std::int32_t b) {
    return std::abs(a - b) <= SegDiffLengthThreshold;
}

// The clusters in the order in which their first votes came. There is room for one per vote.
class ClusterTable {
public:
    // Adds a vote to the first cluster near the length, or opens a new cluster.
    void AddVote(std::int32_t length) {
        for (std::int32_t c = 0; c < Count; ++c) {
            PeriodCluster& cluster = Entries[static_cast<std::size_t>(c)];
            if (!SamePeriod(cluster.Mean, length)) continue;
            cluster.Mean = (cluster.Mean + length) / 2;
            cluster.Total += length;
            ++cluster.Votes;
            return;
        }
        Entries[static_cast<std::size_t>(Count++)] = {1, length, length};
    }

    // Merges clusters whose means have drifted together into the earlier one. The later one stays
    // in the table as zeros and is still compared with the others.
    void Merge() {
        for (std::int32_t p = 0; p < Count; ++p)
            for (std::int32_t q = p + 1; q < Count; ++q)
                MergePair(Entries[static_cast<std::size_t>(p)],
                          Entries[static_cast<std::size_t>(q)]);
    }

    // The cluster with the most votes wins. If two differ by at most 2 votes, the shorter period
    // wins, so that twice or three times the true period does not.
    PeriodCluster Best() const {
        if (Count == 0) return {};
        PeriodCluster best = Entries[0];
        for (std::int32_t c = 1; c < Count; ++c) {
            const PeriodCluster& cluster = Entries[static_cast<std::size_t>(c)];
            const bool close = std::abs(cluster.Votes - best.Votes) <= 2;
            if (close ? cluster.Mean < best.Mean : cluster.Votes > best.Votes) best = cluster;
        }
        return best;
    }

private:
    static void MergePair(PeriodCluster& earlier, PeriodCluster& later) {
        if (!SamePeriod(earlier.Mean, later.Mean)) return;
        earlier.Total += later.Total;
        earlier.Votes += later.Votes;
        later = {};
    }

    // Up to three votes for each cycle but the newest.
    static constexpr std::size_t Size = std::size_t{CycleTable::Size - 1} * 3;
    std::array<PeriodCluster, Size> Entries;
    std::int32_t Count = 0;
};

} // namespace

PeriodCluster VotePeriod(const CycleTable& cycles) {
    ClusterTable clusters;
    for (std::int32_t k = 1; k < cycles.Count; ++k) {
        std::int32_t sum = 0;
        for (std::int32_t j = 0; j <= 2 && k + j < cycles.Count; ++j) {
            sum += cycles.Entries[static_cast<std::size_t>(k + j)].Length;
            clusters.AddVote(sum);
        }
    }
    clusters.Merge();
    return clusters.Best();
}

} // namespace Sonorel
