// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Stores the samples of a sound between two passes over it.
#pragma once

#include "host/sound/sound_file.h"

#include <cstdio>
#include <deque>
#include <memory>

namespace zorhost {

// The first 12 minutes are kept in memory; a longer sound is moved to an unnamed temporary file.
class SpillFile {
public:
    // Appends a block. Throws HostError if the disk is full.
    void Write(const Block& block);
    // Greatest absolute sample so far; 1 is full scale.
    float Peak() const { return Greatest; }
    // Prepares for reading. Call it once, after the last Write. Throws HostError.
    void Rewind();
    // Reads the next block. False at the end.
    bool Read(Block& block);

private:
    static constexpr std::size_t MaxInMemory = std::size_t{1} << 15; // blocks, 64 MB

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void Spill();

    std::deque<Block> Memory; // a deque grows without moving its blocks
    float Greatest = 0;
    std::unique_ptr<std::FILE, Close> File; // null while Memory suffices
};

} // namespace zorhost
