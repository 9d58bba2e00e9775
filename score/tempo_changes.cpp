// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "score/tempo_changes.h"

#include <cmath>

namespace score {

namespace {

constexpr std::size_t ShortestPart = 12; // onsets
constexpr double SameTempo = 0.2;        // as a logarithm

class TempoFinder {
public:
    explicit TempoFinder(const PulseTrack& track) : Track(track), Sums(1, 0.0) {
        for (const double seconds : track.PulseSeconds)
            Sums.push_back(Sums.back() + std::log(seconds));
    }
    void Divide(std::size_t begin, std::size_t end) {
        std::size_t best = 0;
        double most = 0;
        for (std::size_t at = begin + ShortestPart; at + ShortestPart <= end; ++at) {
            if (Track.Ticks[at] - Track.Ticks[at - 1] < TicksPerPulse) continue;
            const double change = Mean(begin, at) - Mean(at, end);
            const double share = static_cast<double>((at - begin) * (end - at));
            if (IsSudden(at) && std::fabs(change) > SameTempo && change * change * share > most) {
                most = change * change * share;
                best = at;
            }
        }
        if (best == 0) return;
        Divide(begin, best);
        Changes.push_back(best);
        Divide(best, end);
    }
    std::vector<std::size_t> Changes;

private:
    double Mean(std::size_t begin, std::size_t end) const {
        return (Sums[end] - Sums[begin]) / static_cast<double>(end - begin);
    }
    bool IsSudden(std::size_t at) const {
        constexpr std::size_t around = ShortestPart / 2;
        return std::fabs(Mean(at - around, at) - Mean(at, at + around)) > SameTempo / 2;
    }

    const PulseTrack& Track;
    std::vector<double> Sums; // of the logarithms of PulseSeconds
};

} // namespace

std::vector<std::size_t> FindTempoChanges(const PulseTrack& track) {
    TempoFinder finder(track);
    finder.Divide(0, track.Ticks.size());
    return finder.Changes;
}

} // namespace score
