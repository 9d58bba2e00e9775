// The scheduler's memory: one fixed pool of entries, and a heap of them for each lane. No locking
// of its own, and no allocation after construction.
#pragma once

#include "platform/virtual/scheduler.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace machine {

struct PendingAction {
    std::uint64_t Due; // on the machine's clock, microseconds
    Action Run;
    void* Context;
    std::uintptr_t Argument;
};

class ActionPool {
public:
    static constexpr std::uint32_t Slots = 1u << 16;

    ActionPool();
    // The lane that an action waits in; nothing if it has been taken or removed.
    std::optional<Lane> LaneOf(Token token) const;

private:
    friend class ActionQueue;
    struct Entry {
        PendingAction What;
        std::uint64_t Serial; // rises from entry to entry; 0 while the slot is free
        std::uint32_t Place;  // in its heap; next free slot while free
        Lane Where;
    };
    // An entry before another: by due time, equal times in the order of scheduling.
    bool Before(std::uint32_t slot, std::uint32_t other) const;
    void Free(std::uint32_t slot);

    std::unique_ptr<Entry[]>
        Entries; // left untouched until used, so that it costs address space only
    std::uint32_t FirstFree = Slots;
    std::uint32_t Fresh = 0; // slots from here on have never been used
    std::uint64_t LastSerial = 0;
};

class ActionQueue {
public:
    ActionQueue();
    bool Empty() const { return Count == 0; }
    std::uint64_t FirstDue(const ActionPool& pool) const; // not on an empty queue
    bool IsFirst(const ActionPool& pool, Token token) const;
    bool ComesBefore(const ActionQueue& other, const ActionPool& pool) const;

    Token Add(ActionPool& pool, const PendingAction& action,
              Lane lane); // 0 when the pool is used up
    PendingAction TakeFirst(ActionPool& pool);
    void Remove(ActionPool& pool, Token token); // one that LaneOf found here
    void RemoveAll(ActionPool& pool, const void* context);
    void Clear(ActionPool& pool);

private:
    void Put(ActionPool& pool, std::uint32_t place, std::uint32_t slot);
    void Rise(ActionPool& pool, std::uint32_t place);
    void Sink(ActionPool& pool, std::uint32_t place);
    void Drop(ActionPool& pool, std::uint32_t place);

    std::unique_ptr<std::uint32_t[]> Heap; // slots, the first due at 0
    std::uint32_t Count = 0;
};

} // namespace machine
