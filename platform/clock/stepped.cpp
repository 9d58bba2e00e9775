// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The clock that tests move: all lanes run inside Advance, and time is constant in between.
#include "platform/clock/pending_actions.h"

#include <algorithm>
#include <thread>

namespace device {
namespace {

std::atomic<bool> stepped{false};
std::atomic<std::uint64_t> steppedNow{0}; // microseconds
std::atomic<std::thread::id> steeringThread;
std::mutex steerLock; // one thread at a time moves stepped time

// Drops all pending actions and changes the clock; returns when no other thread runs an action.
void ChangeClock(bool toStepped, std::uint64_t start, std::thread::id steering) {
    steeringThread.store(steering, std::memory_order_relaxed);
    PendingActions& actions = Actions();
    ClockLock lock(actions.Lock);
    RemoveAll(actions, nullptr);
    steppedNow.store(start, std::memory_order_relaxed);
    stepped.store(toStepped, std::memory_order_release);
    for (LaneState& state : actions.Lanes) state.Wake.notify_all();
    actions.ActionDone.wait(lock, [&actions] { return !OthersRun(actions, nullptr); });
    RemoveAll(actions, nullptr); // what those actions have scheduled
}

void MoveForwardTo(std::uint64_t time) {
    if (time > steppedNow.load(std::memory_order_relaxed))
        steppedNow.store(time, std::memory_order_release);
}

// Moves stepped time to the next action due by the limit and runs it. False if there is none.
bool RunNext(std::uint64_t limit) {
    WaitForLibraryThreads();
    PendingActions& actions = Actions();
    ClockLock lock(actions.Lock);
    LaneState& next = *std::max_element(actions.Lanes.begin(), actions.Lanes.end());
    if (next.Pending.empty() || next.Pending.front().Due > limit) return false;
    MoveForwardTo(next.Pending.front().Due);
    RunFirst(actions, lock, next, actions.Stepping);
    return true;
}

} // namespace

bool IsSteeringThread() {
    return machine::ClockIsStepped() &&
           steeringThread.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

bool RunNextAction(std::uint64_t limit) {
    const std::scoped_lock alone(steerLock);
    if (RunNext(limit)) return true;
    if (limit != Forever) MoveForwardTo(limit);
    return false;
}

} // namespace device

namespace machine {

using namespace device;

void UseRealClock() { ChangeClock(false, 0, {}); }

void UseSteppedClock(std::uint32_t startMilliseconds) {
    ChangeClock(true, std::uint64_t{startMilliseconds} * 1000, std::this_thread::get_id());
}

bool ClockIsStepped() { return stepped.load(std::memory_order_acquire); }

std::uint64_t Microseconds() {
    if (ClockIsStepped()) return steppedNow.load(std::memory_order_acquire);
    const auto now = RealClock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

void Advance(std::uint32_t milliseconds) {
    if (!ClockIsStepped() || IsInsideAction()) return;
    const std::scoped_lock alone(steerLock);
    steeringThread.store(std::this_thread::get_id(), std::memory_order_relaxed);
    const std::uint64_t target = Microseconds() + std::uint64_t{milliseconds} * 1000;
    while (RunNext(target)) {
    }
    MoveForwardTo(target);
}

} // namespace machine
