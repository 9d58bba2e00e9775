// Global memory. Before a block stand its handle and the count of its locks. The address of that
// count is the handle of a moveable block, so that nobody gets by with a handle for an address; a
// fixed block's handle is its address.
#include "platform/machine/fault_point.h"
#include "platform/system/kernel.h"

#include <cstdlib>

namespace zorsystem {

namespace {

constexpr SIZE_T LargestBlock = 0x7FFF0000; // what the system has to give to one block

struct Header {
    HGLOBAL Handle;
    SIZE_T Locks;
};
// What malloc gives is aligned for everything, and so is what comes behind a header of that size.
static_assert(sizeof(Header) <= alignof(std::max_align_t));
constexpr std::uintptr_t HeaderRoom = alignof(std::max_align_t);

Header& HeaderOf(void* address) { return static_cast<Header*>(address)[-1]; }

// A moveable block's handle lies less than the room before its address, a fixed one's upon it.
void* AddressOf(HGLOBAL memory) {
    const auto handle = reinterpret_cast<std::uintptr_t>(memory);
    return reinterpret_cast<void*>((handle + HeaderRoom - 1) / HeaderRoom * HeaderRoom);
}

bool IsMoveable(HGLOBAL memory) { return AddressOf(memory) != memory; }

} // namespace

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
    if (const auto failure = machine::OrderedFailure(machine::Call::GlobalAlloc))
        return reinterpret_cast<HGLOBAL>(*failure);
    if (bytes > LargestBlock) return nullptr;
    auto* const memory = static_cast<char*>(std::calloc(HeaderRoom + bytes, 1));
    if (!memory) return nullptr;
    void* const address = memory + HeaderRoom;
    Header& header = HeaderOf(address);
    header.Handle = (flags & GMEM_MOVEABLE) ? static_cast<void*>(&header.Locks) : address;
    return header.Handle;
}

LPVOID GlobalLock(HGLOBAL memory) {
    if (const auto failure = machine::OrderedFailure(machine::Call::GlobalLock))
        return reinterpret_cast<LPVOID>(*failure);
    if (!memory) return nullptr;
    void* const address = AddressOf(memory);
    if (IsMoveable(memory)) ++HeaderOf(address).Locks;
    return address;
}

// TRUE while the block stays locked, as a fixed one always does.
BOOL GlobalUnlock(HGLOBAL memory) {
    if (!memory) return FALSE;
    if (!IsMoveable(memory)) return TRUE;
    SIZE_T& locks = HeaderOf(AddressOf(memory)).Locks;
    if (locks > 0) --locks;
    return locks > 0;
}

HGLOBAL GlobalHandle(const void* address) {
    return address ? static_cast<const Header*>(address)[-1].Handle : nullptr;
}

// Null for success.
HGLOBAL GlobalFree(HGLOBAL memory) {
    if (memory) std::free(static_cast<char*>(AddressOf(memory)) - HeaderRoom);
    return nullptr;
}

} // namespace zorsystem
