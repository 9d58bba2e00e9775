// The machine's clock, real and stepped, and the lanes that run what falls due.
#include "platform/api/clock.h"
#include "platform/common/immortal_singleton.h"

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

struct Pending {
    std::uint64_t Due; // microseconds
    Token Id;
    Action Run;
    void* Context;
    std::uintptr_t Argument;

    // What comes last is the least: a heap then has on top what comes first.
    bool operator<(const Pending& other) const {
        return Due != other.Due ? Due > other.Due : static_cast<std::int32_t>(Id - other.Id) > 0;
    }
};

struct LaneState {
    std::vector<Pending> ToCome;  // a heap
    std::condition_variable Wake; // something earlier has come, or the clock has changed
    const Pending* Running = nullptr;
    bool Started = false;

    // Whether the other one's first comes before this one's.
    bool operator<(const LaneState& other) const {
        return !other.ToCome.empty() && (ToCome.empty() || ToCome.front() < other.ToCome.front());
    }
};

struct Clock {
    Clock() {
        for (LaneState& state : States) state.ToCome.reserve(Most);
    }
    LaneState& Of(Lane lane) { return States[static_cast<std::size_t>(lane)]; }

    static constexpr std::size_t Most = MostMessages + (1u << 13); // few of them are ever in use
    std::mutex Lock;                                               // of all below
    std::condition_variable ActionDone;
    std::array<LaneState, 2> States;
    const Pending* Stepping = nullptr; // what runs on stepped time
    Token Last = 0;
};

using Lock = std::unique_lock<std::mutex>;

std::atomic<bool> stepped{false};
std::atomic<std::uint64_t> steppedNow{0};
std::atomic<std::thread::id> steeringThread;
std::atomic<void (*)()> afterTimers{nullptr};
std::mutex steerLock; // one thread at a time moves stepped time

thread_local const Pending* running = nullptr; // the action that this thread is inside of

std::uint64_t RealMicroseconds() {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(RealClock::now().time_since_epoch())
            .count());
}

// Takes the lane's first action, and runs it outside the lock, seen by others meanwhile.
void RunFirst(Clock& clock, Lock& lock, LaneState& state, const Pending*& seen) {
    std::pop_heap(state.ToCome.begin(), state.ToCome.end());
    const Pending action = state.ToCome.back();
    state.ToCome.pop_back();
    seen = running = &action;
    lock.unlock();
    action.Run(action.Context, action.Argument);
    const auto then = &state == &clock.Of(Lane::Timers) ? afterTimers.load() : nullptr;
    if (then) then();
    lock.lock();
    seen = running = nullptr;
    clock.ActionDone.notify_all();
}

// ---- lanes -----------------------------------------------------------------------------------

// Waits for the lane's next action, or runs it if it is due.
void RunOrWait(Clock& clock, Lock& lock, LaneState& state) {
    if (stepped.load(std::memory_order_relaxed) || state.ToCome.empty())
        state.Wake.wait(lock);
    else if (const std::uint64_t due = state.ToCome.front().Due; RealMicroseconds() < due)
        state.Wake.wait_until(lock, RealClock::time_point(std::chrono::microseconds(due)));
    else
        RunFirst(clock, lock, state, state.Running);
}

void* LaneMain(void* argument) {
    const auto lane = static_cast<Lane>(reinterpret_cast<std::uintptr_t>(argument));
    pthread_setname_np(pthread_self(), lane == Lane::Timers ? "zor-timers" : "zor-audio");
    if (lane == Lane::Timers) HastenThread();
    prctl(PR_SET_TIMERSLACK, 1); // of ordinary threads, which sound's is
    Clock& clock = The<Clock>();
    for (Lock lock(clock.Lock);;) RunOrWait(clock, lock, clock.Of(lane));
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

// Forgets whatever the test is true for. False if there is none.
template <class Test>
bool Forget(Clock& clock, Test test) {
    std::size_t forgotten = 0;
    for (LaneState& state : clock.States) {
        const std::size_t these = std::erase_if(state.ToCome, test);
        if (these != 0) std::make_heap(state.ToCome.begin(), state.ToCome.end());
        forgotten += these;
    }
    return forgotten != 0;
}

// Every action of this context, or of any if context is null.
void ForgetAll(Clock& clock, const void* context) {
    Forget(clock, [context](const Pending& each) { return !context || each.Context == context; });
}

// ---- stepped time ----------------------------------------------------------------------------

// Drops everything to come and changes the clock; returns when no action runs on another thread.
void ChangeClock(bool toStepped, std::uint64_t start, std::thread::id steering) {
    steeringThread.store(steering, std::memory_order_relaxed);
    Clock& clock = The<Clock>();
    Lock lock(clock.Lock);
    ForgetAll(clock, nullptr);
    steppedNow.store(start, std::memory_order_relaxed);
    stepped.store(toStepped, std::memory_order_release);
    for (LaneState& state : clock.States) state.Wake.notify_all();
    clock.ActionDone.wait(lock, [&clock] { return !OthersRun(clock, nullptr); });
    ForgetAll(clock, nullptr); // what those actions have scheduled
}

void StandAt(std::uint64_t time) {
    if (time > steppedNow.load(std::memory_order_relaxed))
        steppedNow.store(time, std::memory_order_release);
}

// Moves stepped time to the first thing due by the limit and runs it. False if there is none.
bool StepOnce(std::uint64_t limit) {
    WaitUntilLibraryThreadsWait();
    Clock& clock = The<Clock>();
    Lock lock(clock.Lock);
    LaneState& next = *std::max_element(clock.States.begin(), clock.States.end());
    if (next.ToCome.empty() || next.ToCome.front().Due > limit) return false;
    StandAt(next.ToCome.front().Due);
    RunFirst(clock, lock, next, clock.Stepping);
    return true;
}

} // namespace

