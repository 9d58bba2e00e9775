// Samples between two passes over a sound.
#pragma once

#include "host/resampled.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <utility>

namespace zorhost {

// Keeps 25 minutes in memory, and what is longer in a file without a name. In 16 bits, which leaves
// a take of a thousandth of full scale what the recogniser's 8 bits can tell.
class Spool {
public:
    // Throws HostError if there is no room.
    void Write(const Block& block);
    // Greatest so far; 1 is full scale.
    float Peak() const { return static_cast<float>(std::max<int>(Most, -Least)) / FullScale; }
    // After the last Write, once.
    void Rewind();
    // False at the end.
    bool Read(Block& block);

private:
    using Packed = std::array<std::int16_t, FrameSamples>;

    static constexpr float FullScale = 32767;
    static constexpr std::size_t MostInMemory = std::size_t{1} << 16; // blocks

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    static std::pair<std::int16_t, std::int16_t> Extremes(const Packed& packed);
    void Spill();

    std::deque<Packed> Memory; // does not move what it holds as it grows
    std::int16_t Most = 0;
    std::int16_t Least = 0;
    std::unique_ptr<std::FILE, Close> File; // once there is more than Memory takes
};

} // namespace zorhost
