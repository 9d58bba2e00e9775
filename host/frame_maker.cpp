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
    NoDevice() { Channels = BytesPerFrame = 1; }
    std::uint32_t GetSampleRate() override { return AnalysisRate; }
    bool Open(std::uint32_t) override { return true; }
    bool Close() override { return true; }
    bool Start() override { return true; }
    bool Stop() override { return true; }
};

// Rounded: the half comes off again as what is above zero is cut.
std::uint8_t Byte(float sample) {
    return static_cast<std::uint8_t>(std::clamp(sample * FullLevel + 128.5f, 0.0f, 255.0f));
}

} // namespace

FrameMaker::FrameMaker() : Recogniser(new NoDevice) {
    if (!Recogniser.Open(AnalysisRate)) throw HostError("out of memory");
}

hearing::Frame FrameMaker::Take(std::span<const float, FrameSamples> samples, float gain) {
    std::ranges::transform(samples, Bytes.begin(),
                           [gain](float sample) { return Byte(sample * gain); });
    const double begin = static_cast<double>(Frames++) * hearing::FrameSeconds;
    const auto end = static_cast<std::uint32_t>(Frames * 1000 * FrameSamples / AnalysisRate);
    Sonorel::PitchRecWaveIn::ProcessChunk(end, Bytes.data(), FrameSamples, &Recogniser);
    // Its notes are not asked for: a full ring takes no more.
    const Sonorel::FrameState& now = Recogniser.Now;
    return {begin, std::max(begin, now.OnsetTime / 1000.0), now.Frequency, now.Amplitude};
}

} // namespace zorhost
