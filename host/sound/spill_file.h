// Samples between two passes over a sound.
#pragma once

#include "host/sound/sound_file.h"

#include <cstdio>
#include <deque>
#include <memory>

namespace zorhost {

// Keeps 12 minutes in memory, and what is longer in a file without a name.
class Spool {
public:
    // Throws HostError if there is no room.
    void Write(const Block& block);
    // Greatest absolute sample so far.
    float Peak() const { return Greatest; }
    // After the last Write, once.
    void Rewind();
    // False at the end.
    bool Read(Block& block);

private:
    static constexpr std::size_t MostInMemory = std::size_t{1} << 15; // blocks, 64 MB

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void Spill();

    std::deque<Block> Memory; // does not move what it holds as it grows
    float Greatest = 0;
    std::unique_ptr<std::FILE, Close> File; // once there is more than Memory takes
};

} // namespace zorhost
