// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Compares the trellis with a reference model that tries every transition.
#include "hearing/trellis.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace hearing;

constexpr int Bins = 6;
constexpr std::size_t Depth = 40;

constexpr Costs Cheap = { // so that all transitions are common
    .NoteBegin = 2,  .NoteEnd = 0.5f, .NoteChange = 2,
    .RiseRelief = 1, .ReOnset = 2,    .ReOnsetRelief = 2};

// The number of a state: silence is 0, then First, Second and Sustain of each bin.
constexpr std::size_t Number(Phase phase, int bin) {
    return phase == Phase::Silence
               ? 0
               : static_cast<std::size_t>(bin) * 3 + static_cast<std::size_t>(phase);
}

class ReferenceTrellis {
public:
    ReferenceTrellis() {
        Cost[0] = 0;
        for (auto& row : Sources) row.resize(Cost.size());
    }
    void Step(const Observation& observed) {
        const auto held = [this](int bin) { return Cost[Number(Phase::Sustain, bin)]; };
        int best = 0, far = -1; // far: the best at least a semitone from best
        for (int i = 0; i < Bins; ++i)
            if (held(i) < held(best)) best = i;
        for (int i = 0; i < Bins; ++i)
            if (std::abs(i - best) >= Cheap.BinsPerSemitone && (far < 0 || held(i) < held(far)))
                far = i;
        std::vector<double> next(Cost.size(), 1e9);
        auto& sources = Sources[Steps++ % Depth];
        const auto enter = [&](std::size_t source, std::size_t target, double cost) {
            if (Cost[source] + cost >= next[target]) return;
            next[target] = Cost[source] + cost;
            sources[target] = source;
        };
        const double relief = Cheap.RiseRelief * observed.Rise;
        enter(0, 0, observed.Silence);
        for (int i = 0; i < Bins; ++i) {
            const double note = observed.Note[static_cast<std::size_t>(i)];
            const double attack = note * Cheap.AttackShare;
            const int other = std::abs(i - best) < Cheap.BinsPerSemitone ? far : best;
            const auto first = Number(Phase::First, i), second = first + 1, third = first + 2;
            enter(third, 0, Cheap.NoteEnd + observed.Silence);
            enter(0, first, Cheap.NoteBegin - relief + attack);
            enter(Number(Phase::Sustain, other), first, Cheap.NoteChange - relief + attack);
            enter(third, first, Cheap.ReOnset - Cheap.ReOnsetRelief * observed.ReOnset + attack);
            enter(first, second, attack);
            enter(second, third, note);
            enter(third, third, note);
        }
        const double least = *std::ranges::min_element(next);
        for (double& cost : next) cost -= least;
        Cost = next;
    }
    std::vector<std::size_t> Trace() const {
        std::vector<std::size_t> path(Depth);
        auto state = static_cast<std::size_t>(std::ranges::min_element(Cost) - Cost.begin());
        for (std::size_t i = Depth; i-- > 0; state = Sources[(Steps + i) % Depth][state])
            path[i] = state;
        return path;
    }

private:
    std::vector<double> Cost = std::vector<double>(1 + 3 * Bins, 1e9);
    std::vector<std::size_t> Sources[Depth];
    std::size_t Steps = 0;
};

TEST(Trellis, FindsTheCheapestPathInALongSound) {
    std::mt19937 random(1);
    const auto share = [&] { return static_cast<float>(random() % 100000) / 100000; };
    Trellis trellis(Cheap, Bins, Depth);
    ReferenceTrellis reference;
    Observation observed;
    observed.Note.resize(Bins);
    std::vector<State> path(Depth);
    for (int step = 1; step <= 200000; ++step) { // 77 minutes
        for (float& note : observed.Note) note = 3 * share();
        observed.Silence = 2.25f * share();
        observed.Rise = share();
        observed.ReOnset = random() % 2 ? share() : 0;
        trellis.Step(observed);
        reference.Step(observed);
        if (step % 500 != 0) continue;
        trellis.Trace(path);
        std::vector<std::size_t> found;
        for (const State& state : path) found.push_back(Number(state.Phase, state.Bin));
        ASSERT_EQ(found, reference.Trace()) << "after " << step << " frames";
    }
}

} // namespace
