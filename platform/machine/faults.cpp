#include "platform/machine/faults.h"

#include "platform/machine/power.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <vector>

namespace machine {
namespace {

struct Order {
    Call What;
    std::int64_t Before; // calls that still go well
    std::int64_t Times;  // calls that then fail; below 0 for all
    std::intptr_t Result;

    // Whether its turn has come; moves it on.
    bool TakeTurn() {
        if (Before > 0) return --Before, false;
        if (Times > 0) --Times;
        return true;
    }
};

std::array<std::atomic<unsigned>, static_cast<std::size_t>(Call::Count)> made{};
std::atomic<bool> anyOrder{false}; // so that a call without one is quick
std::mutex ordersLock;
std::vector<Order> orders;

std::atomic<unsigned>& Made(Call call) { return made[static_cast<std::size_t>(call)]; }

const AtPowerOn atPowerOn([] {
    ClearFaults();
    ResetCallCounts();
});

} // namespace

Failure::Failure(Call call) {
    Made(call).fetch_add(1, std::memory_order_relaxed);
    // Relaxed: an order holds for calls that come after it on some ordered road of their own.
    if (!anyOrder.load(std::memory_order_relaxed)) return;
    const std::scoped_lock lock(ordersLock);
    for (Order& order : orders)
        if (order.What == call && order.TakeTurn() && !Result) Result = order.Result;
    std::erase_if(orders, [](const Order& order) { return order.Times == 0; });
    anyOrder.store(!orders.empty(), std::memory_order_relaxed);
}

void FailCall(Call call, int nth, std::intptr_t result, int times) {
    const std::scoped_lock lock(ordersLock);
    orders.push_back({call, std::max(nth, 1) - 1, times <= 0 ? -1 : times, result});
    anyOrder.store(true, std::memory_order_relaxed);
}

void ClearFaults() {
    const std::scoped_lock lock(ordersLock);
    orders.clear();
    anyOrder.store(false, std::memory_order_relaxed);
}

unsigned CallCount(Call call) { return Made(call).load(std::memory_order_relaxed); }

void ResetCallCounts() {
    for (auto& count : made) count.store(0, std::memory_order_relaxed);
}

} // namespace machine
