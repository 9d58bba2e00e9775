// The clock's memory: a fixed number of entries, and a heap of their tokens for each lane. No
// locking of its own, and no allocation after construction.
#pragma once

#include "platform/device/clock.h"

#include <array>
#include <vector>

namespace machine {

struct PendingAction {
    std::uint64_t Due; // on the machine's clock, microseconds
    Action Run;
    void* Context;
    std::uintptr_t Argument;
    Token Id = 0;
};

class ActionQueue {
public:
    static constexpr Token Slots = 1u << 14;

    ActionQueue();
    const PendingAction* First(Lane lane) const;       // null if the lane has none
    Token Add(Lane lane, const PendingAction& action); // 0 when every slot is taken
    PendingAction TakeFirst(Lane lane);
    bool Remove(Token token); // false if it has been taken or removed
    void RemoveAll(const void* context);
    void Clear();

    // When the actions of this kind are due, in no order.
    std::vector<std::uint64_t> Dues(Action run) const;

    // By due time, equal times in the order of scheduling.
    static bool Before(const PendingAction& a, const PendingAction& b);

private:
    struct Entry {
        PendingAction What; // its Id is 0 while the slot is free; Run is null once removed
        Lane Where;
    };
    // A removed entry keeps its place until it comes to the top or half of the heap is such. The
    // top is never one.
    struct Heap {
        std::vector<Token> Tokens;
        std::size_t Removed = 0;
    };

    // The slot follows from the token, which counts on from action to action: one that is gone
    // names no other before the count has gone round its 32 bits.
    Entry& Of(Token token) { return Entries[token % Slots]; }
    const Entry& Of(Token token) const { return Entries[token % Slots]; }
    Heap& Of(Lane lane) { return Heaps[static_cast<std::size_t>(lane)]; }
    bool Later(Token a, Token b) const { return Before(Of(b).What, Of(a).What); }
    Token NextFree();
    void Pop(Heap& heap);
    void Tidy(Heap& heap);
    void Sweep(Heap& heap);

    std::vector<Entry> Entries; // written once at the start, so that no page is missing later
    std::array<Heap, 2> Heaps;
    Token Last = 0;
    Token Taken = 0;
};

} // namespace machine
