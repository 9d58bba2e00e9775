// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The results of one frame, that is of one block from the microphone.
#pragma once

#include <cstdint>

namespace Sonorel {

// Value of the note fields without a note; 0 is a note.
constexpr std::int32_t NoNote = 255;

// Amplitudes are in sample units (full scale is 128 with 8-bit sound). Times are milliseconds on
// the timeGetTime clock.
struct FrameState {
    double Frequency = 0.0;       // Hz; 0.0: no period found
    std::int32_t CentsOffset = 0; // from the detected note, -50 to 49; in mode 1 from the held note
    std::int32_t OnsetTime = 0;   // time stamp of the frame's events
    std::int32_t Amplitude = 0;   // largest absolute sample of the block
    std::int32_t DetectedNote = NoNote; // measured in this frame
    std::int32_t ActiveNote = NoNote;   // sounding after this frame
    std::int32_t HoldFrames = 0; // mode 1: frames with the same note; kept from frame to frame
    std::int32_t Extreme = 0;   // MaxSample or MinSample, the larger in amount; on a tie the latter
    std::int32_t MaxSample = 0; // largest sample of the block, 0 or more
    std::int32_t MinSample = 0; // smallest sample of the block, 0 or less
    std::int32_t BlockPeakTime = 0; // attack detector: time of BlockPeak
    std::int32_t BlockPeak = 0;     // attack detector: peak of the last short block (12 ms)
};

} // namespace Sonorel
