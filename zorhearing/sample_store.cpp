// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/sample_store.h"

#include "zorhearing/temporary_file.h"

#include <algorithm>
#include <new>

namespace zorhearing {

void SampleStore::Write(const Block& block) {
    if (Memory.size() >= MaxInMemory && !HasNoDisk) Spill();
    Memory.push_back(block);
    Greatest = std::max(Greatest, PeakOf(block));
}

// Moves the blocks in memory to the temporary file.
void SampleStore::Spill() {
    if (!File) File.reset(OpenTemporaryFile());
    HasNoDisk = !File;
    if (HasNoDisk) return;
    for (const Block& block : Memory) {
        if (std::fwrite(block.data(), sizeof block, 1, File.get()) != 1) throw std::bad_alloc();
    }
    Memory.clear();
}

void SampleStore::Rewind() {
    ReadCount = 0;
    if (!File) return;
    Spill();
    std::rewind(File.get());
}

bool SampleStore::Read(Block& block) {
    if (File) return std::fread(block.data(), sizeof block, 1, File.get()) == 1;
    if (ReadCount == Memory.size()) return false;
    block = Memory[ReadCount++];
    return true;
}

} // namespace zorhearing
