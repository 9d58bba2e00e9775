// What the recogniser's scan for cycles is spared: rumble below the lowest notes, and harmonics
// that rise over the fundamental.
#pragma once

#include "host/frame_maker.h"

#include <array>
#include <cstddef>
#include <span>

namespace zorhost {

// A second-order high-pass at 40 Hz and a first-order low-pass at 1.5 kHz, for 22,050 Hz. Real
// time: yes.
class ToneFilter {
public:
    ToneFilter();
    void Apply(std::span<float, FrameSamples> samples);

private:
    static constexpr std::size_t Order = 3;

    // The two as one: what goes in by Ahead, what came out by Back, newest first.
    std::array<double, Order> Ahead;
    std::array<double, Order> Back;
    // Oldest first: the end of the block before, then the block. In double: so near to a pole
    // rounding adds up.
    std::array<double, Order + FrameSamples> In{};
    std::array<double, Order + FrameSamples> Out{};
};

} // namespace zorhost
