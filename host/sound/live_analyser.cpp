// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/live_analyser.h"

#include "hearing/pitch.h"
#include "host/terminal/host_error.h"
#include "host/terminal/names.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace zorhost {

namespace {

// Milliseconds between blocks that count as an interruption; a shorter gap is a late delivery.
constexpr std::int32_t Interruption = 250;

// A sample of 8 or 16 bits, scaled to -1 to 1.
float SampleAt(const std::uint8_t* at, std::int32_t bits) {
    if (bits == 8) return static_cast<float>(at[0] - 128) / 128;
    return static_cast<float>(static_cast<std::int16_t>(at[0] | at[1] << 8)) / 32768;
}

} // namespace

LiveAnalyser::LiveAnalyser() {
    // If the device supports it: amplified 8-bit samples would be coarse.
    Capture.BitsPerSample = 16;
    Capture.SetCallback(OnBlock, this);
    const bool opened = Capture.Open(AnalysisRate);
    if (opened && Capture.Start()) return;
    Capture.Close();
    throw HostError(opened ? "the microphone does not start" : "the microphone cannot be opened");
}

LiveAnalyser::~LiveAnalyser() {
    Capture.Stop();
    Capture.Close();
}

// Thread: sound delivery.
void LiveAnalyser::OnBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes,
                           void* self) {
    static_cast<LiveAnalyser*>(self)->AddBlock(time, data, bytes);
}

// Collects samples of the first channel. If the device runs at a multiple of the analysis rate,
// only every nth sample is used, as in the library.
void LiveAnalyser::AddBlock(std::uint32_t time, const std::uint8_t* data, std::int32_t bytes) {
    const auto every = std::max<std::int32_t>(
        1, static_cast<std::int32_t>(Capture.GetSampleRate()) / AnalysisRate);
    const std::int32_t stride = every * Capture.Channels * Capture.BitsPerSample / 8;
    for (std::int32_t at = 0; at + stride <= bytes; at += stride) {
        const float sample = SampleAt(data + at, Capture.BitsPerSample);
        InputPeak = std::max(InputPeak, std::fabs(sample));
        Samples[SampleCount++] = sample;
        if (SampleCount == FrameSamples) AnalyseCollected(time);
    }
}

void LiveAnalyser::AnalyseCollected(std::uint32_t time) {
    const auto gap = static_cast<std::int32_t>(time - PreviousTime);
    if (WriteCount.load(std::memory_order_relaxed) > 0 && gap >= Interruption)
        Analyser.Skip(std::lround(gap / 1000.0 / hearing::FrameSeconds) - 1);
    PreviousTime = time;
    Filter.Apply(Samples);
    const hearing::Frame frame = Analyser.Analyse(Samples, Gain.Update(Samples));
    const auto level = static_cast<int>(std::lround(InputPeak * FullLevel));
    SampleCount = 0;
    InputPeak = 0;
    const std::size_t written = WriteCount.load(std::memory_order_relaxed);
    if (written == 0) {
        BeginTime.store(time - static_cast<std::uint32_t>(hearing::FrameSeconds * 1000),
                        std::memory_order_relaxed);
    }
    if (written - ReadCount.load(std::memory_order_acquire) == Ring.size()) return;
    Ring[written % Ring.size()] = {frame, level};
    WriteCount.store(written + 1, std::memory_order_release);
}

void LiveAnalyser::Drain(std::vector<LiveFrame>& frames) {
    std::size_t read = ReadCount.load(std::memory_order_relaxed);
    const std::size_t written = WriteCount.load(std::memory_order_acquire);
    while (read != written) frames.push_back(Ring[read++ % Ring.size()]);
    ReadCount.store(read, std::memory_order_release);
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
