#include "host/sound/live_analyser.h"

#include "hearing/pitch.h"
#include "host/terminal/host_error.h"
#include "host/terminal/names.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zorhost {

namespace {

constexpr std::int32_t Interruption = 250; // milliseconds without sound; less is a late delivery

// -1 to 1.
float SampleAt(const std::uint8_t* at, std::int32_t bits) {
    if (bits == 8) return static_cast<float>(at[0] - 128) / 128;
    return static_cast<float>(static_cast<std::int16_t>(at[0] | at[1] << 8)) / 32768;
}

} // namespace

Ear::Ear() {
    // Where the device has them: what is raised must not be coarse.
    Capture.BitsPerSample = 16;
    Capture.SetCallback(Hear, this);
    const bool opened = Capture.Open(AnalysisRate);
    if (opened && Capture.Start()) return;
    Capture.Close();
    throw HostError(opened ? "the microphone does not start" : "the microphone cannot be opened");
}

Ear::~Ear() {
    Capture.Stop();
    Capture.Close();
}

// Thread: the delivering one.
void Ear::Hear(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes, void* self) {
    static_cast<Ear*>(self)->TakeBlock(time, data, bytes);
}

// The first channel; at higher rates of the device only every so many frames, as the library does.
void Ear::TakeBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes) {
    const auto every = std::max<std::int32_t>(
        1, static_cast<std::int32_t>(Capture.GetSampleRate()) / AnalysisRate);
    const std::int32_t stride = every * Capture.Channels * Capture.BitsPerSample / 8;
    for (std::int32_t at = 0; at + stride <= bytes; at += stride) {
        const float sample = SampleAt(data + at, Capture.BitsPerSample);
        InputPeak = std::max(InputPeak, std::fabs(sample));
        Gathered[Count++] = sample;
        if (Count == FrameSamples) TakeGathered(time);
    }
}

void Ear::TakeGathered(std::uint32_t time) {
    const auto gap = static_cast<std::int32_t>(time - Before);
    if (Written.load(std::memory_order_relaxed) > 0 && gap >= Interruption)
        Maker.Pass(std::lround(gap / 1000.0 / hearing::FrameSeconds) - 1);
    Before = time;
    Filter.Apply(Gathered);
    const hearing::Frame frame = Maker.Take(Gathered, Gain.For(Gathered));
    const auto level = static_cast<int>(std::lround(InputPeak * FullLevel));
    Count = 0;
    InputPeak = 0;
    const std::size_t written = Written.load(std::memory_order_relaxed);
    if (written == 0) {
        Begun.store(time - static_cast<std::uint32_t>(hearing::FrameSeconds * 1000),
                    std::memory_order_relaxed);
    }
    if (written - Read.load(std::memory_order_acquire) == Ring.size()) return;
    Ring[written % Ring.size()] = {frame, level};
    Written.store(written + 1, std::memory_order_release);
}

void Ear::Take(std::vector<HeardFrame>& frames) {
    std::size_t read = Read.load(std::memory_order_relaxed);
    const std::size_t written = Written.load(std::memory_order_acquire);
    while (read != written) frames.push_back(Ring[read++ % Ring.size()]);
    Read.store(read, std::memory_order_release);
}

std::string PitchText(double frequency) {
    if (frequency <= 0) return {};
    const double exact = hearing::PitchOf(frequency);
    const int note = static_cast<int>(std::lround(exact));
    if (note < 0 || note > 127) return {};
    char text[32];
    std::snprintf(text, sizeof text, "%s %+.0f", NoteName(note).c_str(), (exact - note) * 100);
    return text;
}

} // namespace zorhost
