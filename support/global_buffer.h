// One zero-filled block of the system's global memory.
#pragma once

#include "platform/platform.h"

#include <cstdint>

namespace Sonorel {

// Not shared between threads; what a lock gave may be.
class GlobalBuffer {
public:
    // size: bytes; 0 takes no block. kind: 1 or 2 for a block that this object takes and frees.
    // owned: the destructor unlocks and frees the block. Out of memory: Handle is null.
    GlobalBuffer(std::uint32_t size, std::int32_t kind, bool owned);
    GlobalBuffer(const GlobalBuffer&) = delete;
    GlobalBuffer& operator=(const GlobalBuffer&) = delete;
    ~GlobalBuffer();

    // The block's address, the same until the destructor; null without a block.
    void* Lock();

    HGLOBAL Handle = nullptr;
    std::int32_t Kind;
    std::int32_t LockCount = 0; // locks not given back; the destructor gives them back
    std::uint32_t Size;         // bytes
    bool Owned;

private:
    bool TakesBlock() const { return Kind == 1 || Kind == 2; }
};

} // namespace Sonorel
