#include "platform/virtual/action_queue.h"

#include <algorithm>

namespace machine {

ActionQueue::ActionQueue() : Entries(Slots) {
    for (Heap& heap : Heaps) heap.Tokens.reserve(Slots);
}

bool ActionQueue::Before(const PendingAction& a, const PendingAction& b) {
    // Tokens wrap, so that their difference tells the age.
    return a.Due != b.Due ? a.Due < b.Due : static_cast<std::int32_t>(a.Id - b.Id) < 0;
}

const PendingAction* ActionQueue::First(Lane lane) const {
    const Heap& heap = Heaps[static_cast<std::size_t>(lane)];
    return heap.Tokens.empty() ? nullptr : &Of(heap.Tokens.front()).What;
}

Token ActionQueue::NextFree() {
    do ++Last;
    while (Last == 0 || Of(Last).What.Id != 0);
    return Last;
}

Token ActionQueue::Add(Lane lane, const PendingAction& action) {
    if (Taken == Slots) return 0;
    ++Taken;
    const Token token = NextFree();
    Of(token) = {action, lane};
    Of(token).What.Id = token;
    std::vector<Token>& tokens = Of(lane).Tokens;
    tokens.push_back(token);
    std::push_heap(tokens.begin(), tokens.end(), [this](Token a, Token b) { return Later(a, b); });
    return token;
}

PendingAction ActionQueue::TakeFirst(Lane lane) {
    Heap& heap = Of(lane);
    const PendingAction action = Of(heap.Tokens.front()).What;
    Pop(heap);
    Tidy(heap);
    return action;
}

bool ActionQueue::Remove(Token token) {
    Entry& entry = Of(token);
    if (token == 0 || entry.What.Id != token || !entry.What.Run) return false;
    entry.What.Run = nullptr;
    Heap& heap = Of(entry.Where);
    ++heap.Removed;
    Tidy(heap);
    return true;
}

void ActionQueue::RemoveAll(const void* context) {
    for (Heap& heap : Heaps) {
        for (const Token token : heap.Tokens)
            if (Of(token).What.Context == context) Of(token).What.Run = nullptr;
        Sweep(heap);
    }
}

void ActionQueue::Clear() {
    for (Heap& heap : Heaps) {
        for (const Token token : heap.Tokens) Of(token).What.Run = nullptr;
        Sweep(heap);
    }
}

std::vector<std::uint64_t> ActionQueue::Dues(Action run) const {
    std::vector<std::uint64_t> dues;
    for (const Heap& heap : Heaps)
        for (const Token token : heap.Tokens)
            if (Of(token).What.Run == run) dues.push_back(Of(token).What.Due);
    return dues;
}

void ActionQueue::Pop(Heap& heap) {
    std::vector<Token>& tokens = heap.Tokens;
    std::pop_heap(tokens.begin(), tokens.end(), [this](Token a, Token b) { return Later(a, b); });
    Of(tokens.back()).What.Id = 0;
    tokens.pop_back();
    --Taken;
}

void ActionQueue::Tidy(Heap& heap) {
    if (heap.Removed * 2 > heap.Tokens.size()) return Sweep(heap);
    for (; heap.Removed > 0 && !Of(heap.Tokens.front()).What.Run; --heap.Removed) Pop(heap);
}

// Frees the removed entries.
void ActionQueue::Sweep(Heap& heap) {
    std::vector<Token>& tokens = heap.Tokens;
    Taken -= static_cast<Token>(std::erase_if(tokens, [this](Token token) {
        const bool removed = !Of(token).What.Run;
        if (removed) Of(token).What.Id = 0;
        return removed;
    }));
    std::make_heap(tokens.begin(), tokens.end(), [this](Token a, Token b) { return Later(a, b); });
    heap.Removed = 0;
}

} // namespace machine
