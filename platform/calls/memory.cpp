// Global memory. A block's handle lies before its address, so that nobody gets by with the one for
// the other. Blocks stay where they are, so that locks need no count.
#include "platform/machine/faults.h"
#include "platform/system/kernel.h"

#include <cstdlib>

namespace zorsystem {

using namespace machine;

namespace {

constexpr SIZE_T LargestBlock = 0x7FFF0000; // what the system has to give to one block
// What malloc gives is aligned for everything, and so is what comes behind this room.
constexpr SIZE_T Room = alignof(std::max_align_t);

} // namespace

HGLOBAL GlobalAlloc(UINT /*flags*/, SIZE_T bytes) {
    if (const Failure failure{Call::GlobalAlloc}) return failure;
    return bytes <= LargestBlock ? std::calloc(Room + bytes, 1) : nullptr;
}

LPVOID GlobalLock(HGLOBAL memory) {
    if (const Failure failure{Call::GlobalLock}) return failure;
    return static_cast<char*>(memory) + Room;
}

BOOL GlobalUnlock(HGLOBAL /*memory*/) { return FALSE; }

HGLOBAL GlobalHandle(const void* address) {
    return const_cast<char*>(static_cast<const char*>(address)) - Room;
}

// Null for success.
HGLOBAL GlobalFree(HGLOBAL memory) {
    std::free(memory);
    return nullptr;
}

} // namespace zorsystem
