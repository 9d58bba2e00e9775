#include "host/frame_maker.h"

#include "host/host_error.h"
#include "soundin/sound_in.h"

#include <algorithm>
#include <cmath>

namespace zorhost {

namespace {

// The blocks are handed in.
class NoDevice : public Sonorel::SoundIn {
public:
    std::uint32_t GetSampleRate() override { return AnalysisRate; }
    bool Open(std::uint32_t) override { return true; }
    bool Close() override { return true; }
    bool Start() override { return true; }
    bool Stop() override { return true; }
};

// Rounded: the half comes off again as what is above zero is cut.
std::uint8_t Byte(float sample) {
    const float shifted = sample * FullLevel + 128.5f;
    const float positive = shifted > 0 ? shifted : 0;
    return static_cast<std::uint8_t>(static_cast<int>(positive < 255 ? positive : 255));
}

} // namespace

FrameMaker::FrameMaker() : Recogniser(new NoDevice) {
    if (!Recogniser.Open(AnalysisRate)) throw HostError("out of memory");
}

hearing::Frame FrameMaker::Take(std::span<const float, FrameSamples> samples, float gain) {
    for (std::size_t i = 0; i < FrameSamples; ++i) {
        Bytes[2 * i] = Bytes[2 * i + 1] = Byte(samples[i] * gain);
    }
    const double begin = static_cast<double>(Frames++) * hearing::FrameSeconds;
    const auto end = static_cast<std::uint32_t>(Frames * 1000 * FrameSamples / AnalysisRate);
    Sonorel::PitchRecWaveIn::ProcessChunk(end, Bytes.data(), 2 * FrameSamples, &Recogniser);
    // Its notes are not asked for: a full ring takes no more.
    const Sonorel::FrameState& now = Recogniser.Now;
    return {begin, std::max(begin, now.OnsetTime / 1000.0), now.Frequency, now.Amplitude, gain};
}

} // namespace zorhost
