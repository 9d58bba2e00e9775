// One frame: state rolled on, peaks measured, gate applied, events put out.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"

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
    std::int32_t loud = 0; // index 0 itself is not told from "none yet"
    for (std::int32_t i = frame.FirstNew(); i < frame.Count; ++i) {
        const std::int32_t sample = frame.Window[i];
        if (sample > Now.MaxSample)
            Now.MaxSample = sample;
        else if (sample < Now.MinSample)
            Now.MinSample = sample;
        if (loud == 0 && std::abs(sample) >= NoteOnThreshold) loud = i;
    }
    Now.Extreme = Now.MaxSample > -Now.MinSample ? Now.MaxSample : Now.MinSample;
    Now.Amplitude = std::abs(Now.Extreme);
    // Without a loud sample this is the time of the window's oldest one.
    Now.OnsetTime = frame.TimeOf(loud, SampleRate);
    const std::int32_t level = SignalLevel.load(std::memory_order_relaxed);
    SignalLevel.store((level + Now.Amplitude) / 2, std::memory_order_relaxed);
}

} // namespace Sonorel
