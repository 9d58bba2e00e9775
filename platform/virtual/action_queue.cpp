#include "platform/virtual/action_queue.h"

#include <utility>

namespace machine {

ActionQueue::ActionQueue() : Table(Slots) {
    Spare.reserve(Slots);
    for (Token id = 0; id < Slots; ++id)
        Lanes[0].insert({.Due = 0, .Run = nullptr, .Context = nullptr, .Argument = 0, .Id = id});
    while (!Lanes[0].empty()) Spare.push_back(Lanes[0].extract(Lanes[0].begin()));
}

const PendingAction* ActionQueue::First(Lane lane) const {
    const Order& order = Lanes[static_cast<std::size_t>(lane)];
    return order.empty() ? nullptr : &*order.begin();
}

Token ActionQueue::Add(Lane lane, PendingAction action) {
    if (Spare.empty()) return 0;
    do ++Last;
    while (Last == 0 || Of(Last).Id != 0);
    action.Id = Last;
    Order::node_type node = std::move(Spare.back());
    Spare.pop_back();
    node.value() = action;
    Of(Last) = {Last, lane, Of(lane).insert(std::move(node)).position};
    return Last;
}

void ActionQueue::Extract(Order& order, Order::iterator at) {
    Of(at->Id).Id = 0;
    Spare.push_back(order.extract(at));
}

PendingAction ActionQueue::TakeFirst(Lane lane) {
    const PendingAction action = *Of(lane).begin();
    Extract(Of(lane), Of(lane).begin());
    return action;
}

bool ActionQueue::Remove(Token token) {
    const Slot& slot = Of(token);
    if (token == 0 || slot.Id != token) return false;
    Extract(Of(slot.Where), slot.At);
    return true;
}

std::vector<std::uint64_t> ActionQueue::Dues(Action run) const {
    std::vector<std::uint64_t> dues;
    for (const Order& order : Lanes)
        for (const PendingAction& action : order)
            if (action.Run == run) dues.push_back(action.Due);
    return dues;
}

} // namespace machine
