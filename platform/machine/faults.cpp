#include "platform/machine/faults.h"

#include "platform/machine/fault_point.h"
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
};

constexpr auto Calls = static_cast<std::size_t>(Call::Count);
std::array<std::atomic<unsigned>, Calls> made{};
std::array<std::atomic<int>, Calls>
    ordered{}; // orders standing, so that a call without one is quick
std::mutex ordersLock;
std::vector<Order> orders;

std::size_t Index(Call call) { return static_cast<std::size_t>(call); }

// Whether the order's turn has come; moves the order on.
bool TakeTurn(Order& order) {
    if (order.Before > 0) {
        --order.Before;
        return false;
    }
    if (order.Times > 0) --order.Times;
    return true;
}

void Reset() {
    ClearFaults();
    ResetCallCounts();
}
const AtPowerOn atPowerOn(Reset);

} // namespace

std::optional<std::intptr_t> OrderedFailure(Call call) {
    made[Index(call)].fetch_add(1, std::memory_order_relaxed);
    // Relaxed: an order holds for calls that come after it on some ordered road of their own.
    if (ordered[Index(call)].load(std::memory_order_relaxed) == 0) return std::nullopt;
    std::lock_guard lock(ordersLock);
    std::optional<std::intptr_t> result;
    for (Order& order : orders)
        if (order.What == call && TakeTurn(order) && !result) result = order.Result;
    std::erase_if(orders, [](const Order& order) {
        const bool over = order.Times == 0;
        if (over) ordered[Index(order.What)].fetch_sub(1, std::memory_order_relaxed);
        return over;
    });
    return result;
}

void FailCall(Call call, int nth, std::intptr_t result, int times) {
    std::lock_guard lock(ordersLock);
    orders.push_back({call, std::max(nth, 1) - 1, times <= 0 ? -1 : times, result});
    ordered[Index(call)].fetch_add(1, std::memory_order_relaxed);
}

void ClearFaults() {
    std::lock_guard lock(ordersLock);
    orders.clear();
    for (auto& count : ordered) count.store(0, std::memory_order_relaxed);
}

unsigned CallCount(Call call) { return made[Index(call)].load(std::memory_order_relaxed); }

void ResetCallCounts() {
    for (auto& count : made) count.store(0, std::memory_order_relaxed);
}

} // namespace machine
