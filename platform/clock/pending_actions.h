// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The pending actions of all lanes, which both clocks share: scheduler.cpp runs them in real time,
// stepped.cpp inside Advance. For clock/ only.
#pragma once

#include "platform/api/clock.h"
#include "platform/common/immortal_singleton.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace device {

using RealClock = std::chrono::steady_clock;
static_assert(RealClock::is_steady);

struct PendingAction {
    std::uint64_t Due; // microseconds
    Token Id;
    Action Run;
    void* Context;
    std::uintptr_t Argument;

    // Later actions compare less, so that a heap has the earliest on top.
    bool operator<(const PendingAction& other) const {
        return Due != other.Due ? Due > other.Due : static_cast<std::int32_t>(Id - other.Id) > 0;
    }
};

struct LaneState {
    std::vector<PendingAction> Pending; // a heap
    std::condition_variable Wake; // an earlier action has been added, or the clock has changed
    const PendingAction* Running = nullptr; // on the lane's thread
    bool Started = false;                   // the thread

    // Whether the other lane's first action is due before this one's.
    bool operator<(const LaneState& other) const {
        return !other.Pending.empty() &&
               (Pending.empty() || Pending.front() < other.Pending.front());
    }
};

using ClockLock = std::unique_lock<std::mutex>;

struct PendingActions {
    PendingActions() {
        for (LaneState& state : Lanes) state.Pending.reserve(Capacity);
    }
    LaneState& StateOf(Lane lane) { return Lanes[static_cast<std::size_t>(lane)]; }

    // Of a lane. Reserved address space: memory is used as actions come.
    static constexpr std::size_t Capacity = MaxMessages + (1u << 13);
    std::mutex Lock; // of all below
    std::condition_variable ActionDone;
    std::array<LaneState, 2> Lanes;
    const PendingAction* Stepping = nullptr; // the action that runs inside Advance
    Token LastToken = 0;
};

// The only object.
inline PendingActions& Actions() { return common::ImmortalSingleton<PendingActions>(); }

// The functions below are called with the lock held.

// Removes the lane's first action and runs it with the lock released. running: where other threads
// see it meanwhile.
void RunFirst(PendingActions& actions, ClockLock& lock, LaneState& state,
              const PendingAction*& running);
// Removes every action of this context, or all if context is null.
void RemoveAll(PendingActions& actions, const void* context);
// Whether another thread runs an action of this context, or any if context is null.
bool OthersRun(const PendingActions& actions, const void* context);

} // namespace device
