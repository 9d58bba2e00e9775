// From the capture's block to 16-bit samples at 22,050 Hz in the store.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"
#include "soundin/sound_in.h"

#include <algorithm>
#include <cstring>

namespace Sonorel {

namespace {

// Takes one sample every stride bytes: the first channel, and at higher rates of the device only
// every so many frames, unfiltered. The peaks are found on the way, while the samples are at hand.
Extremes FillFrom8Bits(std::int16_t* to, std::int32_t count, const std::uint8_t* from,
                       std::ptrdiff_t stride) {
    Extremes peaks;
    for (std::int32_t k = 0; k < count; ++k) {
        to[k] = static_cast<std::int16_t>(from[k * stride] - 128);
        peaks.Most = std::max(peaks.Most, to[k]);
        peaks.Least = std::min(peaks.Least, to[k]);
    }
    return peaks;
}

// By bytes: a stride can be odd.
Extremes FillFrom16Bits(std::int16_t* to, std::int32_t count, const std::uint8_t* from,
                        std::ptrdiff_t stride) {
    Extremes peaks;
    for (std::int32_t k = 0; k < count; ++k, from += stride) {
        to[k] = static_cast<std::int16_t>(from[0] | from[1] << 8);
        peaks.Most = std::max(peaks.Most, to[k]);
        peaks.Least = std::min(peaks.Least, to[k]);
    }
    return peaks;
}

Extremes Fill(std::int16_t* to, std::int32_t count, const std::uint8_t* from, std::ptrdiff_t stride,
              std::int32_t sampleBytes) {
    if (sampleBytes != 1) return FillFrom16Bits(to, count, from, stride);
    // The usual capture by itself: a stride known beforehand lets the compiler take many at once.
    if (stride == 2) return FillFrom8Bits(to, count, from, 2);
    return FillFrom8Bits(to, count, from, stride);
}

} // namespace

void PitchRecWaveIn::ProcessChunk(std::uint32_t time, const std::uint8_t* data,
                                  std::int32_t byteCount, void* context) {
    auto* recogniser = static_cast<PitchRecWaveIn*>(context);
    if (!recogniser || !recogniser->Input) return;
    recogniser->TakeBlock(time, data, byteCount);
}

void PitchRecWaveIn::TakeBlock(std::uint32_t time, const std::uint8_t* data,
                               std::int32_t byteCount) {
    if (!SampleStore || byteCount < 0) return; // not open
    const std::int32_t sampleBytes = Input->BitsPerSample / 8;
    const std::int64_t bytesPerSecond =
        std::int64_t{Input->Channels} * sampleBytes * std::int64_t{Input->GetSampleRate()};
    const auto stride = static_cast<std::int32_t>(bytesPerSecond / SampleRate);
    // A device slower than the analysis, or a block longer than the store: dropped whole.
    if (stride < sampleBytes || stride < 1) return;
    const std::int32_t count = byteCount / stride;
    if (count > StoreSize) return;

    const std::int32_t kept = StoreSize - count;
    std::memmove(SampleStore.get(), SampleStore.get() + count,
                 static_cast<std::size_t>(kept) * sizeof(std::int16_t));
    const Extremes peaks = Fill(SampleStore.get() + kept, count, data, stride, sampleBytes);

    ValidSamples += count;
    if (ValidSamples > StoreSize) ValidSamples = StoreSize;
    ProcessFrame({time, SampleStore.get() + StoreSize - ValidSamples, ValidSamples, count, peaks});
}

} // namespace Sonorel
