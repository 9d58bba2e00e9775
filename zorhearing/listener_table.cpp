// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "zorhearing/listener_table.h"

#include <array>
#include <mutex>

namespace zorhearing {

namespace {

constexpr std::size_t ChunkSlots = 256;
constexpr std::size_t MaxChunks = 256;
constexpr std::uint64_t SlotCount = ChunkSlots * MaxChunks;

using Chunk = std::array<ListenerSlot, ChunkSlots>;

// A number is the index of its slot plus a multiple of SlotCount. Chunks stay until the process
// ends, since a thread with an old number can look into them at any time.
std::array<std::atomic<Chunk*>, MaxChunks> Chunks;
std::mutex Adding; // protects the search for a free slot

ListenerSlot* SlotOf(std::uint64_t number) {
    const std::uint64_t index = number % SlotCount;
    Chunk* chunk = Chunks[index / ChunkSlots].load(std::memory_order_acquire);
    return chunk ? &(*chunk)[index % ChunkSlots] : nullptr;
}

// The caller has set Busy.
void Free(ListenerSlot& slot) {
    slot.Object.reset();
    slot.State.store(0, std::memory_order_release);
}

} // namespace

std::int64_t AddListener(std::unique_ptr<Listener> listener) {
    const std::lock_guard lock(Adding);
    for (std::uint64_t index = 0; index < SlotCount; ++index) {
        std::atomic<Chunk*>& chunk = Chunks[index / ChunkSlots];
        if (!chunk.load(std::memory_order_relaxed))
            chunk.store(new Chunk, std::memory_order_release);
        ListenerSlot& slot = *SlotOf(index);
        if (slot.State.load(std::memory_order_acquire) != 0) continue;
        slot.LastNumber = slot.LastNumber == 0 ? index + SlotCount : slot.LastNumber + SlotCount;
        slot.Object = std::move(listener);
        slot.State.store(4 * slot.LastNumber, std::memory_order_release);
        return static_cast<std::int64_t>(slot.LastNumber);
    }
    return 0;
}

ListenerUse::ListenerUse(std::int64_t number) : Number(static_cast<std::uint64_t>(number)) {
    ListenerSlot* slot = number > 0 ? SlotOf(Number) : nullptr;
    if (!slot) return;
    std::uint64_t state = 4 * Number;
    if (slot->State.compare_exchange_strong(state, state | ListenerSlot::Busy,
                                            std::memory_order_acquire)) {
        Slot = slot;
        Granted = Access::Granted;
    } else if (state == (4 * Number | ListenerSlot::Busy)) {
        Granted = Access::Busy;
    }
}

ListenerUse::~ListenerUse() {
    if (!Slot) return;
    std::uint64_t state = 4 * Number | ListenerSlot::Busy;
    if (!Slot->State.compare_exchange_strong(state, 4 * Number, std::memory_order_release,
                                             std::memory_order_acquire))
        Free(*Slot);
}

bool RemoveListener(std::int64_t number) {
    if (number <= 0) return false;
    const auto open = 4 * static_cast<std::uint64_t>(number);
    ListenerSlot* slot = SlotOf(static_cast<std::uint64_t>(number));
    if (!slot) return false;
    for (;;) {
        std::uint64_t state = slot->State.load(std::memory_order_acquire);
        if (state == open) {
            // Closing, too: another thread that closes it meanwhile comes too late.
            if (!slot->State.compare_exchange_strong(
                    state, open | ListenerSlot::Busy | ListenerSlot::Closing,
                    std::memory_order_acquire))
                continue;
            Free(*slot);
            return true;
        }
        if (state != (open | ListenerSlot::Busy)) return false;
        if (slot->State.compare_exchange_strong(state, state | ListenerSlot::Closing,
                                                std::memory_order_acq_rel))
            return true;
    }
}

} // namespace zorhearing
