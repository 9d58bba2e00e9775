#include "platform/virtual/action_queue.h"

#include <utility>

namespace machine {
namespace {

constexpr int SlotBits = 16;
static_assert(ActionPool::Slots == 1u << SlotBits);

constexpr std::uint32_t SlotOf(Token token) {
    return static_cast<std::uint32_t>(token & (ActionPool::Slots - 1));
}

} // namespace

ActionPool::ActionPool() : Entries(new Entry[Slots]) {}

std::optional<Lane> ActionPool::LaneOf(Token token) const {
    const std::uint32_t slot = SlotOf(token);
    if (token == 0 || slot >= Fresh || Entries[slot].Serial != token >> SlotBits)
        return std::nullopt;
    return Entries[slot].Where;
}

bool ActionPool::Before(std::uint32_t slot, std::uint32_t other) const {
    const Entry &a = Entries[slot], &b = Entries[other];
    return a.What.Due != b.What.Due ? a.What.Due < b.What.Due : a.Serial < b.Serial;
}

void ActionPool::Free(std::uint32_t slot) {
    Entries[slot].Serial = 0;
    Entries[slot].Place = FirstFree;
    FirstFree = slot;
}

ActionQueue::ActionQueue() : Heap(new std::uint32_t[ActionPool::Slots]) {}

std::uint64_t ActionQueue::FirstDue(const ActionPool& pool) const {
    return pool.Entries[Heap[0]].What.Due;
}

bool ActionQueue::IsFirst(const ActionPool& pool, Token token) const {
    return Count > 0 && pool.Entries[Heap[0]].Serial == token >> SlotBits;
}

bool ActionQueue::ComesBefore(const ActionQueue& other, const ActionPool& pool) const {
    return pool.Before(Heap[0], other.Heap[0]);
}

Token ActionQueue::Add(ActionPool& pool, const PendingAction& action, Lane lane) {
    std::uint32_t slot = pool.FirstFree;
    if (slot != ActionPool::Slots)
        pool.FirstFree = pool.Entries[slot].Place;
    else if (pool.Fresh < ActionPool::Slots)
        slot = pool.Fresh++;
    else
        return 0;
    pool.Entries[slot] = {action, ++pool.LastSerial, 0, lane};
    Put(pool, Count, slot);
    Rise(pool, Count++);
    return pool.LastSerial << SlotBits | slot;
}

PendingAction ActionQueue::TakeFirst(ActionPool& pool) {
    const PendingAction action = pool.Entries[Heap[0]].What;
    Drop(pool, 0);
    return action;
}

void ActionQueue::Remove(ActionPool& pool, Token token) {
    Drop(pool, pool.Entries[SlotOf(token)].Place);
}

void ActionQueue::RemoveAll(ActionPool& pool, const void* context) {
    std::uint32_t kept = 0;
    for (std::uint32_t place = 0; place < Count; ++place) {
        const std::uint32_t slot = Heap[place];
        if (pool.Entries[slot].What.Context == context)
            pool.Free(slot);
        else
            Put(pool, kept++, slot);
    }
    if (kept == Count) return; // still the heap that it was
    Count = kept;
    for (std::uint32_t place = Count / 2; place-- > 0;) Sink(pool, place);
}

void ActionQueue::Clear(ActionPool& pool) {
    while (Count > 0) pool.Free(Heap[--Count]);
}

void ActionQueue::Put(ActionPool& pool, std::uint32_t place, std::uint32_t slot) {
    Heap[place] = slot;
    pool.Entries[slot].Place = place;
}

void ActionQueue::Rise(ActionPool& pool, std::uint32_t place) {
    const std::uint32_t slot = Heap[place];
    while (place > 0) {
        const std::uint32_t parent = (place - 1) / 2;
        if (!pool.Before(slot, Heap[parent])) break;
        Put(pool, place, Heap[parent]);
        place = parent;
    }
    Put(pool, place, slot);
}

void ActionQueue::Sink(ActionPool& pool, std::uint32_t place) {
    const std::uint32_t slot = Heap[place];
    for (;;) {
        std::uint32_t child = 2 * place + 1;
        if (child >= Count) break;
        if (child + 1 < Count && pool.Before(Heap[child + 1], Heap[child])) ++child;
        if (!pool.Before(Heap[child], slot)) break;
        Put(pool, place, Heap[child]);
        place = child;
    }
    Put(pool, place, slot);
}

void ActionQueue::Drop(ActionPool& pool, std::uint32_t place) {
    pool.Free(Heap[place]);
    const std::uint32_t last = Heap[--Count];
    if (place == Count) return;
    Put(pool, place, last);
    Rise(pool, place);
    Sink(pool, pool.Entries[last].Place);
}

} // namespace machine
