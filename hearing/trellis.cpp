#include "hearing/trellis.h"

#include <algorithm>
#include <span>

namespace hearing {

namespace {

constexpr float Never = 1e9f;

std::size_t Index(int place) { return static_cast<std::size_t>(place); }

// -1 if there is none. In two passes, which both take many at once.
int FindLeast(const std::vector<float>& costs, int from, int to) {
    if (from >= to) return -1;
    const std::span<const float> part(costs.data() + from, Index(to - from));
    float least = part[0];
    for (const float cost : part) least = std::min(least, cost);
    const auto at = std::ranges::find(part, least) - part.begin();
    return from + static_cast<int>(at);
}

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
    row.Best = FindLeast(Held, 0, Places);
    const int below = FindLeast(Held, 0, row.Best - Of.PlacesPerSemitone + 1);
    const int above = FindLeast(Held, row.Best + Of.PlacesPerSemitone, Places);
    const bool isBelow = above < 0 || (below >= 0 && Held[Index(below)] < Held[Index(above)]);
    row.NextBest = isBelow ? below : above;
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

// The one loop that every frame goes through for every place: no branches, and nothing read that a
// cost written could change, so that many go at once.
void Trellis::StepPlaces(const Observation& seen, const Entries from, Survivors& row) {
    const int places = Places;
    const int low = row.Best - Of.PlacesPerSemitone;
    const int high = row.Best + Of.PlacesPerSemitone;
    const float attackShare = Of.AttackShare;
    const float* note = seen.Note.data();
    float* first = First.data();
    float* second = Second.data();
    float* held = Held.data();
    std::int32_t* survivors = row.Places.data();
    for (int i = 0; i < places; ++i) {
        const float stays = held[i] - from.Least;
        const float grows = second[i] - from.Least;
        const bool near = (i > low) & (i < high);
        const float change = near ? from.NextBest : from.Best;
        const float entered = std::min(from.Silence, change);
        const float again = stays + from.Same;

        const std::int32_t other = near ? NextBest : Best;
        const std::int32_t entry = from.Silence <= change ? Silence : other;
        survivors[i] = (again < entered ? Same : entry) | (grows <= stays ? BeganHere : 0);

        held[i] = std::min(stays, grows) + note[i];
        second[i] = first[i] - from.Least + attackShare * note[i];
        first[i] = std::min(entered, again) + attackShare * note[i];
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
    const std::int32_t survivor = row.Places[Index(state.Place)];
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
