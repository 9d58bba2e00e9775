// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds where the pitch jumps from one steady value to another. The swings of a voice are not
// steady and wrong pitches are farther away, so it is another note, however short.
#pragma once

#include <array>
#include <cstddef>

namespace hearing {

class JumpFinder {
public:
    // Whether this frame is the third of a steady pitch after a jump. pitch: MIDI note number, 0:
    // none. level: decibels. Frames come in order, without gaps. Real-time safe: yes.
    bool Find(double pitch, double level);

private:
    static constexpr std::size_t FramesAfter = 3; // of steady pitch
    static constexpr std::size_t FramesBefore = 4;

    bool IsSteady(std::size_t begin, std::size_t count) const;

    // Of the last frames, the last one first. One between the two pitches may have any pitch.
    std::array<double, FramesAfter + 1 + FramesBefore> Pitches{};
    std::array<double, FramesAfter> Levels{};
};

} // namespace hearing
