// A recogniser of the host's own beside the library's, on the same microphone, for what the library
// does not tell: the level and the exact pitch of each frame.
#pragma once

#include "host/sound/frame_analyser.h"
#include "soundin/sound_in_win.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zorhost {

struct HeardFrame {
    hearing::Frame Of;  // filtered and raised
    int InputLevel = 0; // as the microphone gives it, 0 to 128
};

class Ear {
public:
    // Opens the first microphone and listens. Throws HostError if it cannot be opened.
    Ear();
    ~Ear();
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    // Appends the frames since the last call. Some 20 seconds of them are kept for it. Where the
    // microphone was away meanwhile, their times go on as the clock did.
    void Take(std::vector<HeardFrame>& frames);
    // When the first frame began, in milliseconds on the system's clock. Once there is one.
    std::uint32_t StartTime() const { return Begun.load(std::memory_order_relaxed); }

private:
    static void Hear(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes, void* ear);
    void TakeBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes);
    void TakeGathered(std::uint32_t time);

    // Of the delivering thread.
    ToneFilter Filter;
    LiveGain Gain{LeastLivePeak};
    FrameMaker Maker;
    std::array<float, FrameSamples> Gathered{};
    std::size_t Count = 0; // of them
    float InputPeak = 0;
    std::uint32_t Before = 0; // time of the frame before

    // One producer, the delivering thread, and one consumer; each writes its own count.
    std::array<HeardFrame, 1024> Ring{};
    std::atomic<std::size_t> Written{0}; // released after the frame is in place
    std::atomic<std::size_t> Read{0};    // released after it has been taken
    std::atomic<std::uint32_t> Begun{0}; // written before the first frame is released

    Sonorel::SoundInWin Capture; // last: it is gone before what it writes to
};

// "A4 +12", or the empty text without a pitch.
std::string PitchText(double frequency);

} // namespace zorhost
