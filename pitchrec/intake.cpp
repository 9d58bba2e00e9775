// From the capture's block to 16-bit samples at 22,050 Hz in the store.
#include "pitchrec/frame.h"
#include "pitchrec/pitch_rec.h"
#include "soundin/sound_in.h"

#include <cstring>

namespace Sonorel {

namespace {

// Takes one sample every stride bytes: the first channel, and at higher rates of the device only
// every so many frames, unfiltered.
void FillFrom8Bits(std::int16_t* to, std::int32_t count, const std::uint8_t* from,
                   std::int64_t stride) {
    for (std::int32_t k = 0; k < count; ++k)
        to[k] = static_cast<std::int16_t>(from[k * stride] - 128);
}

// By bytes: a stride can be odd.
void FillFrom16Bits(std::int16_t* to, std::int32_t count, const std::uint8_t* from,
                    std::int64_t stride) {
    for (std::int32_t k = 0; k < count; ++k, from += stride)
        to[k] = static_cast<std::int16_t>(from[0] | from[1] << 8);
}

void Fill(std::int16_t* to, std::int32_t count, const std::uint8_t* from, std::int64_t stride,
          std::int32_t sampleBytes) {
    if (sampleBytes != 1) return FillFrom16Bits(to, count, from, stride);
    // The usual capture by itself: a stride known beforehand lets the compiler take many at once.
    if (stride == 2) return FillFrom8Bits(to, count, from, 2);
    FillFrom8Bits(to, count, from, stride);
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
    const std::int64_t stride = std::int64_t{Input->Channels} * sampleBytes *
                                std::int64_t{Input->GetSampleRate()} / SampleRate;
    // A device slower than the analysis, or a block longer than the store: dropped whole.
    if (stride < sampleBytes || stride < 1) return;
    const std::int64_t blockSamples = byteCount / stride;
    if (blockSamples > StoreSize) return;

    const auto count = static_cast<std::int32_t>(blockSamples);
    const std::int32_t kept = StoreSize - count;
    std::memmove(SampleStore.get(), SampleStore.get() + count,
                 static_cast<std::size_t>(kept) * sizeof(std::int16_t));
    Fill(SampleStore.get() + kept, count, data, stride, sampleBytes);

    ValidSamples += count;
    if (ValidSamples > StoreSize) ValidSamples = StoreSize;
    ProcessFrame({time, SampleStore.get() + StoreSize - ValidSamples, ValidSamples, count});
}

} // namespace Sonorel
