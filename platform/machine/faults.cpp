// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

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
    Call Target;
    std::int64_t Successes; // calls that still succeed
    std::int64_t Failures;  // calls that then fail; negative for all
    std::intptr_t Result;

    // Whether this call is to fail; counts it.
    bool CountCall() {
        if (Successes > 0) return --Successes, false;
        if (Failures > 0) --Failures;
        return true;
    }
};

std::array<std::atomic<unsigned>, static_cast<std::size_t>(Call::Count)> callCounts{};
std::atomic<bool> anyOrder{false}; // so that calls without an order take no lock
std::mutex ordersLock;
std::vector<Order> orders;

std::atomic<unsigned>& CountOf(Call call) { return callCounts[static_cast<std::size_t>(call)]; }

const AtPowerOn atPowerOn([] {
    ClearFaults();
    ResetCallCounts();
});

} // namespace

Failure::Failure(Call call) {
    CountOf(call).fetch_add(1, std::memory_order_relaxed);
    // Relaxed: an order applies to calls that other synchronisation already places after it.
    if (!anyOrder.load(std::memory_order_relaxed)) return;
    const std::scoped_lock lock(ordersLock);
    for (Order& order : orders)
        if (order.Target == call && order.CountCall() && !Result) Result = order.Result;
    std::erase_if(orders, [](const Order& order) { return order.Failures == 0; });
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

unsigned CallCount(Call call) { return CountOf(call).load(std::memory_order_relaxed); }

void ResetCallCounts() {
    for (auto& count : callCounts) count.store(0, std::memory_order_relaxed);
}

} // namespace machine
