// Samples as a capture delivers them.
#pragma once

#include <cstddef>

namespace machine {

// count samples of -1 to 1, clipped, as PCM of 8 bits (unsigned, silence at 128) or 16 bits (signed
// little-endian). A sample that came from a file of the same width comes out as it was.
void ToPcm(const float* samples, std::size_t count, unsigned bits, void* pcm);

} // namespace machine
