#include "hearing/trellis.h"

#include <algorithm>
#include <cstdlib>

namespace hearing {

namespace {

constexpr float Never = 1e9f;

std::size_t Index(int place) { return static_cast<std::size_t>(place); }

} // namespace

Trellis::Trellis(const Costs& costs, int places, int depth)
    : Of(costs), Places(places), First(Index(places), Never), Second(First), Held(First),
      Rows(Index(depth)) {
    for (Survivors& row : Rows) row.Places.resize(Index(places));
}

void Trellis::Step(const Observation& seen) {
    Survivors& row = Rows[Steps++ % Rows.size()];
    FindBest(row);
    StepPlaces(seen, StepRest(seen, row), row);
}

void Trellis::FindBest(Survivors& row) const {
    const auto best = std::ranges::min_element(Held);
    row.Best = static_cast<int>(best - Held.begin());
    const auto below = Held.begin() + std::max(row.Best - Of.PlacesPerSemitone + 1, 0);
    const auto above = Held.begin() + std::min(row.Best + Of.PlacesPerSemitone, Places);
    auto next = std::min_element(Held.begin(), below);
    const auto other = std::min_element(above, Held.end());
    if (next == below || (other != Held.end() && *other < *next)) next = other;
    row.NextBest = static_cast<int>(next - Held.begin());
}

Trellis::Entries Trellis::StepRest(const Observation& seen, Survivors& row) {
    const float best = Held[Index(row.Best)];
    const float ended = best + Of.End;
    const float least = std::min(Rest, best);
    const float change = Of.Change - Of.Relief * seen.Rise - least;
    const Entries entries = {
        .Least = least,
        .Silence = Rest + Of.Begin - Of.Relief * seen.Rise - least,
        .Best = best + change,
        .NextBest = Held[Index(row.NextBest)] + change,
        .Same = Of.Repeat - Of.RepeatRelief * seen.Strike,
    };
    row.Ended = ended < Rest;
    Rest = std::min(Rest, ended) - least + seen.Rest;
    return entries;
}

// The one loop that every frame goes through for every place.
void Trellis::StepPlaces(const Observation& seen, const Entries& entries, Survivors& row) {
    for (int place = 0; place < Places; ++place) {
        const std::size_t i = Index(place);
        const float held = Held[i] - entries.Least;
        const float second = Second[i] - entries.Least;
        const bool apart = std::abs(place - row.Best) >= Of.PlacesPerSemitone;
        const float change = apart ? entries.Best : entries.NextBest;
        const float entered = std::min(entries.Silence, change);
        const float again = held + entries.Same;

        std::uint8_t from = entries.Silence <= change ? Silence : apart ? Best : NextBest;
        if (again < entered) from = Same;
        row.Places[i] = static_cast<std::uint8_t>(from | (second <= held ? BeganHere : 0));

        Held[i] = std::min(held, second) + seen.Note[i];
        Second[i] = First[i] - entries.Least + Of.AttackShare * seen.Note[i];
        First[i] = std::min(entered, again) + Of.AttackShare * seen.Note[i];
    }
}

State Trellis::Cheapest() const {
    State state;
    float least = Rest;
    const auto look = [&](const std::vector<float>& costs, Phase phase) {
        const auto best = std::ranges::min_element(costs);
        if (*best >= least) return;
        least = *best;
        state = {phase, static_cast<int>(best - costs.begin())};
    };
    look(Held, Phase::Held);
    look(First, Phase::First);
    look(Second, Phase::Second);
    return state;
}

State Trellis::Before(State state, const Survivors& row) const {
    const std::uint8_t survivor = row.Places[Index(state.Place)];
    switch (state.In) {
    case Phase::Rest:
        return row.Ended ? State{Phase::Held, row.Best} : State{};
    case Phase::Held:
        return {survivor & BeganHere ? Phase::Second : Phase::Held, state.Place};
    case Phase::Second:
        return {Phase::First, state.Place};
    case Phase::First:
        break;
    }
    switch (survivor & FromMask) {
    case Silence:
        return {};
    case Best:
        return {Phase::Held, row.Best};
    case NextBest:
        return {Phase::Held, row.NextBest};
    default:
        return {Phase::Held, state.Place};
    }
}

void Trellis::Trace(std::span<State> path) const {
    State state = Cheapest();
    std::size_t step = Steps;
    for (std::size_t i = path.size(); i-- > 0;) {
        path[i] = state;
        state = Before(state, Rows[--step % Rows.size()]);
    }
}

} // namespace hearing
