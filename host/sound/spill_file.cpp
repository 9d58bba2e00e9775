// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "host/sound/spill_file.h"

#include "host/terminal/host_error.h"

#include <algorithm>
#include <cmath>

namespace zorhost {

namespace {

float PeakOf(const Block& block) {
    float peak = 0;
    for (const float sample : block) peak = std::max(peak, std::fabs(sample));
    return peak;
}

} // namespace

void SpillFile::Write(const Block& block) {
    if (Memory.size() == MaxInMemory) Spill();
    Memory.push_back(block);
    Greatest = std::max(Greatest, PeakOf(block));
}

// Moves the blocks in memory to the temporary file.
void SpillFile::Spill() {
    if (!File) File.reset(std::tmpfile());
    for (const Block& block : Memory) {
        if (File && std::fwrite(block.data(), sizeof block, 1, File.get()) == 1) continue;
        throw HostError("no disk space is left to store the sound during its analysis");
    }
    Memory.clear();
}

void SpillFile::Rewind() {
    if (!File) return;
    Spill();
    std::rewind(File.get());
}

bool SpillFile::Read(Block& block) {
    if (File) return std::fread(block.data(), sizeof block, 1, File.get()) == 1;
    if (Memory.empty()) return false;
    block = Memory.front();
    Memory.pop_front();
    return true;
}

} // namespace zorhost
