#include "platform/system/kernel.h"
#include "platform/virtual/fault_point.h"
#include "platform/virtual/kernel.h"
#include "platform/virtual/power.h"

#include <cstdlib>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace machine {
namespace {

constexpr SIZE_T LargestBlock = 0x7FFF0000; // what the system has to give to one block

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

struct Block {
    std::unique_ptr<void, FreeMemory> Memory;
    bool Moveable; // handle and address differ, and locks are counted
    int Locks;
};

struct Heap {
    std::mutex Lock;
    // By handle: the address of the record for a moveable block, of the memory for a fixed one.
    std::unordered_map<HGLOBAL, std::unique_ptr<Block>> Blocks;
    std::unordered_map<const void*, HGLOBAL> ByAddress;
};

Heap& The() {
    static Heap& heap = *new Heap;
    return heap;
}

Block* Find(Heap& heap, HGLOBAL memory) {
    const auto found = heap.Blocks.find(memory);
    return found == heap.Blocks.end() ? nullptr : found->second.get();
}

void Reset() {
    std::lock_guard lock(The().Lock);
    The().Blocks.clear();
    The().ByAddress.clear();
}
const AtPowerOn atPowerOn(Reset);

} // namespace

int GlobalBlocks() {
    std::lock_guard lock(The().Lock);
    return static_cast<int>(The().Blocks.size());
}

} // namespace machine

using namespace machine;

HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes) {
    if (const auto failure = OrderedFailure(Call::GlobalAlloc))
        return reinterpret_cast<HGLOBAL>(*failure);
    if (bytes > LargestBlock) return nullptr;
    const SIZE_T size = bytes == 0 ? 1 : bytes;
    auto block = std::make_unique<Block>();
    block->Memory.reset((flags & GMEM_ZEROINIT) ? std::calloc(size, 1) : std::malloc(size));
    if (!block->Memory) return nullptr;
    block->Moveable = (flags & GMEM_MOVEABLE) != 0;
    void* const address = block->Memory.get();
    const HGLOBAL handle = block->Moveable ? block.get() : address;
    std::lock_guard lock(The().Lock);
    The().ByAddress[address] = handle;
    The().Blocks[handle] = std::move(block);
    return handle;
}

LPVOID GlobalLock(HGLOBAL memory) {
    if (const auto failure = OrderedFailure(Call::GlobalLock))
        return reinterpret_cast<LPVOID>(*failure);
    std::lock_guard lock(The().Lock);
    Block* const block = Find(The(), memory);
    if (!block) return nullptr;
    if (block->Moveable) ++block->Locks;
    return block->Memory.get();
}

// TRUE while the block stays locked, as a fixed one always does.
BOOL GlobalUnlock(HGLOBAL memory) {
    std::lock_guard lock(The().Lock);
    Block* const block = Find(The(), memory);
    if (!block) return FALSE;
    if (!block->Moveable) return TRUE;
    if (block->Locks > 0) --block->Locks;
    return block->Locks > 0;
}

HGLOBAL GlobalHandle(const void* address) {
    std::lock_guard lock(The().Lock);
    const auto found = The().ByAddress.find(address);
    return found == The().ByAddress.end() ? nullptr : found->second;
}

// Null for success, the handle itself if it is none.
HGLOBAL GlobalFree(HGLOBAL memory) {
    std::lock_guard lock(The().Lock);
    const Block* const block = Find(The(), memory);
    if (!block) return memory;
    The().ByAddress.erase(block->Memory.get());
    The().Blocks.erase(memory);
    return nullptr;
}
