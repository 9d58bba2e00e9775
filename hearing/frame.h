// What the recogniser measured in one block of sound, as the decoder takes it.
#pragma once

namespace hearing {

// A block is 512 samples at 22,050 Hz.
constexpr double FrameSeconds = 512 / 22050.0;

struct Frame {
    double Begin = 0;     // seconds from the beginning of the sound, of the block's first sample
    double Loud = 0;      // likewise, of its first loud sample; Begin if it has none
    double Frequency = 0; // Hz; 0: no period found
    int Level = 0;        // greatest absolute sample, 0 to 128
    double Gain = 1;      // by which it had been raised beyond the take as a whole
};

} // namespace hearing
