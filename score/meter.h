// The meters that a melody can be written in, and where in a bar notes begin in each.
#pragma once

#include <span>

namespace score {

// Everything is counted in sixteenths.
constexpr int Quarter = 4;

struct Meter {
    int Beats;    // as the time signature says: 6 of
    int BeatType; // eighths
    int BarLength;
    int BeatLength;                // of what is felt as a beat, a dotted quarter in 6/8
    double UsualTempo;             // quarters a minute
    double Rarity;                 // what it costs to suppose it
    std::span<const double> Onset; // probability that a note begins at each sixteenth of the bar
};

std::span<const Meter> Meters();

} // namespace score
