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
    const bool opened = Capture.Open(zorhearing::AnalysisRate);
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
        1, static_cast<std::int32_t>(Capture.GetSampleRate()) / zorhearing::AnalysisRate);
    const std::int32_t stride = every * Capture.Channels * Capture.BitsPerSample / 8;
    for (std::int32_t at = 0; at + stride <= bytes; at += stride) {
        Samples[SampleCount++] = SampleAt(data + at, Capture.BitsPerSample);
        if (SampleCount == Samples.size()) StoreCollected(time);
    }
}

void LiveAnalyser::StoreCollected(std::uint32_t time) {
    const std::size_t written = WriteCount.load(std::memory_order_relaxed);
    const auto gap = static_cast<std::int32_t>(time - PreviousTime);
    const bool interrupted = written > 0 && gap >= Interruption;
    const std::int64_t skipped =
        interrupted ? std::lround(gap / 1000.0 / hearing::FrameSeconds) - 1 : 0;
    PreviousTime = time;
    SampleCount = 0;
    if (written == 0) {
        BeginTime.store(time - static_cast<std::uint32_t>(hearing::FrameSeconds * 1000),
                        std::memory_order_relaxed);
    }
    if (written - ReadCount.load(std::memory_order_acquire) == Ring.size()) return;
    Ring[written % Ring.size()] = {Samples, skipped};
    WriteCount.store(written + 1, std::memory_order_release);
}

void LiveAnalyser::Analyse() {
    std::size_t read = ReadCount.load(std::memory_order_relaxed);
    const std::size_t written = WriteCount.load(std::memory_order_acquire);
    for (; read != written; ReadCount.store(++read, std::memory_order_release)) {
        const TimedBlock& block = Ring[read % Ring.size()];
        Listener.Skip(block.SkippedFrames);
        Listener.Feed(block.Samples.data(), block.Samples.size());
    }
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
