#include "platform/virtual/scheduler.h"

#include "platform/kernel/objects.h"
#include "platform/kernel/thread_id.h"
#include "platform/virtual/action_queue.h"
#include "platform/virtual/clock.h"
#include "platform/virtual/steering.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>

namespace machine {
namespace {

using RealClock = std::chrono::steady_clock;
static_assert(RealClock::is_steady);

// The action that a thread is inside of: a lane's, or with the stepped clock the steering thread's.
struct Runner {
    DWORD Thread = 0;
    void* Context = nullptr;
    bool Busy = false;
};

struct LaneState {
    ActionQueue Queue;
    std::condition_variable Wake; // something earlier has come, or the clock has changed
    Runner Running;
    bool Started = false;
};

struct Scheduler {
    std::mutex Lock;
    std::condition_variable ActionDone;
    ActionPool Pool;
    std::array<LaneState, 2> Lanes;
    Runner Steering;

    LaneState& Of(Lane lane) { return Lanes[static_cast<std::size_t>(lane)]; }
};

// Never destroyed: lanes run until the process ends.
Scheduler& The() {
    static Scheduler& scheduler = *new Scheduler;
    return scheduler;
}

std::atomic<bool> stepped{false};
std::atomic<std::uint64_t> steppedNow{0};
std::atomic<DWORD> steeringThread{0};
std::mutex steerLock; // one thread at a time moves stepped time

thread_local std::uint64_t actionDue = 0;
thread_local int actionDepth = 0;

std::uint64_t RealMicroseconds() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(RealClock::now().time_since_epoch())
            .count());
}

// Runs a taken action outside the lock, visible in runner meanwhile.
void Run(Scheduler& scheduler, std::unique_lock<std::mutex>& lock, Runner& runner,
         const PendingAction& action) {
    runner = {CurrentThread(), action.Context, true};
    lock.unlock();
    actionDue = action.Due;
    ++actionDepth;
    action.Run(action.Context, action.Argument);
    --actionDepth;
    lock.lock();
    runner = {};
    scheduler.ActionDone.notify_all();
}

// Timers and MIDI go before ordinary threads where the system allows it, and where it does not they
// at least wake without the slack that it gives to ordinary threads. What a callback starts is
// ordinary again.
void Hasten(Lane lane) {
    prctl(PR_SET_TIMERSLACK, 1);
    if (lane != Lane::Timers) return;
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_FIFO) + 10;
    sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters);
}

void RunLane(Lane lane) {
    Hasten(lane);
    Scheduler& scheduler = The();
    LaneState& state = scheduler.Of(lane);
    std::unique_lock lock(scheduler.Lock);
    for (;;) {
        if (stepped.load(std::memory_order_relaxed) || state.Queue.Empty()) {
            state.Wake.wait(lock);
            continue;
        }
        const std::uint64_t due = state.Queue.FirstDue(scheduler.Pool);
        if (RealMicroseconds() < due) {
            state.Wake.wait_until(lock, RealClock::time_point(std::chrono::microseconds(due)));
            continue;
        }
        const PendingAction action = state.Queue.TakeFirst(scheduler.Pool);
        Run(scheduler, lock, state.Running, action);
    }
}

void* LaneMain(void* argument) {
    const auto lane = static_cast<Lane>(reinterpret_cast<std::uintptr_t>(argument));
    pthread_setname_np(pthread_self(), lane == Lane::Timers ? "zor-timers" : "zor-audio");
    RunLane(lane);
    return nullptr;
}

// With the lock held. False if the system has no thread for it.
bool Start(Scheduler& scheduler, Lane lane) {
    LaneState& state = scheduler.Of(lane);
    if (state.Started || stepped.load(std::memory_order_relaxed)) return true;
    pthread_t thread;
    void* const argument = reinterpret_cast<void*>(static_cast<std::uintptr_t>(lane));
    if (pthread_create(&thread, nullptr, LaneMain, argument) != 0) return false;
    pthread_detach(thread);
    state.Started = true;
    return true;
}

// Whether another thread is inside an action; of this context, or of any if context is null.
bool OthersRun(const Scheduler& scheduler, const void* context) {
    const auto runs = [context](const Runner& runner) {
        return runner.Busy && runner.Thread != CurrentThread() &&
               (!context || runner.Context == context);
    };
    for (const LaneState& state : scheduler.Lanes)
        if (runs(state.Running)) return true;
    return runs(scheduler.Steering);
}

// Drops everything to come and changes the clock; returns when no action runs on another thread.
void ChangeClock(bool toStepped, std::uint64_t start) {
    Scheduler& scheduler = The();
    {
        std::unique_lock lock(scheduler.Lock);
        const auto clear = [&scheduler] {
            for (LaneState& state : scheduler.Lanes) state.Queue.Clear(scheduler.Pool);
        };
        clear();
        steppedNow.store(start, std::memory_order_relaxed);
        stepped.store(toStepped, std::memory_order_release);
        for (LaneState& state : scheduler.Lanes) state.Wake.notify_all();
        scheduler.ActionDone.wait(lock, [&scheduler] { return !OthersRun(scheduler, nullptr); });
        clear(); // what those actions have scheduled
    }
    ForgetTimers();
}

