// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds where the level of a sound dips for some milliseconds while the pitch stays: a note is
// struck again without a gap. Levels of whole frames hide such dips.
#pragma once

#include "hearing/frame.h"

#include <array>
#include <cstddef>

namespace hearing {

struct Dip {
    double Depth = 0; // decibels by which it is deeper than usual dips of the sound; 0: none
    double End = 0;   // when the level rises again, in seconds from the start of the sound
};

class DipFinder {
public:
    // The deepest dip among those whose pitch this frame decides: those that ended 60 to 80 ms
    // before its end. Frames come in order, without gaps. A frame without steps has no dip, nor
    // have the next ones. Real-time safe: yes.
    Dip Find(const Frame& frame);

private:
    // The level is compared with that of the steps on each side, 35 ms. Swings of vibrato are
    // slower.
    static constexpr std::size_t Reach = 6;
    static constexpr std::size_t DecayReach = 16;   // steps in which a note dies away, 93 ms
    static constexpr std::size_t LongestPeriod = 4; // steps, of 43 Hz
    // Steps to the end of a dip, then its own frame, and what is compared with the first of it.
    static constexpr std::size_t Later = StepsPerFrame + Reach;
    static constexpr std::size_t StepCount = LongestPeriod - 1 + DecayReach + StepsPerFrame + Later;
    static constexpr std::size_t PitchesBefore = 5; // frames back: they end before the dip

    void Keep(const Frame& frame);
    bool KeepsPitch() const;
    std::size_t PeriodSteps() const;
    Dip Deepest() const;
    double UsualDepth() const;

    std::array<double, StepCount> Steps{}; // decibels without the frames' gains, oldest first
    std::size_t Measured = 0;              // of them, from the last one
    std::array<double, 9> Pitches{};       // of the last frames, the last one first; 0: none
    std::array<double, 16> Depths{};       // of the deepest dips of as many frames, in any order
    std::size_t FrameCount = 0;
    double FrameEnd = 0; // seconds from the start of the sound
};

} // namespace hearing