// ---- the seam --------------------------------------------------------------------------------

void StartLane(Lane lane) {
    const Lock lock(The<Clock>().Lock);
    Start(The<Clock>(), lane);
}

Token Schedule(Lane lane, std::uint64_t dueMicroseconds, Action action, void* context,
               std::uintptr_t argument, std::size_t most) {
    Clock& clock = The<Clock>();
    const Lock lock(clock.Lock);
    LaneState& state = clock.Of(lane);
    if (!Start(clock, lane) || state.ToCome.size() >= std::min(most, Clock::Most)) return 0;
    const Token token = ++clock.Last ? clock.Last : ++clock.Last;
    state.ToCome.push_back({dueMicroseconds, token, action, context, argument});
    std::push_heap(state.ToCome.begin(), state.ToCome.end());
    if (state.ToCome.front().Id == token) state.Wake.notify_one();
    return token;
}

bool Unschedule(Token token) {
    const Lock lock(The<Clock>().Lock);
    return Forget(The<Clock>(), [token](const Pending& each) { return each.Id == token; });
}

void UnscheduleAll(void* context) {
    Clock& clock = The<Clock>();
    Lock lock(clock.Lock);
    ForgetAll(clock, context);
    while (OthersRun(clock, context)) {
        clock.ActionDone.wait(lock);
        ForgetAll(clock, context); // what that action has scheduled
    }
}

void LetActionsEnd() {
    Clock& clock = The<Clock>();
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
    const Lock lock(The<Clock>().Lock);
    std::vector<std::uint64_t> dues;
    for (const LaneState& state : The<Clock>().States)
        for (const Pending& each : state.ToCome)
            if (each.Run == action) dues.push_back(each.Due);
    std::ranges::sort(dues);
    return dues;
}

std::uint64_t ActionDue() { return running ? running->Due : Microseconds(); }
Token ActionToken() { return running ? running->Id : 0; }
bool InsideAction() { return running != nullptr; }

bool ThisThreadSteers() {
    return ClockIsStepped() &&
           steeringThread.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

bool StepTowards(std::uint64_t limit) {
    const std::scoped_lock alone(steerLock);
    if (StepOnce(limit)) return true;
    if (limit != Forever) StandAt(limit);
    return false;
}

// ---- steering --------------------------------------------------------------------------------

void UseRealClock() { ChangeClock(false, 0, {}); }

void UseSteppedClock(std::uint32_t startMilliseconds) {
    ChangeClock(true, std::uint64_t{startMilliseconds} * 1000, std::this_thread::get_id());
}

bool AfterTimers(void (*then)()) {
    afterTimers = then;
    return true;
}

bool ClockIsStepped() { return stepped.load(std::memory_order_acquire); }

std::uint64_t Microseconds() {
    return ClockIsStepped() ? steppedNow.load(std::memory_order_acquire) : RealMicroseconds();
}

void Advance(std::uint32_t milliseconds) {
    if (!ClockIsStepped() || InsideAction()) return;
    const std::scoped_lock alone(steerLock);
    steeringThread.store(std::this_thread::get_id(), std::memory_order_relaxed);
    const std::uint64_t target = Microseconds() + std::uint64_t{milliseconds} * 1000;
    while (StepOnce(target)) {
    }
    StandAt(target);
}

} // namespace machine
