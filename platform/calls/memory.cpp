// Global memory. Before a block stands its handle: a fixed block's is its address, a moveable one's
// lies in front of it, so that nobody gets by with a handle for an address.
#include "platform/machine/fault_point.h"
#include "platform/system/kernel.h"

#include <cstdlib>

namespace zorsystem {

using namespace machine;

namespace {

constexpr SIZE_T LargestBlock = 0x7FFF0000; // what the system has to give to one block
// What malloc gives is aligned for everything, and so is what comes behind this room.
constexpr std::uintptr_t Room = alignof(std::max_align_t);

void* AddressOf(HGLOBAL memory) {
    return reinterpret_cast<void*>((reinterpret_cast<std::uintptr_t>(memory) + Room - 1) / Room *
                                   Room);
}

} // namespace

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
    if (const Failure failure{Call::GlobalAlloc}) return failure;
    if (bytes > LargestBlock) return nullptr;
    auto* const memory = static_cast<char*>(std::calloc(Room + bytes, 1));
    if (!memory) return nullptr;
    auto* const handle = reinterpret_cast<HGLOBAL*>(memory + Room) - 1;
    *handle = (flags & GMEM_MOVEABLE) ? static_cast<void*>(handle) : memory + Room;
    return *handle;
}

LPVOID GlobalLock(HGLOBAL memory) {
    if (const Failure failure{Call::GlobalLock}) return failure;
    return AddressOf(memory);
}

// Blocks stay where they are, so that locks need no count.
BOOL GlobalUnlock(HGLOBAL /*memory*/) { return FALSE; }

HGLOBAL GlobalHandle(const void* address) {
    return address ? static_cast<const HGLOBAL*>(address)[-1] : nullptr;
}

// Null for success.
HGLOBAL GlobalFree(HGLOBAL memory) {
    if (memory) std::free(static_cast<char*>(AddressOf(memory)) - Room);
    return nullptr;
}

} // namespace zorsystem