// The lane whose first action comes before the other's, or null if nothing is due by the limit.
LaneState* NextLane(Scheduler& scheduler, std::uint64_t limit) {
    LaneState* next = nullptr;
    for (LaneState& state : scheduler.Lanes) {
        if (state.Queue.Empty() || state.Queue.FirstDue(scheduler.Pool) > limit) continue;
        if (!next || state.Queue.ComesBefore(next->Queue, scheduler.Pool)) next = &state;
    }
    return next;
}

// Moves stepped time to the first thing due by the limit and runs it. False if there is none.
bool StepOnce(std::uint64_t limit) {
    WaitUntilLibraryThreadsWait();
    Scheduler& scheduler = The();
    std::unique_lock lock(scheduler.Lock);
    LaneState* const lane = NextLane(scheduler, limit);
    if (!lane) return false;
    const PendingAction action = lane->Queue.TakeFirst(scheduler.Pool);
    if (action.Due > steppedNow.load(std::memory_order_relaxed))
        steppedNow.store(action.Due, std::memory_order_release);
    Run(scheduler, lock, scheduler.Steering, action);
    return true;
}

bool MaySteer() { return stepped.load(std::memory_order_acquire) && actionDepth == 0; }

constexpr std::uint64_t InMicroseconds(std::uint32_t milliseconds) {
    return std::uint64_t{milliseconds} * 1000;
}

void StandAt(std::uint64_t time) {
    if (time > steppedNow.load(std::memory_order_relaxed))
        steppedNow.store(time, std::memory_order_release);
}

} // namespace

// ---- scheduling ------------------------------------------------------------------------------

void StartLane(Lane lane) {
    Scheduler& scheduler = The();
    std::lock_guard lock(scheduler.Lock);
    Start(scheduler, lane);
}

Token Schedule(Lane lane, std::uint64_t dueMicroseconds, Action action, void* context,
               std::uintptr_t argument) {
    Scheduler& scheduler = The();
    std::lock_guard lock(scheduler.Lock);
    if (!Start(scheduler, lane)) return 0;
    LaneState& state = scheduler.Of(lane);
    const Token token =
        state.Queue.Add(scheduler.Pool, {dueMicroseconds, action, context, argument}, lane);
    if (token != 0 && state.Queue.IsFirst(scheduler.Pool, token)) state.Wake.notify_one();
    return token;
}

bool Unschedule(Token token) {
    Scheduler& scheduler = The();
    std::lock_guard lock(scheduler.Lock);
    const std::optional<Lane> lane = scheduler.Pool.LaneOf(token);
    if (!lane) return false;
    scheduler.Of(*lane).Queue.Remove(scheduler.Pool, token);
    return true;
}

void UnscheduleAll(void* context) {
    Scheduler& scheduler = The();
    std::unique_lock lock(scheduler.Lock);
    for (LaneState& state : scheduler.Lanes) state.Queue.RemoveAll(scheduler.Pool, context);
    while (OthersRun(scheduler, context)) {
        scheduler.ActionDone.wait(lock);
        for (LaneState& state : scheduler.Lanes) state.Queue.RemoveAll(scheduler.Pool, context);
    }
}

void LetActionsEnd() {
    Scheduler& scheduler = The();
    std::unique_lock lock(scheduler.Lock);
    scheduler.ActionDone.wait_for(lock, std::chrono::seconds(5),
                                  [&scheduler] { return !OthersRun(scheduler, nullptr); });
}

std::uint64_t ActionDue() { return actionDepth > 0 ? actionDue : Microseconds(); }

// ---- the clock -------------------------------------------------------------------------------

void UseRealClock() {
    steeringThread.store(0, std::memory_order_relaxed);
    ChangeClock(false, 0);
}

void UseSteppedClock(std::uint32_t startMilliseconds) {
    steeringThread.store(CurrentThread(), std::memory_order_relaxed);
    ChangeClock(true, InMicroseconds(startMilliseconds));
}

bool ClockIsStepped() { return stepped.load(std::memory_order_acquire); }

std::uint64_t Microseconds() {
    return stepped.load(std::memory_order_acquire) ? steppedNow.load(std::memory_order_acquire)
                                                   : RealMicroseconds();
}

void Advance(std::uint32_t milliseconds) {
    if (!MaySteer()) return;
    std::lock_guard steer(steerLock);
    steeringThread.store(CurrentThread(), std::memory_order_relaxed);
    const std::uint64_t target = Microseconds() + InMicroseconds(milliseconds);
    while (StepOnce(target)) {
    }
    StandAt(target);
}

bool AdvanceToNext(std::uint32_t limitMilliseconds) {
    if (!MaySteer()) return false;
    std::lock_guard steer(steerLock);
    steeringThread.store(CurrentThread(), std::memory_order_relaxed);
    const std::uint64_t limit = Microseconds() + InMicroseconds(limitMilliseconds);
    const bool ran = StepOnce(limit);
    if (ran)
        while (StepOnce(Microseconds())) {
        }
    else
        StandAt(limit);
    return ran;
}

bool ThisThreadSteers() {
    return stepped.load(std::memory_order_acquire) &&
           steeringThread.load(std::memory_order_relaxed) == CurrentThread();
}

bool InsideAction() { return actionDepth > 0; }

bool StepTowards(std::uint64_t limit) {
    std::lock_guard steer(steerLock);
    if (StepOnce(limit)) return true;
    if (limit != Never) StandAt(limit);
    return false;
}

} // namespace machine
