// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds where the recogniser has measured an overtone: the sound does not repeat after the period
// that it found, but does after two or three of them.
#pragma once

#include <array>
#include <cstddef>
#include <span>

namespace zorhearing {

class PeriodCheck {
public:
    static constexpr std::size_t BlockSamples = 512;

    // Adds the next block. Real-time safe: yes, as the next one.
    void Add(std::span<const float, BlockSamples> samples);

    // After how many periods of that many samples the sound repeats itself: 2 or 3, if the block
    // clearly equals what was that long before and differs from what was one period before; else 1.
    int PeriodsOfRepetition(double period) const;

private:
    static constexpr std::size_t LongestLag = 3 * BlockSamples; // 14 Hz at 22,050 Hz

    float DifferenceAfter(double lag) const;

    std::array<float, LongestLag + BlockSamples> Samples{}; // oldest first, the block at the end
};

} // namespace zorhearing
