// From measured notes, which differ from frame to frame, to the note that counts as sounding.
#include "pitchrec/pitch_arithmetic.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <cmath>

namespace Sonorel {

namespace {

constexpr double JumpBias = 0.0001; // octaves, added to every distance

// What the recent frequencies did while a note was held.
struct Movement {
    bool Jumped = false; // two neighbours lay further apart than the threshold
    double Spread = 0.0; // Hz between the two furthest apart
};

// Both histories up to an index, or to the first that is empty.
Movement MovementIn(const PitchRecWaveIn::History& frequencies,
                    const PitchRecWaveIn::History& jumps, std::int32_t depth, double threshold) {
    Movement movement;
    const auto end = static_cast<std::size_t>(depth) + 1;
    for (std::size_t i = 0; i < end && frequencies[i] != 0.0; ++i) {
        if (jumps[i] > threshold) movement.Jumped = true;
        for (std::size_t j = 0; j < end && frequencies[j] != 0.0; ++j)
            movement.Spread = std::max(movement.Spread, std::fabs(frequencies[i] - frequencies[j]));
    }
    return movement;
}

void Shift(PitchRecWaveIn::History& history, double newest) {
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

// A new note needs two measurements in a row; an odd one in between changes nothing.
void PitchRecWaveIn::DecideSteady() {
    Now.ActiveNote = Now.DetectedNote == Last.DetectedNote ? Now.DetectedNote : Last.ActiveNote;
}

// The held note takes every pitch that glides away from it as its own, and changes on a jump.
void PitchRecWaveIn::SlideHeldNote() {
    Shift(FreqHistory, Now.Frequency);
    double jump = 0.0;
    if (FreqHistory[1] != 0.0)
        jump = std::fabs(std::log(FreqHistory[0] / FreqHistory[1]) * OctavesPerLog) + JumpBias;
    Shift(JumpHistory, jump);
    const Movement movement = MovementIn(FreqHistory, JumpHistory, HistoryDepth, JumpThreshold);

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
        // Wide, for notes far from any by an absurd reference pitch.
        const std::int64_t moved = std::int64_t{100} * (Now.DetectedNote - Last.ActiveNote);
        Now.CentsOffset = static_cast<std::int32_t>(Now.CentsOffset + moved);
    }
}

// HoldFrames is not cleared when a note ends, so that only the very first one has to wait.
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

// A change of note while the level falls by more than a third is the old note's end: nothing
// starts.
void PitchRecWaveIn::CheckRelease() {
    if (Last.ActiveNote == NoNote || Now.ActiveNote == Last.ActiveNote) return;
    if (Last.Amplitude * 2 <= Now.Amplitude * 3) return;
    Now.DetectedNote = NoNote;
    Now.ActiveNote = NoNote;
}

} // namespace Sonorel
