// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The steps of one frame: advance the state, measure peaks, apply the gate, push events.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <cstdlib>

namespace Sonorel {

void PitchRecWaveIn::ProcessFrame(const Frame& frame) {
    // Evaluated before Last advances, so the gate depends on the active note of two frames ago.
    const std::int32_t gate = Last.ActiveNote != NoNote ? NoteOffThreshold : NoteOnThreshold;
    Last = Now;
    Now = FrameState{};
    Now.HoldFrames = Last.HoldFrames;

    const std::int32_t attack = AttackThreshold.load(std::memory_order_relaxed);
    if (attack > 0) DetectAttacks(frame, attack);
    MeasureFrame(frame);
    if (Now.Amplitude < gate)
        ValidSamples = 0; // the next frame starts a new window
    else
        FindPeriod(frame);
    EmitNotes();
}

void PitchRecWaveIn::MeasureFrame(const Frame& frame) {
    Now.MaxSample = frame.Peaks.Highest;
    Now.MinSample = frame.Peaks.Lowest;
    Now.Extreme = Now.MaxSample > -Now.MinSample ? Now.MaxSample : Now.MinSample;
    Now.Amplitude = std::abs(Now.Extreme);
    Now.OnsetTime = frame.TimeOf(FindOnset(frame), SampleRate);
    const std::int32_t level = SignalLevel.load(std::memory_order_relaxed);
    SignalLevel.store((level + Now.Amplitude) / 2, std::memory_order_relaxed);
}

// Window index of the block's first sample of at least NoteOnThreshold. 0 if there is none: the
// frame then gets the time stamp of the window's oldest sample. Index 0 itself is not examined.
std::int32_t PitchRecWaveIn::FindOnset(const Frame& frame) const {
    if (Now.Amplitude < NoteOnThreshold) return 0;
    for (std::int32_t i = std::max(frame.FirstNew(), 1); i < frame.Count; ++i)
        if (std::abs(std::int32_t{frame.Window[i]}) >= NoteOnThreshold) return i;
    return 0;
}

} // namespace Sonorel
