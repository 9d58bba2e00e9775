// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Converts blocks from the capture device to 16-bit samples at 22,050 Hz in the store.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"
#include "soundin/sound_in.h"

#include <algorithm>
#include <cstring>

namespace Sonorel {

namespace {

// Copies one sample every stride bytes: the first channel and, at higher device rates, every n-th
// frame without a filter. Returns the extremes, found in the same pass.
Extremes Convert8Bits(std::int16_t* target, std::int32_t count, const std::uint8_t* source,
                      std::ptrdiff_t stride) {
    Extremes peaks;
    for (std::int32_t k = 0; k < count; ++k) {
        target[k] = static_cast<std::int16_t>(source[k * stride] - 128);
        peaks.Highest = std::max(peaks.Highest, target[k]);
        peaks.Lowest = std::min(peaks.Lowest, target[k]);
    }
    return peaks;
}

// Little-endian. Reads bytes, since a stride can be odd.
Extremes Convert16Bits(std::int16_t* target, std::int32_t count, const std::uint8_t* source,
                       std::ptrdiff_t stride) {
    Extremes peaks;
    for (std::int32_t k = 0; k < count; ++k, source += stride) {
        target[k] = static_cast<std::int16_t>(source[0] | source[1] << 8);
        peaks.Highest = std::max(peaks.Highest, target[k]);
        peaks.Lowest = std::min(peaks.Lowest, target[k]);
    }
    return peaks;
}

Extremes Convert(std::int16_t* target, std::int32_t count, const std::uint8_t* source,
                 std::ptrdiff_t stride, std::int32_t sampleBytes) {
    if (sampleBytes != 1) return Convert16Bits(target, count, source, stride);
    // The usual format, 8-bit stereo, apart: the loop vectorises with a constant stride.
    if (stride == 2) return Convert8Bits(target, count, source, 2);
    return Convert8Bits(target, count, source, stride);
}

} // namespace

void PitchRecWaveIn::ProcessChunk(std::uint32_t time, const std::uint8_t* data,
                                  std::int32_t byteCount, void* context) {
    auto* recogniser = static_cast<PitchRecWaveIn*>(context);
    if (!recogniser || !recogniser->Input) return;
    recogniser->ProcessBlock(time, data, byteCount);
}

void PitchRecWaveIn::ProcessBlock(std::uint32_t time, const std::uint8_t* data,
                                  std::int32_t byteCount) {
    if (!SampleStore || byteCount < 0) return; // not open
    const std::int32_t sampleBytes = Input->BitsPerSample / 8;
    const std::int64_t bytesPerSecond =
        std::int64_t{Input->Channels} * sampleBytes * std::int64_t{Input->GetSampleRate()};
    const auto stride = static_cast<std::int32_t>(bytesPerSecond / SampleRate);
    // Drop the block if the device is slower than the analysis or the block longer than the store.
    if (stride < sampleBytes || stride < 1) return;
    const std::int32_t count = byteCount / stride;
    if (count > StoreSize) return;

    const std::int32_t kept = StoreSize - count;
    std::memmove(SampleStore.get(), SampleStore.get() + count,
                 static_cast<std::size_t>(kept) * sizeof(std::int16_t));
    const Extremes peaks = Convert(SampleStore.get() + kept, count, data, stride, sampleBytes);

    ValidSamples += count;
    if (ValidSamples > StoreSize) ValidSamples = StoreSize;
    ProcessFrame({time, SampleStore.get() + StoreSize - ValidSamples, ValidSamples, count, peaks});
}

} // namespace Sonorel
