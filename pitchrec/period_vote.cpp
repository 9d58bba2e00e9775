#include "pitchrec/period_vote.h"

#include <cstdlib>

namespace Sonorel {

namespace {

bool SamePeriod(std::int32_t a, std::int32_t b) {
    return std::abs(a - b) <= SegDiffLengthThreshold;
}

// In the order of opening. There is room for every candidate.
class ClusterTable {
public:
    void Vote(std::int32_t length) {
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

    // Adds later clusters to earlier ones that they have drifted to. What was added stays in the
    // table as zeros, and takes part in everything like any other entry.
    void Merge() {
        for (std::int32_t p = 0; p < Count; ++p)
            for (std::int32_t q = p + 1; q < Count; ++q)
                Absorb(Entries[static_cast<std::size_t>(p)], Entries[static_cast<std::size_t>(q)]);
    }

    // Most votes wins; between clusters close in votes the shorter period, which keeps two or three
    // times the period from winning.
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
    static void Absorb(PeriodCluster& into, PeriodCluster& from) {
        if (!SamePeriod(into.Mean, from.Mean)) return;
        into.Total += from.Total;
        into.Votes += from.Votes;
        from = {};
    }

    // One, two and three lengths from each of all cycles but the newest.
    static constexpr std::size_t Size = (CycleTable::Size - 1) * 3;
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
            clusters.Vote(sum);
        }
    }
    clusters.Merge();
    return clusters.Best();
}

} // namespace Sonorel
