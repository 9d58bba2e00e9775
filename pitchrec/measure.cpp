// One frame: state rolled on, peaks measured, gate applied, events put out.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"

#include <algorithm>
#include <cstdlib>

namespace Sonorel {

void PitchRecWaveIn::ProcessFrame(const Frame& frame) {
    // Before the state rolls on: the gate follows the note held two frames ago.
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
    Now.MaxSample = frame.Peaks.Most;
    Now.MinSample = frame.Peaks.Least;
    Now.Extreme = Now.MaxSample > -Now.MinSample ? Now.MaxSample : Now.MinSample;
    Now.Amplitude = std::abs(Now.Extreme);
    Now.OnsetTime = frame.TimeOf(FirstLoud(frame), SampleRate);
    const std::int32_t level = SignalLevel.load(std::memory_order_relaxed);
    SignalLevel.store((level + Now.Amplitude) / 2, std::memory_order_relaxed);
}

// Window index of the first loud new sample, but never 0, which stands for "none": a frame without
// a loud sample is stamped with the window's oldest one, and so is one whose only one that is.
std::int32_t PitchRecWaveIn::FirstLoud(const Frame& frame) const {
    if (Now.Amplitude < NoteOnThreshold) return 0;
    for (std::int32_t i = std::max(frame.FirstNew(), 1); i < frame.Count; ++i)
        if (std::abs(std::int32_t{frame.Window[i]}) >= NoteOnThreshold) return i;
    return 0;
}

} // namespace Sonorel
