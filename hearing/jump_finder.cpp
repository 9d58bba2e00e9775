// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/jump_finder.h"

#include <algorithm>
#include <cmath>

namespace hearing {

namespace {

constexpr double SamePitch = 0.25; // semitones between steady frames
constexpr double LeastJump = 0.75; // semitones
constexpr double MostJump = 5.5;   // farther ones are often errors of the pitch detector
constexpr double MostFall = 9;     // decibels; what falls faster is the end of the note before

} // namespace

bool JumpFinder::Find(double pitch, double level) {
    std::copy_backward(Pitches.begin(), Pitches.end() - 1, Pitches.end());
    std::copy_backward(Levels.begin(), Levels.end() - 1, Levels.end());
    Pitches[0] = pitch;
    Levels[0] = level;
    if (!IsSteady(0, FramesAfter) || IsSteady(0, FramesAfter + 1)) return false;
    const std::size_t before = FramesAfter + !IsSteady(FramesAfter, FramesBefore);
    const double jump = std::fabs(pitch - Pitches[before]);
    return IsSteady(before, FramesBefore) && jump > LeastJump && jump < MostJump &&
           level > *std::max_element(Levels.begin(), Levels.end()) - MostFall;
}

bool JumpFinder::IsSteady(std::size_t begin, std::size_t count) const {
    for (std::size_t i = begin; i < begin + count; ++i) {
        if (Pitches[i] <= 0) return false;
        if (i > begin && std::fabs(Pitches[i] - Pitches[i - 1]) >= SamePitch) return false;
    }
    return true;
}

} // namespace hearing
