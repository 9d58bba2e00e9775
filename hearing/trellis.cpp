// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/trellis.h"

#include <algorithm>
#include <span>

namespace hearing {

namespace {

// Above any cost of a path, yet finite: this file is compiled with -ffinite-math-only.
constexpr float InfiniteCost = 1e9f;

std::size_t Index(int bin) { return static_cast<std::size_t>(bin); }

// The first bin of least cost from `begin` and before `end`; -1 if the range is empty. Minimum and
// search are separate passes, since both vectorise.
int FindLeast(const std::vector<float>& costs, int begin, int end) {
    if (begin >= end) return -1;
    const std::span<const float> part(costs.data() + begin, Index(end - begin));
    float least = part[0];
    for (const float cost : part) least = std::min(least, cost);
    const auto at = std::find(part.begin(), part.end(), least) - part.begin();
    return begin + static_cast<int>(at);
}

} // namespace

Trellis::Trellis(const Costs& costs, int bins, int depth)
    : Cost(costs), BinCount(bins), FirstCosts(Index(bins), InfiniteCost), SecondCosts(FirstCosts),
      SustainCosts(FirstCosts), Rows(Index(depth)) {
    for (Survivors& row : Rows) row.Bins.resize(Index(bins));
}

void Trellis::Step(const Observation& observed) {
    Survivors& row = Rows[StepCount++ % Rows.size()];
    FindBest(row);
    if (observed.JumpBin >= 0) RelieveJump(observed.JumpBin);
    StepBins(observed, StepSilence(observed, row), row);
}

// A change to another note can come from any note at least a semitone away, at the same cost. So
// only two sources matter for all bins: the cheapest, and the cheapest among those far enough from
// it.
void Trellis::FindBest(Survivors& row) const {
    row.Best = FindLeast(SustainCosts, 0, BinCount);
    const int below = FindLeast(SustainCosts, 0, row.Best - Cost.BinsPerSemitone + 1);
    const int above = FindLeast(SustainCosts, row.Best + Cost.BinsPerSemitone, BinCount);
    const bool isBelow =
        above < 0 || (below >= 0 && SustainCosts[Index(below)] < SustainCosts[Index(above)]);
    row.NextBest = isBelow ? below : above;
}

// This frame is the third of the pitch, so the note was in its Second at the frame before, in this
// bin or in one beside it.
void Trellis::RelieveJump(int bin) {
    for (int i = std::max(bin - 1, 0); i <= std::min(bin + 1, BinCount - 1); ++i)
        SecondCosts[Index(i)] -= Cost.JumpRelief;
}

Trellis::EntryCosts Trellis::StepSilence(const Observation& observed, Survivors& row) {
    const float best = SustainCosts[Index(row.Best)];
    const float ended = best + Cost.NoteEnd;
    const float least = std::min(SilenceCost, best);
    const float change = Cost.NoteChange - Cost.RiseRelief * observed.Rise - least;
    const EntryCosts entry = {
        .Least = least,
        .Silence = SilenceCost + Cost.NoteBegin - Cost.RiseRelief * observed.Rise - least,
        .Best = best + change,
        .NextBest = SustainCosts[Index(row.NextBest)] + change,
        .SameBin = Cost.ReOnset - Cost.ReOnsetRelief * observed.ReOnset,
    };
    row.NoteEnded = ended < SilenceCost;
    SilenceCost = std::min(SilenceCost, ended) - least + observed.Silence;
    return entry;
}

// The inner loop, run for each bin of each frame. Without branches, and with all inputs in locals
// that no store can alias, it vectorises.
void Trellis::StepBins(const Observation& observed, const EntryCosts entry, Survivors& row) {
    const int bins = BinCount;
    const int low = row.Best - Cost.BinsPerSemitone;
    const int high = row.Best + Cost.BinsPerSemitone;
    const float attackShare = Cost.AttackShare;
    const float* note = observed.Note.data();
    float* first = FirstCosts.data();
    float* second = SecondCosts.data();
    float* sustain = SustainCosts.data();
    std::int32_t* survivors = row.Bins.data();
    for (int i = 0; i < bins; ++i) {
        const float stays = sustain[i] - entry.Least;
        const float grows = second[i] - entry.Least;
        const bool near = (i > low) & (i < high);
        const float change = near ? entry.NextBest : entry.Best;
        const float entered = std::min(entry.Silence, change);
        const float again = stays + entry.SameBin;

        const std::int32_t other = near ? FromNextBest : FromBest;
        const std::int32_t source = entry.Silence <= change ? FromSilence : other;
        survivors[i] = (again < entered ? FromSameBin : source) | (grows <= stays ? FromSecond : 0);

        sustain[i] = std::min(stays, grows) + note[i];
        second[i] = first[i] - entry.Least + attackShare * note[i];
        first[i] = std::min(entered, again) + attackShare * note[i];
    }
}

// The end of the path of least cost. At equal costs silence wins, then Sustain.
State Trellis::Cheapest() const {
    State state;
    float least = SilenceCost;
    const auto compare = [&](const std::vector<float>& costs, Phase phase) {
        const auto best = std::min_element(costs.begin(), costs.end());
        if (*best >= least) return;
        least = *best;
        state = {phase, static_cast<int>(best - costs.begin())};
    };
    compare(SustainCosts, Phase::Sustain);
    compare(FirstCosts, Phase::First);
    compare(SecondCosts, Phase::Second);
    return state;
}

// The state before, on the path of least cost that leads to a state. row: of the step between them.
State Trellis::Before(State state, const Survivors& row) const {
    const std::int32_t survivor = row.Bins[Index(state.Bin)];
    switch (state.Phase) {
    case Phase::Silence:
        return row.NoteEnded ? State{Phase::Sustain, row.Best} : State{};
    case Phase::Sustain:
        return {survivor & FromSecond ? Phase::Second : Phase::Sustain, state.Bin};
    case Phase::Second:
        return {Phase::First, state.Bin};
    case Phase::First:
        break;
    }
    switch (survivor & SourceMask) {
    case FromSilence:
        return {};
    case FromBest:
        return {Phase::Sustain, row.Best};
    case FromNextBest:
        return {Phase::Sustain, row.NextBest};
    default:
        return {Phase::Sustain, state.Bin};
    }
}

void Trellis::Trace(std::span<State> path) const {
    State state = Cheapest();
    std::size_t step = StepCount;
    for (std::size_t i = path.size(); i-- > 0;) {
        path[i] = state;
        state = Before(state, Rows[--step % Rows.size()]);
    }
}

} // namespace hearing
