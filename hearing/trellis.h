// The states, and the path of least cost through them: Viterbi's algorithm (A. J. Viterbi, "Error
// bounds for convolutional codes and an asymptotically optimum decoding algorithm", 1967).
//
// States: the rest, and for each place First and Second, a note's first two frames, and Held.
//
//   Rest -> First -> Second -> Held -> Rest          so that no note is shorter than 70 ms;
//                              Held -> First         to a note at least a semitone away, or to the
//                                                    same place: struck again.
#pragma once

#include "hearing/costs.h"
#include "hearing/observation.h"

#include <cstdint>
#include <span>
#include <vector>

namespace hearing {

enum class Phase : std::uint8_t { Rest, First, Second, Held };

struct State {
    Phase In = Phase::Rest;
    int Place = 0; // 0 in the rest
};

class Trellis {
public:
    // depth: steps that can be traced back.
    Trellis(const Costs& costs, int places, int depth);

    // Real time: yes.
    void Step(const Observation& seen);

    // Fills path with the states of the last steps on the path of least cost, oldest first. No
    // longer than the depth, nor than the steps taken. Real time: yes.
    void Trace(std::span<State> path) const;

private:
    // Where a First came from.
    enum From : std::int32_t { Silence, Best, NextBest, Same };
    static constexpr std::int32_t FromMask = 3;
    static constexpr std::int32_t BeganHere = 4; // Held came from Second

    // What a step leaves behind for the tracing.
    struct Survivors {
        int Best = 0;       // place of the cheapest Held before the step
        int NextBest = 0;   // of the cheapest that is at least a semitone away from it
        bool Ended = false; // the rest came from Best
        std::vector<std::int32_t> Places; // as wide as a cost, so that many go at once
    };

    // Costs of a First by where it comes from, all less the least before the step, so that hours
    // of sound do not use up the digits.
    struct Entries {
        float Least;
        float Silence;
        float Best;
        float NextBest;
        float Same; // beyond the place's own Held
    };

    void FindBest(Survivors& row) const;
    Entries StepRest(const Observation& seen, Survivors& row);
    void StepPlaces(const Observation& seen, Entries from, Survivors& row);
    State Cheapest() const;
    State Before(State state, const Survivors& row) const;

    Costs Of;
    int Places;
    float Rest = 0;
    std::vector<float> First;
    std::vector<float> Second;
    std::vector<float> Held;
    std::vector<Survivors> Rows; // a ring
    std::size_t Steps = 0;
};

} // namespace hearing
