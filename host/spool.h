// Samples between two passes over a sound.
#pragma once

#include "host/resampled.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

namespace zorhost {

// Keeps 25 minutes in memory, and what is longer in a file without a name. In 16 bits, which leaves
// a take of a thousandth of full scale what the recogniser's 8 bits can tell.
class Spool {
public:
    // Throws HostError if there is no room.
    void Write(const Block& block);
    // After the last Write, once.
    void Rewind();
    // False at the end.
    bool Read(Block& block);

private:
    static constexpr float FullScale = 32767;
    static constexpr std::size_t MostInMemory = std::size_t{1} << 25; // samples

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void Spill();

    std::vector<std::int16_t> Memory;
    std::size_t Next = 0;
    std::unique_ptr<std::FILE, Close> File; // once there is more than Memory takes
};

} // namespace zorhost
