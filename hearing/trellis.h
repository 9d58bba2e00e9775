// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The states, and the path of least cost through them by Viterbi's algorithm (A. J. Viterbi, "Error
// bounds for convolutional codes and an asymptotically optimum decoding algorithm", 1967).
//
// States: silence, and three for each pitch bin: First and Second, a note's first two frames, and
// Sustain for all later ones.
//
//   Silence -> First -> Second -> Sustain -> Silence
//                                 Sustain -> First     to a pitch at least a semitone away, or to
//                                                      the same bin: a re-onset.
//
// So no note is shorter than three frames, 70 ms.
#pragma once

#include "hearing/costs.h"
#include "hearing/observation.h"

#include <cstdint>
#include <span>
#include <vector>

namespace hearing {

enum class Phase : std::uint8_t { Silence, First, Second, Sustain };

struct State {
    hearing::Phase Phase = hearing::Phase::Silence;
    int Bin = 0; // pitch bin; 0 in silence
};

// Memory is allocated by the constructor only.
class Trellis {
public:
    // bins: number of pitch bins. depth: steps that can be traced back.
    Trellis(const Costs& costs, int bins, int depth);

    // Adds one frame. Time is proportional to the number of bins. Real-time safe: yes.
    void Step(const Observation& observed);

    // Fills path with the states of the last steps on the path of least cost, oldest first. path is
    // at most as long as the depth, and as the number of steps so far. Real-time safe: yes.
    void Trace(std::span<State> path) const;

private:
    // The state before a First.
    enum Source : std::int32_t { FromSilence, FromBest, FromNextBest, FromSameBin };
    static constexpr std::int32_t SourceMask = 3;
    static constexpr std::int32_t FromSecond = 4; // flag: the state before Sustain was Second

    // What Trace needs of one step.
    struct Survivors {
        int Best = 0;           // bin of the cheapest Sustain before the step
        int NextBest = 0;       // of the cheapest one at least a semitone away from Best
        bool NoteEnded = false; // the state before silence was the Sustain of Best
        // A Source and flag for each bin, as wide as a cost so that the loop vectorises.
        std::vector<std::int32_t> Bins;
    };

    // Costs of entering a First, by source. All are relative to the least cost before the step, so
    // that costs keep their precision over hours of sound.
    struct EntryCosts {
        float Least; // the subtracted cost
        float Silence;
        float Best;
        float NextBest;
        float SameBin; // to be added to the cost of the bin's own Sustain
    };

    void FindBest(Survivors& row) const;
    void RelieveJump(int bin);
    EntryCosts StepSilence(const Observation& observed, Survivors& row);
    void StepBins(const Observation& observed, EntryCosts entry, Survivors& row);
    State Cheapest() const;
    State Before(State state, const Survivors& row) const;

    Costs Cost;
    int BinCount;
    float SilenceCost = 0;
    std::vector<float> FirstCosts; // by bin, like the next two
    std::vector<float> SecondCosts;
    std::vector<float> SustainCosts;
    std::vector<Survivors> Rows; // ring buffer, one row per step
    std::size_t StepCount = 0;
};

} // namespace hearing
