// One picture of what the recogniser made of a sound, as SVG.
#pragma once

#include "host/ear.h"
#include "host/melody.h"

#include <string>
#include <vector>

namespace zorhost {

struct Plot {
    std::string Title;
    std::vector<Frame> Frames; // Time in milliseconds from the beginning of the sound
    std::vector<Note> Notes;   // likewise
    std::int64_t Milliseconds; // of the sound
    int OnLevel;
    int OffLevel;
};

// The longest sound that one picture can show, in milliseconds. What comes after is left out.
constexpr std::int64_t LongestPlot = 10 * 60 * 1000;

std::string DrawPlot(const Plot& plot);

} // namespace zorhost
