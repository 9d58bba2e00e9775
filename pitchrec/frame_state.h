// One frame: what was measured in one block from the microphone.
#pragma once

#include <cstdint>

namespace Sonorel {

// In the note fields: no note. Not 0, which is a note.
constexpr std::int32_t NoNote = 255;

// Amplitudes are in sample units. Times are milliseconds on the timeGetTime clock.
struct FrameState {
    double Frequency = 0.0;       // Hz; 0.0: no period found
    std::int32_t CentsOffset = 0; // from the detected note, -50..49; in mode 1 from the held one
    std::int32_t OnsetTime = 0;   // stamp of the frame's events
    std::int32_t Amplitude = 0;   // greatest absolute new sample
    std::int32_t DetectedNote = NoNote; // measured in this frame
    std::int32_t ActiveNote = NoNote;   // held as sounding after this frame
    std::int32_t HoldFrames = 0;        // mode 1: frames on the note; carried from frame to frame
    std::int32_t Extreme = 0;           // the larger peak with its sign; on a tie the negative one
    std::int32_t MaxSample = 0;         // of the new samples, never below 0
    std::int32_t MinSample = 0;         // of the new samples, never above 0
    std::int32_t BlockPeakTime = 0;     // attack detector: when BlockPeak was
    std::int32_t BlockPeak = 0;         // attack detector: peak of the last short block
};

} // namespace Sonorel
