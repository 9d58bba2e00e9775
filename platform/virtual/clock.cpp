// The machine's clock, real and stepped, and the lanes that run what falls due.
#include "platform/virtual/action_queue.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <thread>

namespace machine {
namespace {

using RealClock = std::chrono::steady_clock;
static_assert(RealClock::is_steady);

constexpr std::array Lanes{Lane::Timers, Lane::Audio};

// The action that a thread is inside of: a lane's, or with the stepped clock the steering thread's.
struct Runner {
    std::thread::id Thread; // none
    void* Context = nullptr;
};

struct LaneState {
    std::condition_variable Wake; // something earlier has come, or the clock has changed
    Runner Running;
    bool Started = false;
};

struct Clock {
    std::mutex Lock;
    std::condition_variable ActionDone;
    ActionQueue Queue;
    std::array<LaneState, Lanes.size()> States;
    Runner Steering;

    LaneState& Of(Lane lane) { return States[static_cast<std::size_t>(lane)]; }
};

// Never destroyed: lanes run until the process ends.
Clock& The() {
    static Clock& clock = *new Clock;
    return clock;
}

using Lock = std::unique_lock<std::mutex>;

std::atomic<bool> stepped{false};
std::atomic<std::uint64_t> steppedNow{0};
std::atomic<std::uint32_t> changes{0};
std::atomic<std::thread::id> steeringThread;
std::mutex steerLock; // one thread at a time moves stepped time

thread_local const PendingAction* running = nullptr; // the action that this thread is inside of

std::uint64_t RealMicroseconds() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(RealClock::now().time_since_epoch())
            .count());
}

// Runs a taken action outside the lock, visible in runner meanwhile.
void Run(Clock& clock, Lock& lock, Runner& runner, const PendingAction& action) {
    runner = {std::this_thread::get_id(), action.Context};
    lock.unlock();
    running = &action;
    action.Run(action.Context, action.Argument);
    running = nullptr;
    lock.lock();
    runner = {};
    clock.ActionDone.notify_all();
}

// ---- lanes -----------------------------------------------------------------------------------

// Waits for the lane's next action, or runs it if it is due.
void RunOrWait(Clock& clock, Lock& lock, Lane lane) {
    LaneState& state = clock.Of(lane);
    const PendingAction* const first = clock.Queue.First(lane);
    if (stepped.load(std::memory_order_relaxed) || !first) return state.Wake.wait(lock);
    if (const std::uint64_t due = first->Due; RealMicroseconds() < due) {
        state.Wake.wait_until(lock, RealClock::time_point(std::chrono::microseconds(due)));
        return;
    }
    const PendingAction action = clock.Queue.TakeFirst(lane);
    Run(clock, lock, state.Running, action);
}

void* LaneMain(void* argument) {
    const auto lane = static_cast<Lane>(reinterpret_cast<std::uintptr_t>(argument));
    pthread_setname_np(pthread_self(), lane == Lane::Timers ? "zor-timers" : "zor-audio");
    if (lane == Lane::Timers) HastenThread();
    prctl(PR_SET_TIMERSLACK, 1); // of ordinary threads, which sound's is
    Clock& clock = The();
    for (Lock lock(clock.Lock);;) RunOrWait(clock, lock, lane);
}

// With the lock held. False if the system has no thread for it.
bool Start(Clock& clock, Lane lane) {
    LaneState& state = clock.Of(lane);
    if (state.Started || stepped.load(std::memory_order_relaxed)) return true;
    pthread_t thread;
    void* const argument = reinterpret_cast<void*>(static_cast<std::uintptr_t>(lane));
    if (pthread_create(&thread, nullptr, LaneMain, argument) != 0) return false;
    pthread_detach(thread);
    state.Started = true;
    return true;
}

// Whether another thread is inside an action; of this context, or of any if context is null.
bool OthersRun(const Clock& clock, const void* context) {
    const auto runs = [context, self = std::this_thread::get_id()](const Runner& runner) {
        return runner.Thread != std::thread::id() && runner.Thread != self &&
               (!context || runner.Context == context);
    };
    return runs(clock.Steering) ||
           std::any_of(clock.States.begin(), clock.States.end(),
                       [&runs](const LaneState& state) { return runs(state.Running); });
}

// Every action of this context, or of any if context is null.
void Forget(Clock& clock, const void* context) {
    clock.Queue.RemoveIf(
        [context](const PendingAction& action) { return !context || action.Context == context; });
}

// ---- stepped time ----------------------------------------------------------------------------

