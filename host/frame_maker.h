// The recogniser, fed with samples instead of a device, for what the library does not tell: the
// level and the exact pitch of each frame.
#pragma once

#include "hearing/frame.h"
#include "pitchrec/pitch_rec.h"

#include <array>
#include <cstdint>
#include <span>

namespace zorhost {

constexpr std::int32_t AnalysisRate = 22050; // Hz
constexpr std::size_t FrameSamples = 512;
static_assert(hearing::FrameSeconds == FrameSamples / double{AnalysisRate});
constexpr int FullLevel = 128;

class FrameMaker {
public:
    // Throws HostError if memory is short.
    FrameMaker();

    // Samples from -1 to 1, times gain. Real time: yes.
    hearing::Frame Take(std::span<const float, FrameSamples> samples, float gain);

    // Levels from which a pitch is searched for at first, and further on.
    std::int32_t OnLevel() const { return Recogniser.NoteOnThreshold; }
    std::int32_t OffLevel() const { return Recogniser.NoteOffThreshold; }

private:
    Sonorel::PitchRecWaveIn Recogniser;
    // Both channels of the usual capture, which the recogniser takes fastest.
    std::array<std::uint8_t, 2 * FrameSamples> Bytes{};
    std::int64_t Frames = 0;
};

} // namespace zorhost
