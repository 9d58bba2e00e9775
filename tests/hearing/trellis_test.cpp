// The cheapest path, against one that is found by comparing every step with every other.
#include "hearing/trellis.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace hearing;

constexpr int Places = 6;
constexpr std::size_t Depth = 40;

constexpr Costs Eager = { // so that all steps are common
    .Begin = 2, .End = 0.5f, .Change = 2, .Relief = 1, .Repeat = 2, .RepeatRelief = 2};

// States by number: the rest, then First, Second and Held of each place.
constexpr std::size_t Number(Phase phase, int place) {
    return phase == Phase::Rest
               ? 0
               : static_cast<std::size_t>(place) * 3 + static_cast<std::size_t>(phase);
}

class PlainTrellis {
public:
    PlainTrellis() {
        Cost[0] = 0;
        for (auto& row : From) row.resize(Cost.size());
    }
    void Step(const Observation& seen) {
        const auto held = [this](int place) { return Cost[Number(Phase::Held, place)]; };
        int best = 0, far = -1; // the best that is a semitone away from it
        for (int i = 0; i < Places; ++i)
            if (held(i) < held(best)) best = i;
        for (int i = 0; i < Places; ++i)
            if (std::abs(i - best) >= Eager.PlacesPerSemitone && (far < 0 || held(i) < held(far)))
                far = i;
        std::vector<double> next(Cost.size(), 1e9);
        auto& from = From[Steps++ % Depth];
        const auto come = [&](std::size_t source, std::size_t target, double cost) {
            if (Cost[source] + cost >= next[target]) return;
            next[target] = Cost[source] + cost;
            from[target] = source;
        };
        const double relief = Eager.Relief * seen.Rise;
        come(0, 0, seen.Rest);
        for (int i = 0; i < Places; ++i) {
            const double note = seen.Note[static_cast<std::size_t>(i)];
            const double attack = note * Eager.AttackShare;
            const int other = std::abs(i - best) < Eager.PlacesPerSemitone ? far : best;
            const auto first = Number(Phase::First, i), second = first + 1, third = first + 2;
            come(third, 0, Eager.End + seen.Rest);
            come(0, first, Eager.Begin - relief + attack);
            come(Number(Phase::Held, other), first, Eager.Change - relief + attack);
            come(third, first, Eager.Repeat - Eager.RepeatRelief * seen.Strike + attack);
            come(first, second, attack);
            come(second, third, note);
            come(third, third, note);
        }
        const double least = *std::ranges::min_element(next);
        for (double& cost : next) cost -= least;
        Cost = next;
    }
    std::vector<std::size_t> Trace() const {
        std::vector<std::size_t> path(Depth);
        auto state = static_cast<std::size_t>(std::ranges::min_element(Cost) - Cost.begin());
        for (std::size_t i = Depth; i-- > 0; state = From[(Steps + i) % Depth][state])
            path[i] = state;
        return path;
    }

private:
    std::vector<double> Cost = std::vector<double>(1 + 3 * Places, 1e9);
    std::vector<std::size_t> From[Depth];
    std::size_t Steps = 0;
};

TEST(Trellis, FindsTheCheapestPathHoweverLongTheSound) {
    std::mt19937 random(1);
    const auto share = [&] { return static_cast<float>(random() % 100000) / 100000; };
    Trellis trellis(Eager, Places, Depth);
    PlainTrellis plain;
    Observation seen;
    seen.Note.resize(Places);
    std::vector<State> path(Depth);
    for (int step = 1; step <= 200000; ++step) { // 77 minutes
        for (float& note : seen.Note) note = 3 * share();
        seen.Rest = 2.25f * share();
        seen.Rise = share();
        seen.Strike = random() % 2 ? share() : 0;
        trellis.Step(seen);
        plain.Step(seen);
        if (step % 500 != 0) continue;
        trellis.Trace(path);
        std::vector<std::size_t> found;
        for (const State& state : path) found.push_back(Number(state.In, state.Place));
        ASSERT_EQ(found, plain.Trace()) << "after " << step << " frames";
    }
}

} // namespace
