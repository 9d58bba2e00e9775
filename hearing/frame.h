// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What the recogniser measured in one block of sound: the input of the decoder.
#pragma once

#include <array>
#include <cstddef>

namespace hearing {

// A block is 512 samples at 22,050 Hz: 23.2 ms.
constexpr double FrameSeconds = 512 / 22050.0;
constexpr std::size_t StepsPerFrame = 4; // of 5.8 ms, in which levels are measured

struct Frame {
    double Begin = 0;     // time of the block's first sample, seconds from the start of the sound
    double LoudBegin = 0; // time of its first loud sample, in seconds; Begin if it has none
    double Frequency = 0; // Hz; 0: no period found
    int Level = 0;        // greatest absolute sample, 0 to 128
    double Gain = 1;      // amplification of this block relative to the whole recording
    // Greatest absolute sample of each quarter of the block, on the scale of Level with fractions;
    // negative: not measured.
    std::array<float, StepsPerFrame> Steps = {-1, -1, -1, -1};
};

} // namespace hearing