// Drops everything to come and changes the clock; returns when no action runs on another thread.
void ChangeClock(bool toStepped, std::uint64_t start, std::thread::id steering) {
    steeringThread.store(steering, std::memory_order_relaxed);
    Clock& clock = The();
    Lock lock(clock.Lock);
    Forget(clock, nullptr);
    steppedNow.store(start, std::memory_order_relaxed);
    stepped.store(toStepped, std::memory_order_release);
    for (LaneState& state : clock.States) state.Wake.notify_all();
    clock.ActionDone.wait(lock, [&clock] { return !OthersRun(clock, nullptr); });
    Forget(clock, nullptr); // what those actions have scheduled
    changes.fetch_add(1, std::memory_order_release);
}

void StandAt(std::uint64_t time) {
    if (time > steppedNow.load(std::memory_order_relaxed))
        steppedNow.store(time, std::memory_order_release);
}

// The lane whose first action comes before the other's.
Lane NextLane(const ActionQueue& queue) {
    const PendingAction *const timer = queue.First(Lane::Timers), *sound = queue.First(Lane::Audio);
    return !timer || (sound && *sound < *timer) ? Lane::Audio : Lane::Timers;
}

// Moves stepped time to the first thing due by the limit and runs it. False if there is none.
bool StepOnce(std::uint64_t limit) {
    WaitUntilLibraryThreadsWait();
    Clock& clock = The();
    Lock lock(clock.Lock);
    const Lane lane = NextLane(clock.Queue);
    const PendingAction* const first = clock.Queue.First(lane);
    if (!first || first->Due > limit) return false;
    const PendingAction action = clock.Queue.TakeFirst(lane);
    StandAt(action.Due);
    Run(clock, lock, clock.Steering, action);
    return true;
}

constexpr std::uint64_t InMicroseconds(std::uint32_t milliseconds) {
    return std::uint64_t{milliseconds} * 1000;
}

} // namespace

// ---- the seam --------------------------------------------------------------------------------

void StartLane(Lane lane) {
    const Lock lock(The().Lock);
    Start(The(), lane);
}

Token Schedule(Lane lane, std::uint64_t dueMicroseconds, Action action, void* context,
               std::uintptr_t argument) {
    Clock& clock = The();
    const Lock lock(clock.Lock);
    if (!Start(clock, lane)) return 0;
    const Token token = clock.Queue.Add(lane, {dueMicroseconds, action, context, argument});
    if (token != 0 && clock.Queue.First(lane)->Id == token) clock.Of(lane).Wake.notify_one();
    return token;
}

bool Unschedule(Token token) {
    const Lock lock(The().Lock);
    return The().Queue.Remove(token);
}

void UnscheduleAll(void* context) {
    Clock& clock = The();
    Lock lock(clock.Lock);
    Forget(clock, context);
    while (OthersRun(clock, context)) {
        clock.ActionDone.wait(lock);
        Forget(clock, context); // what that action has scheduled
    }
}

void LetActionsEnd() {
    Clock& clock = The();
    Lock lock(clock.Lock);
    clock.ActionDone.wait_for(lock, std::chrono::seconds(5),
                              [&clock] { return !OthersRun(clock, nullptr); });
}

void HastenThread() {
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_FIFO) + 10;
    sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters);
}

std::vector<std::uint64_t> PendingDues(Action action) {
    const Lock lock(The().Lock);
    std::vector<std::uint64_t> dues = The().Queue.Dues(action);
    std::sort(dues.begin(), dues.end());
    return dues;
}

std::uint64_t ActionDue() { return running ? running->Due : Microseconds(); }
Token ActionToken() { return running ? running->Id : 0; }
bool InsideAction() { return running != nullptr; }

std::uint32_t ClockChanges() { return changes.load(std::memory_order_acquire); }

bool ThisThreadSteers() {
    return ClockIsStepped() &&
           steeringThread.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

bool StepTowards(std::uint64_t limit) {
    const std::lock_guard alone(steerLock);
    if (StepOnce(limit)) return true;
    if (limit != Forever) StandAt(limit);
    return false;
}

// ---- steering --------------------------------------------------------------------------------

void UseRealClock() { ChangeClock(false, 0, {}); }

void UseSteppedClock(std::uint32_t startMilliseconds) {
    ChangeClock(true, InMicroseconds(startMilliseconds), std::this_thread::get_id());
}

bool ClockIsStepped() { return stepped.load(std::memory_order_acquire); }

std::uint64_t Microseconds() {
    return ClockIsStepped() ? steppedNow.load(std::memory_order_acquire) : RealMicroseconds();
}

void Advance(std::uint32_t milliseconds) {
    if (!ClockIsStepped() || InsideAction()) return;
    const std::lock_guard alone(steerLock);
    steeringThread.store(std::this_thread::get_id(), std::memory_order_relaxed);
    const std::uint64_t target = Microseconds() + InMicroseconds(milliseconds);
    while (StepOnce(target)) {
    }
    StandAt(target);
}

} // namespace machine
