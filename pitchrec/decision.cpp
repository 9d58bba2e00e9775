// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Decides which note sounds (ActiveNote) from the notes measured in each frame (DetectedNote).
#include "pitchrec/pitch_arithmetic.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <cmath>

namespace Sonorel {

namespace {

constexpr double JumpBias = 0.0001; // octaves, added to each jump

// How the frequency changed in the last frames.
struct Movement {
    bool Jumped = false; // it changed between two frames by more than the threshold
    double Spread = 0.0; // Hz between the highest and the lowest frequency
};

// Evaluates both histories up to the index depth, or to the first empty entry.
Movement MeasureMovement(const PitchRecWaveIn::History& frequencies,
                         const PitchRecWaveIn::History& jumps, std::int32_t depth,
                         double threshold) {
    Movement movement;
    const auto end = static_cast<std::size_t>(depth) + 1;
    for (std::size_t i = 0; i < end && frequencies[i] != 0.0; ++i) {
        if (jumps[i] > threshold) movement.Jumped = true;
        for (std::size_t j = 0; j < end && frequencies[j] != 0.0; ++j)
            movement.Spread = std::max(movement.Spread, std::fabs(frequencies[i] - frequencies[j]));
    }
    return movement;
}

void PushFront(PitchRecWaveIn::History& history, double newest) {
    std::copy_backward(history.begin(), history.end() - 1, history.end());
    history[0] = newest;
}

} // namespace

// Now.ActiveNote is NoNote on entry.
void PitchRecWaveIn::DecideNote() {
    if (TrackingMode.load(std::memory_order_relaxed) == 0)
        DecideSteady();
    else if (Last.ActiveNote != NoNote)
        SlideHeldNote();
    else
        StartSlidingNote();
}

// Mode 0: a new note needs two equal measurements in a row; a single different one is ignored.
void PitchRecWaveIn::DecideSteady() {
    Now.ActiveNote = Now.DetectedNote == Last.DetectedNote ? Now.DetectedNote : Last.ActiveNote;
}

// Mode 1 while a note sounds: gliding pitch becomes a cents offset of the note; a jump changes the
// note.
void PitchRecWaveIn::SlideHeldNote() {
    PushFront(FreqHistory, Now.Frequency);
    double jump = 0.0;
    if (FreqHistory[1] != 0.0)
        jump = std::fabs(std::log(FreqHistory[0] / FreqHistory[1]) * OctavesPerLog) + JumpBias;
    PushFront(JumpHistory, jump);
    const Movement movement =
        MeasureMovement(FreqHistory, JumpHistory, HistoryDepth, JumpThreshold);

    if (Now.DetectedNote == Last.ActiveNote) {
        Now.ActiveNote = Now.DetectedNote;
        ++Now.HoldFrames;
    } else if (Now.HoldFrames < MinHoldFrames) {
        Now.ActiveNote = Last.ActiveNote;
        Now.CentsOffset = Last.CentsOffset;
    } else if (SpreadFactor * Now.Frequency < movement.Spread && movement.Jumped) {
        Now.ActiveNote = Now.DetectedNote;
        Now.HoldFrames = 0;
        ClearHistories();
    } else {
        Now.ActiveNote = Last.ActiveNote;
        // 64 bits, since an absurd reference pitch gives note numbers of any size.
        const std::int64_t moved = std::int64_t{100} * (Now.DetectedNote - Last.ActiveNote);
        Now.CentsOffset = static_cast<std::int32_t>(Now.CentsOffset + moved);
    }
}

// Mode 1 while no note sounds. HoldFrames is not cleared when a note ends, so the next note usually
// starts without waiting.
void PitchRecWaveIn::StartSlidingNote() {
    if (Now.HoldFrames >= MinHoldFrames) {
        Now.ActiveNote = Now.DetectedNote;
        ClearHistories();
    } else if (Now.DetectedNote == Last.DetectedNote) {
        ++Now.HoldFrames;
    } else {
        Now.HoldFrames = 0;
    }
}

// If the note changes while the amplitude falls by more than a third, the old note has ended, and
// no new one starts.
void PitchRecWaveIn::CheckRelease() {
    if (Last.ActiveNote == NoNote || Now.ActiveNote == Last.ActiveNote) return;
    if (Last.Amplitude * 2 <= Now.Amplitude * 3) return;
    Now.DetectedNote = NoNote;
    Now.ActiveNote = NoNote;
}

} // namespace Sonorel
