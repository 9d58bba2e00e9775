// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Stores the samples of a sound between two passes over it.
#pragma once

#include "zorhearing/frame_analyser.h"

#include <cstdio>
#include <deque>
#include <memory>

namespace zorhearing {

// The first 12 minutes are kept in memory; a longer sound is moved to an unnamed temporary file,
// and stays in memory where none can be made.
class SampleStore {
public:
    // Appends a block. Throws std::bad_alloc if neither memory nor disk has room.
    void Write(const Block& block);
    // Greatest absolute sample so far; 1 is full scale.
    float Peak() const { return Greatest; }
    // Prepares for reading from the start. Write no more afterwards. Throws as Write.
    void Rewind();
    // Reads the next block. False at the end.
    bool Read(Block& block);

private:
    static constexpr std::size_t MaxInMemory = std::size_t{1} << 15; // blocks, 64 MB

    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    void Spill();

    std::deque<Block> Memory;  // a deque grows without moving its blocks
    std::size_t ReadCount = 0; // blocks of Memory
    float Greatest = 0;
    bool HasNoDisk = false;                 // no temporary file can be made here
    std::unique_ptr<std::FILE, Close> File; // null while Memory suffices
};

} // namespace zorhearing
