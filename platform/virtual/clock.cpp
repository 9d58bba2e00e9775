// The machine's clock, real and stepped, and the lanes that run what falls due.
#include "platform/device/clock.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <pthread.h>
#include <sched.h>
#include <sys/prctl.h>
#include <thread>

namespace machine {
namespace {

using RealClock = std::chrono::steady_clock;
static_assert(RealClock::is_steady);

struct Pending {
    Lane On;
    std::uint64_t Due; // microseconds
    Action Run;
    void* Context;
    std::uintptr_t Argument;
    Token Id;
};

struct LaneState {
    std::condition_variable Wake; // something earlier has come, or the clock has changed
    const Pending* Running = nullptr;
    bool Started = false;
};

struct Clock {
    Clock() { ToCome.reserve(Most); }
    LaneState& Of(Lane lane) { return States[static_cast<std::size_t>(lane)]; }
    // The lane's next, or ToCome.rend().
    auto First(Lane lane) {
        return std::find_if(ToCome.rbegin(), ToCome.rend(),
                            [lane](const Pending& each) { return each.On == lane; });
    }

    static constexpr std::size_t Most = 1u << 13; // few of them are ever in use
    std::mutex Lock;                              // of all below
    std::condition_variable ActionDone;
    std::vector<Pending> ToCome; // what comes next stands last
    std::array<LaneState, 2> States;
    const Pending* Stepping = nullptr; // what runs on stepped time
    Token Last = 0;
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

thread_local const Pending* running = nullptr; // the action that this thread is inside of

std::uint64_t RealMicroseconds() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(RealClock::now().time_since_epoch())
            .count());
}

// Takes the action that stands before this place, and runs it outside the lock, seen by others
// meanwhile.
void Run(Clock& clock, Lock& lock, const Pending*& seen, std::vector<Pending>::iterator end) {
    const Pending action = *--end;
    clock.ToCome.erase(end);
    seen = running = &action;
    lock.unlock();
    action.Run(action.Context, action.Argument);
    lock.lock();
    seen = running = nullptr;
    clock.ActionDone.notify_all();
}

// ---- lanes -----------------------------------------------------------------------------------

// Waits for the lane's next action, or runs it if it is due.
void RunOrWait(Clock& clock, Lock& lock, Lane lane) {
    LaneState& state = clock.Of(lane);
    const auto first = clock.First(lane);
    if (stepped.load(std::memory_order_relaxed) || first == clock.ToCome.rend())
        state.Wake.wait(lock);
    else if (const std::uint64_t due = first->Due; RealMicroseconds() < due)
        state.Wake.wait_until(lock, RealClock::time_point(std::chrono::microseconds(due)));
    else
        Run(clock, lock, state.Running, first.base());
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
    const auto runs = [context](const Pending* action) {
        return action && action != running && (!context || action->Context == context);
    };
    return runs(clock.Stepping) || std::ranges::any_of(clock.States, runs, &LaneState::Running);
}

// Every action of this context, or of any if context is null.
void Forget(Clock& clock, const void* context) {
    std::erase_if(clock.ToCome, [context](const Pending& action) {
        return !context || action.Context == context;
    });
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

// Moves stepped time to the first thing due by the limit and runs it. False if there is none.
bool StepOnce(std::uint64_t limit) {
    WaitUntilLibraryThreadsWait();
    Clock& clock = The();
    Lock lock(clock.Lock);
    if (clock.ToCome.empty() || clock.ToCome.back().Due > limit) return false;
    StandAt(clock.ToCome.back().Due);
    Run(clock, lock, clock.Stepping, clock.ToCome.end());
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
    if (!Start(clock, lane) || clock.ToCome.size() == Clock::Most) return 0;
    const Token token = ++clock.Last ? clock.Last : ++clock.Last;
    const auto place = std::ranges::lower_bound(clock.ToCome, dueMicroseconds, std::greater<>(),
                                                &Pending::Due); // before those of the same time
    clock.ToCome.insert(place, {lane, dueMicroseconds, action, context, argument, token});
    if (clock.First(lane)->Id == token) clock.Of(lane).Wake.notify_one();
    return token;
}

bool Unschedule(Token token) {
    const Lock lock(The().Lock);
    return std::erase_if(The().ToCome, [token](const Pending& each) { return each.Id == token; });
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
    std::vector<std::uint64_t> dues;
    for (auto each = The().ToCome.rbegin(); each != The().ToCome.rend(); ++each)
        if (each->Run == action) dues.push_back(each->Due);
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
