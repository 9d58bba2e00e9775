// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/queues.h"

#include "engine/library_state.h"
#include "engine/sections.h"
#include "engine/time_base.h"
#include "engine/transmission.h"

#include <algorithm>

namespace {

constexpr auto relaxed = std::memory_order_relaxed;

// Null outside 0 to 2.
MIDIQueue* FindQueue(int index) {
    return index >= 0 && index < QueueCount ? &MIDIQueues[index] : nullptr;
}

// memory: locked global memory, or null.
void FreeBlock(HGLOBAL memory) {
    if (!memory) return;
    GlobalUnlock(memory);
    GlobalFree(memory);
}

// Allocates and frees outside the sections, so that no real-time thread waits for the heap.
void FreeQueue(MIDIQueue& queue) {
    HGLOBAL old;
    {
        QueueSection section;
        old = queue.ReplaceBlock(nullptr, nullptr, 0);
    }
    FreeBlock(old);
}

} // namespace

MIDIQueue MIDIQueues[QueueCount];
Lock QueueLock;

MIDIEvent* MIDIQueue::NextSlot(MIDIEvent* slot) const {
    return slot + 1 == End ? Start.load(relaxed) : slot + 1;
}

void MIDIQueue::Empty() {
    Head = Tail = Start.load(relaxed);
    Count.store(0, relaxed);
    EmptiedGeneration = RaiseGeneration();
}

void MIDIQueue::Pop() {
    Head = NextSlot(Head);
    Count.store(static_cast<std::uint16_t>(Count.load(relaxed) - 1), relaxed);
}

HGLOBAL MIDIQueue::ReplaceBlock(HGLOBAL memory, MIDIEvent* address, std::uint16_t slots) {
    HGLOBAL old = Memory;
    Memory = memory;
    Start.store(address, relaxed);
    End = address + slots;
    Size.store(slots, relaxed);
    Etime.store(0, relaxed);
    Marker.store(0, relaxed);
    Empty();
    return old;
}

bool PushMQ(const MIDIEvent& event, MIDIQueue& queue, bool overwrite) {
    if (!queue.HasBlock()) return false;
    QueueSection section;
    if (!queue.HasBlock()) return false; // freed while this thread waited for the lock
    MIDIEvent* next = queue.NextSlot(queue.Tail);
    const bool full = next == queue.Head;
    if (full && !overwrite) return false;
    if (full) { // the oldest record is lost; Count stays
        queue.Head = queue.NextSlot(queue.Head);
    } else {
        queue.Count.store(static_cast<std::uint16_t>(queue.Count.load(relaxed) + 1), relaxed);
    }
    *queue.Tail = event;
    queue.Tail = next;
    return true;
}

void EmptyQueue(MIDIQueue& queue) {
    QueueSection section;
    queue.Empty();
}

void EmptyAllQueues() {
    for (MIDIQueue& queue : MIDIQueues) EmptyQueue(queue);
}

void FreeAllQueues() {
    for (MIDIQueue& queue : MIDIQueues) FreeQueue(queue);
}

std::int32_t NextEventTime() {
    std::int32_t earliest = NoEvent;
    for (int index = FirstOutputQueue; index < QueueCount; ++index) {
        const MIDIQueue& queue = MIDIQueues[index];
        if (!queue.HasRecords()) continue;
        QueueSection section;
        // Copied: std::min cannot bind a reference to a packed member.
        const std::int32_t time = queue.HasRecords() ? queue.Head->Time : NoEvent;
        earliest = std::min(earliest, time);
    }
    return earliest;
}

// Frees the old block first, so that a failure leaves the queue without one. Another thread may
// have allocated a block meanwhile; ReplaceBlock returns it.
ZorBool ZORCALL ZorAllocMIDI(int16_t queue, int16_t slots) ZORNOEXCEPT {
    MIDIQueue* ring = FindQueue(queue);
    if (!ring) return 0;
    FreeQueue(*ring);
    if (slots == 0) return 1;
    if (slots < 0 || !LibraryIsUp()) return 0;
    HGLOBAL memory = GlobalAlloc(GPTR, static_cast<SIZE_T>(slots) * sizeof(MIDIEvent));
    auto* address = memory ? static_cast<MIDIEvent*>(GlobalLock(memory)) : nullptr;
    if (!address) {
        if (memory) GlobalFree(memory);
        return 0;
    }
    {
        QueueSection section;
        memory = ring->ReplaceBlock(memory, address, static_cast<std::uint16_t>(slots));
    }
    FreeBlock(memory);
    return 1;
}

ZorBool ZORCALL ZorFreeMIDI(int16_t queue) ZORNOEXCEPT {
    MIDIQueue* ring = FindQueue(queue);
    if (!ring) return 0;
    FreeQueue(*ring);
    return 1;
}

void ZORCALL ZorZeroQueue(int16_t queue) ZORNOEXCEPT {
    if (MIDIQueue* ring = FindQueue(queue)) EmptyQueue(*ring);
}

// Reads the counters without a lock: each is correct, but they may be from different moments.
ZorBool ZORCALL ZorReportMQ(int16_t queue, uint16_t* size, uint16_t* count) ZORNOEXCEPT {
    const MIDIQueue* ring = FindQueue(queue);
    const bool found = ring && size && count && ring->HasBlock();
    if (size) *size = found ? ring->Size.load(relaxed) : std::uint16_t{0};
    if (count) *count = found ? ring->Count.load(relaxed) : std::uint16_t{0};
    return found;
}

// In external sync the host follows the clock, not the records.
int32_t ZORCALL ZorEtimeMIDI(int16_t queue, uint16_t* marker) ZORNOEXCEPT {
    const MIDIQueue* ring = FindQueue(queue);
    if (marker) *marker = ring ? ring->Marker.load() : std::uint16_t{0};
    if (!ring) return 0;
    return ExternalSync() ? CurrentMIDITime() : ring->Etime.load();
}

ZorBool ZORCALL ZorRcv(MIDIEvent* event, ZorBool peek) ZORNOEXCEPT {
    MIDIQueue& queue = MIDIQueues[InputQueue];
    if (!event || !queue.HasRecords()) return 0;
    QueueSection section;
    if (!queue.HasRecords()) return 0; // emptied while this thread waited for the lock
    *event = *queue.Head;
    if (!peek) queue.Pop();
    return 1;
}

ZorBool ZORCALL ZorXmit(uint16_t queue, const MIDIEvent* event) ZORNOEXCEPT {
    if (!event) return 0;
    if (queue == ZOR_IMMEDIATE) return XmitToDrivers(*event, CurrentGeneration());
    // Numbers above 32,767 become negative and are not found.
    MIDIQueue* ring = FindQueue(static_cast<std::int16_t>(queue));
    return ring && PushMQ(*event, *ring, false);
}
