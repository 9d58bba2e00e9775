// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "hearing/evaluation/two_frames.h"

#include "hearing/pitch.h"

#include <cmath>

namespace hearing {

namespace {

constexpr int None = -1;

int KeyOf(const Frame& frame) {
    return frame.Frequency > 0 ? static_cast<int>(std::floor(PitchOf(frame.Frequency) + 0.5))
                               : None;
}

} // namespace

std::vector<PlainNote> TwoFramesAgree(const Clip& clip) {
    std::vector<PlainNote> notes;
    int detected = None;
    int active = None;
    int level = 0;
    for (std::size_t i = 0; i < clip.Frames.size(); ++i) {
        const Frame& frame = clip.Frames[i];
        int key = KeyOf(frame);
        int now = key == None ? None : key == detected ? key : active;
        // A change of pitch while the level falls by more than a third ends the old note and begins
        // no new one.
        if (active != None && now != active && 2 * level > 3 * frame.Level) key = now = None;
        if (now != active) {
            const double stamp = clip.Stamps[i];
            if (active != None) notes.back().End = stamp;
            if (now != None) notes.push_back({stamp, stamp, static_cast<double>(now)});
        }
        detected = key;
        active = now;
        level = frame.Level;
    }
    return notes;
}

} // namespace hearing
