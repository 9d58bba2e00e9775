// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The clock that plays in real life, a thread for each lane, and the list of pending actions that
// the stepped clock shares.
#include "platform/clock/pending_actions.h"

#include <algorithm>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>

namespace device {
namespace {

std::atomic<void (*)()> afterTimers{nullptr};

thread_local const PendingAction* current = nullptr; // the action that this thread runs

// ---- lanes -----------------------------------------------------------------------------------

// Runs the lane's first action if it is due, else waits until it is or the list changes.
void RunOrWait(PendingActions& actions, ClockLock& lock, LaneState& state) {
    if (machine::ClockIsStepped() || state.Pending.empty())
        state.Wake.wait(lock);
    else if (const std::uint64_t due = state.Pending.front().Due; machine::Microseconds() < due)
        state.Wake.wait_until(lock, RealClock::time_point(std::chrono::microseconds(due)));
    else
        RunFirst(actions, lock, state, state.Running);
}

void* LaneMain(void* argument) {
    const auto lane = static_cast<Lane>(reinterpret_cast<std::uintptr_t>(argument));
    pthread_setname_np(pthread_self(), lane == Lane::Timers ? "zor-timers" : "zor-audio");
    if (lane == Lane::Timers) RaiseThreadPriority();
    prctl(PR_SET_TIMERSLACK,
          1); // nanoseconds; takes effect at ordinary priority, as on the audio lane
    PendingActions& actions = Actions();
    for (ClockLock lock(actions.Lock);;) RunOrWait(actions, lock, actions.StateOf(lane));
}

// With the lock held. False if the system has no thread for it.
bool Start(PendingActions& actions, Lane lane) {
    LaneState& state = actions.StateOf(lane);
    if (state.Started || machine::ClockIsStepped()) return true;
    pthread_t thread;
    void* const argument = reinterpret_cast<void*>(static_cast<std::uintptr_t>(lane));
    if (pthread_create(&thread, nullptr, LaneMain, argument) != 0) return false;
    pthread_detach(thread);
    state.Started = true;
    return true;
}

// Removes the actions that the test is true for. False if there is none.
template <class Test>
bool RemoveIf(PendingActions& actions, Test test) {
    std::size_t removed = 0;
    for (LaneState& state : actions.Lanes) {
        const std::size_t count = std::erase_if(state.Pending, test);
        if (count != 0) std::make_heap(state.Pending.begin(), state.Pending.end());
        removed += count;
    }
    return removed != 0;
}

} // namespace

void RunFirst(PendingActions& actions, ClockLock& lock, LaneState& state,
              const PendingAction*& running) {
    std::pop_heap(state.Pending.begin(), state.Pending.end());
    const PendingAction action = state.Pending.back();
    state.Pending.pop_back();
    running = current = &action;
    lock.unlock();
    action.Run(action.Context, action.Argument);
    const auto then = &state == &actions.StateOf(Lane::Timers) ? afterTimers.load() : nullptr;
    if (then) then();
    lock.lock();
    running = current = nullptr;
    actions.ActionDone.notify_all();
}

void RemoveAll(PendingActions& actions, const void* context) {
    RemoveIf(actions,
             [context](const PendingAction& each) { return !context || each.Context == context; });
}

bool OthersRun(const PendingActions& actions, const void* context) {
    const auto runs = [context](const PendingAction* action) {
        return action && action != current && (!context || action->Context == context);
    };
    return runs(actions.Stepping) || std::ranges::any_of(actions.Lanes, runs, &LaneState::Running);
}

// ---- the interface ---------------------------------------------------------------------------

void StartLane(Lane lane) {
    const ClockLock lock(Actions().Lock);
    Start(Actions(), lane);
}

Token Schedule(Lane lane, std::uint64_t dueMicroseconds, Action action, void* context,
               std::uintptr_t argument, std::size_t most) {
    PendingActions& actions = Actions();
    const ClockLock lock(actions.Lock);
    LaneState& state = actions.StateOf(lane);
    if (!Start(actions, lane) || state.Pending.size() >= std::min(most, PendingActions::Capacity))
        return 0;
    const Token token = ++actions.LastToken ? actions.LastToken : ++actions.LastToken;
    state.Pending.push_back({dueMicroseconds, token, action, context, argument});
    std::push_heap(state.Pending.begin(), state.Pending.end());
    if (state.Pending.front().Id == token) state.Wake.notify_one();
    return token;
}

bool Unschedule(Token token) {
    const ClockLock lock(Actions().Lock);
    return RemoveIf(Actions(), [token](const PendingAction& each) { return each.Id == token; });
}

void UnscheduleAll(void* context) {
    PendingActions& actions = Actions();
    ClockLock lock(actions.Lock);
    RemoveAll(actions, context);
    while (OthersRun(actions, context)) {
        actions.ActionDone.wait(lock);
        RemoveAll(actions, context); // what that action has scheduled
    }
}

void WaitForActions() {
    PendingActions& actions = Actions();
    ClockLock lock(actions.Lock);
    actions.ActionDone.wait_for(lock, std::chrono::seconds(5),
                                [&actions] { return !OthersRun(actions, nullptr); });
}

void RaiseThreadPriority() {
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_FIFO) + 10;
    sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters);
}

std::vector<std::uint64_t> PendingDueTimes(Action action) {
    const ClockLock lock(Actions().Lock);
    std::vector<std::uint64_t> dues;
    for (const LaneState& state : Actions().Lanes)
        for (const PendingAction& each : state.Pending)
            if (each.Run == action) dues.push_back(each.Due);
    std::ranges::sort(dues);
    return dues;
}

std::uint64_t ActionDue() { return current ? current->Due : machine::Microseconds(); }
Token ActionToken() { return current ? current->Id : 0; }
bool IsInsideAction() { return current != nullptr; }

} // namespace device

bool machine::AfterTimers(void (*then)()) {
    device::afterTimers = then;
    return true;
}
