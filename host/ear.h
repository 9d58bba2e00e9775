// A recogniser of the host's own beside the library's, on the same microphone, for what the library
// does not tell: the level and the exact pitch of each frame.
#pragma once

#include "pitchrec/pitch_rec.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zorhost {

struct Frame {
    std::uint32_t Time; // of its end, milliseconds on the system's clock
    std::int32_t Level; // greatest sample, 0 to 128
    double Frequency;   // Hz, 0 for no pitch
    std::int32_t Note;  // held as sounding, Sonorel::NoNote for none
};

class Ear {
public:
    // Opens the first microphone and listens. Throws HostError if it cannot be opened.
    Ear();
    ~Ear();
    Ear(const Ear&) = delete;
    Ear& operator=(const Ear&) = delete;

    // Appends the frames since the last call. Some 20 seconds of them are kept for it.
    void Take(std::vector<Frame>& frames);

    // Levels at which a note can begin, and may go on.
    std::int32_t OnLevel() const { return Recogniser.NoteOnThreshold; }
    std::int32_t OffLevel() const { return Recogniser.NoteOffThreshold; }

private:
    static void Hear(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes, void* ear);

    Sonorel::PitchRecWaveIn Recogniser;
    // One producer, the delivering thread, and one consumer; each writes its own count.
    std::array<Frame, 1024> Ring{};
    std::atomic<std::size_t> Written{0}; // released after the frame is in place
    std::atomic<std::size_t> Read{0};    // released after it has been taken
};

// "A4 +12", or the empty text without a pitch.
std::string PitchText(double frequency);

} // namespace zorhost
