// The clock's memory: what is to come on each lane, in order. Its entries are made at the start and
// used over and over: no allocation after construction. No locking of its own.
#pragma once

#include "platform/device/clock.h"

#include <array>
#include <set>
#include <vector>

namespace machine {

struct PendingAction {
    std::uint64_t Due; // on the machine's clock, microseconds
    Action Run;
    void* Context;
    std::uintptr_t Argument;
    Token Id = 0;

    // By due time, equal times in the order of scheduling. Tokens wrap, so that their difference
    // tells the age.
    bool operator<(const PendingAction& other) const {
        return Due != other.Due ? Due < other.Due : static_cast<std::int32_t>(Id - other.Id) < 0;
    }
};

class ActionQueue {
public:
    static constexpr Token Slots = 1u << 14;

    ActionQueue();
    const PendingAction* First(Lane lane) const; // null if the lane has none
    Token Add(Lane lane, PendingAction action);  // 0 if it is full
    PendingAction TakeFirst(Lane lane);
    bool Remove(Token token); // false if it has been taken or removed
    // Removes every action that the test is true for, on both lanes.
    template <class Test>
    void RemoveIf(Test test) {
        for (Order& order : Lanes)
            for (auto at = order.begin(); at != order.end();) {
                const auto next = std::next(at);
                if (test(*at)) Extract(order, at);
                at = next;
            }
    }

    // When the actions of this kind are due, in order for each lane.
    std::vector<std::uint64_t> Dues(Action run) const;

private:
    using Order = std::set<PendingAction>;
    // The slot follows from the token, which counts on from action to action: one that is gone
    // names no other before the count has gone round its 32 bits.
    struct Slot {
        Token Id = 0; // 0 while free
        Lane Where = Lane::Timers;
        Order::iterator At{};
    };

    Order& Of(Lane lane) { return Lanes[static_cast<std::size_t>(lane)]; }
    Slot& Of(Token token) { return Table[token % Slots]; }
    void Extract(Order& order, Order::iterator at);

    std::array<Order, 2> Lanes;
    std::vector<Order::node_type> Spare;
    std::vector<Slot> Table;
    Token Last = 0;
};

} // namespace machine
