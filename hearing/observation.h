// What one frame says for and against each state.
#pragma once

#include "hearing/costs.h"
#include "hearing/frame.h"

#include <vector>

namespace hearing {

// The states' pitches: places from LowestPitch to HighestPitch, evenly spaced.
constexpr int LowestPitch = 28;   // E1
constexpr int HighestPitch = 100; // E7

struct Observation {
    std::vector<float> Note; // cost of each place
    float Rest = 0;          // cost of the rest
    float Rise = 0;          // of the level, 0 to 1 for FullRise
    float Strike = 0;        // the same where it had sounded for a while
};

class Observer {
public:
    // tuning: what the take is sharper than 440 Hz, in semitones.
    Observer(const Costs& costs, double tuning);

    int Places() const { return static_cast<int>(Seen.Note.size()); }
    double PitchAt(int place) const { return Lowest + static_cast<double>(place) / PerSemitone; }

    // Frames come in order. The result holds until the next call.
    const Observation& Observe(const Frame& frame);

private:
    void SeePitch(double pitch);
    void SeeNear(double pitch);
    void SeeRise(int level);

    Costs Of;
    int PerSemitone;
    double Lowest; // pitch of place 0
    Observation Seen;
    double Before[2] = {}; // decibels of the last two frames
    unsigned Sounded = 0;  // a bit for each frame before: it was not quiet; the last one lowest
};

} // namespace hearing
