#include "platform/virtual/pcm.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace machine {
namespace {

// Not-a-number counts as silence.
long Quantise(float sample, float fullScale) {
    const float scaled = sample * fullScale;
    if (!(scaled == scaled)) return 0;
    return std::lrintf(std::clamp(scaled, -fullScale, fullScale - 1));
}

} // namespace

void ToPcm(const float* samples, std::size_t count, unsigned bits, void* pcm) {
    auto* bytes = static_cast<std::uint8_t*>(pcm);
    if (bits == 8) {
        for (std::size_t i = 0; i < count; ++i)
            bytes[i] = static_cast<std::uint8_t>(Quantise(samples[i], 128) + 128);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto word = static_cast<std::uint16_t>(Quantise(samples[i], 32768));
        bytes[2 * i] = static_cast<std::uint8_t>(word);
        bytes[2 * i + 1] = static_cast<std::uint8_t>(word >> 8);
    }
}

} // namespace machine
