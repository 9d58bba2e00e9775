// The millisecond clock and its one-shots, on the machine's scheduler.
#include "platform/system/mmtime.h"

#include "platform/virtual/clock.h"
#include "platform/virtual/fault_point.h"
#include "platform/virtual/power.h"
#include "platform/virtual/scheduler.h"
#include "platform/virtual/steering.h"

#include <algorithm>
#include <array>
#include <mutex>

namespace machine {
namespace {

// A record's identifier is a count of its uses above its index, so that an old one never names a
// new timer.
constexpr UINT IndexBits = 10;
constexpr UINT TimerCount = 1u << IndexBits;

struct Timer {
    UINT Id; // 0 while free
    UINT Uses;
    Token Scheduled;
    std::uint64_t Due; // microseconds
    LPTIMECALLBACK Callback;
    DWORD_PTR User;
};

struct Timers {
    std::mutex Lock;
    std::array<Timer, TimerCount> All{};
    UINT Search = 0; // where the last free record was found
    TIMECAPS Caps{1, 1000000};
    std::vector<unsigned> Periods;
};

Timers& The() {
    static Timers& timers = *new Timers;
    return timers;
}

Timer* Find(Timers& timers, UINT id) {
    Timer& timer = timers.All[id % TimerCount];
    return id != 0 && timer.Id == id ? &timer : nullptr;
}

Timer* FindFree(Timers& timers) {
    for (UINT tried = 0; tried < TimerCount; ++tried) {
        timers.Search = (timers.Search + 1) % TimerCount;
        if (timers.All[timers.Search].Id == 0) return &timers.All[timers.Search];
    }
    return nullptr;
}

void Expire(void* /*context*/, std::uintptr_t argument) {
    const auto id = static_cast<UINT>(argument);
    LPTIMECALLBACK callback = nullptr;
    DWORD_PTR user = 0;
    {
        Timers& timers = The();
        std::lock_guard lock(timers.Lock);
        Timer* const timer = Find(timers, id);
        if (!timer) return; // cancelled as it was about to begin
        callback = timer->Callback;
        user = timer->User;
        timer->Id = 0;
    }
    callback(id, 0, user, 0, 0);
}

void Reset() {
    Timers& timers = The();
    std::lock_guard lock(timers.Lock);
    timers.Caps = {1, 1000000};
    timers.Periods.clear();
}
const AtPowerOn atPowerOn(Reset);

bool InRange(const Timers& timers, UINT milliseconds) {
    return milliseconds >= timers.Caps.wPeriodMin && milliseconds <= timers.Caps.wPeriodMax;
}

} // namespace

void ForgetTimers() {
    Timers& timers = The();
    std::lock_guard lock(timers.Lock);
    for (Timer& timer : timers.All) timer.Id = 0;
}

void SetTimerCaps(unsigned periodMin, unsigned periodMax) {
    std::lock_guard lock(The().Lock);
    The().Caps = {periodMin, periodMax};
}

std::vector<std::uint32_t> PendingTimers() {
    std::vector<std::uint64_t> dues;
    {
        std::lock_guard lock(The().Lock);
        for (const Timer& timer : The().All)
            if (timer.Id != 0) dues.push_back(timer.Due);
    }
    std::sort(dues.begin(), dues.end());
    std::vector<std::uint32_t> milliseconds;
    for (const std::uint64_t due : dues)
        milliseconds.push_back(static_cast<std::uint32_t>(due / 1000));
    return milliseconds;
}

std::vector<unsigned> OpenTimerPeriods() {
    std::lock_guard lock(The().Lock);
    return The().Periods;
}

} // namespace machine

using namespace machine;

DWORD timeGetTime() { return static_cast<DWORD>(Microseconds() / 1000); }

MMRESULT timeGetDevCaps(TIMECAPS* caps, UINT size) {
    if (const auto failure = OrderedFailure(Call::timeGetDevCaps))
        return static_cast<MMRESULT>(*failure);
    if (!caps || size < sizeof(TIMECAPS)) return TIMERR_NOCANDO;
    std::lock_guard lock(The().Lock);
    *caps = The().Caps;
    return TIMERR_NOERROR;
}

MMRESULT timeBeginPeriod(UINT milliseconds) {
    if (const auto failure = OrderedFailure(Call::timeBeginPeriod))
        return static_cast<MMRESULT>(*failure);
    StartLane(Lane::Timers);
    Timers& timers = The();
    std::lock_guard lock(timers.Lock);
    if (!InRange(timers, milliseconds)) return TIMERR_NOCANDO;
    timers.Periods.push_back(milliseconds);
    return TIMERR_NOERROR;
}

MMRESULT timeEndPeriod(UINT milliseconds) {
    if (const auto failure = OrderedFailure(Call::timeEndPeriod))
        return static_cast<MMRESULT>(*failure);
    Timers& timers = The();
    std::lock_guard lock(timers.Lock);
    const auto period = std::find(timers.Periods.begin(), timers.Periods.end(), milliseconds);
    if (period == timers.Periods.end()) return TIMERR_NOCANDO;
    timers.Periods.erase(period);
    return TIMERR_NOERROR;
}

MMRESULT timeSetEvent(UINT delay, UINT /*resolution*/, LPTIMECALLBACK callback, DWORD_PTR user,
                      UINT flags) {
    if (const auto failure = OrderedFailure(Call::timeSetEvent))
        return static_cast<MMRESULT>(*failure);
    Timers& timers = The();
    std::lock_guard lock(timers.Lock);
    if (!callback || flags != TIME_ONESHOT || !InRange(timers, delay)) return 0;
    Timer* const timer = FindFree(timers);
    if (!timer) return 0;
    const auto index = static_cast<UINT>(timer - timers.All.data());
    timer->Uses = (timer->Uses + 1) % (UINT{1} << (32 - IndexBits));
    if (timer->Uses == 0) timer->Uses = 1; // no identifier is 0
    const UINT id = timer->Uses << IndexBits | index;
    // Counted from the millisecond that timeGetTime reads now: at the expiry it reads that
    // millisecond plus the delay, never one less.
    timer->Due = (Microseconds() / 1000 + delay) * 1000;
    timer->Callback = callback;
    timer->User = user;
    timer->Scheduled = Schedule(Lane::Timers, timer->Due, Expire, nullptr, id);
    if (timer->Scheduled == 0) return 0;
    timer->Id = id;
    return id;
}

MMRESULT timeKillEvent(UINT id) {
    if (const auto failure = OrderedFailure(Call::timeKillEvent))
        return static_cast<MMRESULT>(*failure);
    Timers& timers = The();
    std::lock_guard lock(timers.Lock);
    Timer* const timer = Find(timers, id);
    if (!timer) return MMSYSERR_INVALPARAM;
    Unschedule(timer->Scheduled);
    timer->Id = 0;
    return TIMERR_NOERROR;
}
