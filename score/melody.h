// What a score is made of: the notes of one voice as they were heard.
#pragma once

#include <span>

namespace score {

struct HeardNote {
    double Onset; // seconds
    double End;
    int Key; // MIDI number
};
using Melody = std::span<const HeardNote>; // by Onset, one after another

} // namespace score
