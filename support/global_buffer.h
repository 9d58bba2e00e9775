// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// A zero-filled block of the system's global memory.
#pragma once

#include "platform/platform.h"

#include <cstdint>

namespace Sonorel {

// The object belongs to one thread; the block's memory may be shared.
class GlobalBuffer {
public:
    // size: bytes; 0 allocates nothing. kind: 1 or 2 for a block that this object allocates and
    // frees. owned: the destructor unlocks and frees the block. Out of memory: Handle is null.
    GlobalBuffer(std::uint32_t size, std::int32_t kind, bool owned);
    GlobalBuffer(const GlobalBuffer&) = delete;
    GlobalBuffer& operator=(const GlobalBuffer&) = delete;
    ~GlobalBuffer();

    // The block's address, the same until the destructor; null without a block.
    void* Lock();

    HGLOBAL Handle = nullptr;
    std::int32_t Kind;
    std::int32_t LockCount = 0; // calls of Lock that the destructor has to undo
    std::uint32_t Size;         // bytes
    bool Owned;

private:
    bool AllocatesBlock() const { return Kind == 1 || Kind == 2; }
};

} // namespace Sonorel
