// The millisecond clock and its one-shots, on the machine's clock. A one-shot's identifier is the
// token of its action.
#include "platform/device/clock.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/power.h"
#include "platform/system/mmtime.h"

#include <algorithm>
#include <mutex>

namespace machine {
namespace {

struct Timers {
    std::mutex Lock;
    TIMECAPS Caps{1, 1000000};
    std::vector<unsigned> Periods;
};

Timers& The() {
    static Timers& timers = *new Timers;
    return timers;
}

void Expire(void* callback, std::uintptr_t user) {
    reinterpret_cast<LPTIMECALLBACK>(callback)(ActionToken(), 0, user, 0, 0);
}

void Reset() {
    std::lock_guard lock(The().Lock);
    The().Caps = {1, 1000000};
    The().Periods.clear();
}
const AtPowerOn atPowerOn(Reset);

bool InRange(const Timers& timers, UINT milliseconds) {
    return milliseconds >= timers.Caps.wPeriodMin && milliseconds <= timers.Caps.wPeriodMax;
}

} // namespace

void SetTimerCaps(unsigned periodMin, unsigned periodMax) {
    std::lock_guard lock(The().Lock);
    The().Caps = {periodMin, periodMax};
}

std::vector<std::uint32_t> PendingTimers() {
    std::vector<std::uint32_t> milliseconds;
    for (const std::uint64_t due : PendingDues(Expire))
        milliseconds.push_back(static_cast<std::uint32_t>(due / 1000));
    return milliseconds;
}

std::vector<unsigned> OpenTimerPeriods() {
    std::lock_guard lock(The().Lock);
    return The().Periods;
}

} // namespace machine

namespace zorsystem {

using namespace machine;

DWORD timeGetTime() { return static_cast<DWORD>(Microseconds() / 1000); }
DWORD GetTickCount() { return timeGetTime(); }

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
    std::lock_guard lock(The().Lock);
    if (!InRange(The(), milliseconds)) return TIMERR_NOCANDO;
    The().Periods.push_back(milliseconds);
    return TIMERR_NOERROR;
}

MMRESULT timeEndPeriod(UINT milliseconds) {
    if (const auto failure = OrderedFailure(Call::timeEndPeriod))
        return static_cast<MMRESULT>(*failure);
    std::lock_guard lock(The().Lock);
    std::vector<unsigned>& periods = The().Periods;
    const auto period = std::find(periods.begin(), periods.end(), milliseconds);
    if (period == periods.end()) return TIMERR_NOCANDO;
    periods.erase(period);
    return TIMERR_NOERROR;
}

MMRESULT timeSetEvent(UINT delay, UINT /*resolution*/, LPTIMECALLBACK callback, DWORD_PTR user,
                      UINT flags) {
    if (const auto failure = OrderedFailure(Call::timeSetEvent))
        return static_cast<MMRESULT>(*failure);
    {
        std::lock_guard lock(The().Lock);
        if (!callback || flags != TIME_ONESHOT || !InRange(The(), delay)) return 0;
    }
    // Counted from the millisecond that timeGetTime reads now: at the expiry it reads that
    // millisecond plus the delay, never one less.
    const std::uint64_t due = (Microseconds() / 1000 + delay) * 1000;
    return Schedule(Lane::Timers, due, Expire, reinterpret_cast<void*>(callback), user);
}

MMRESULT timeKillEvent(UINT id) {
    if (const auto failure = OrderedFailure(Call::timeKillEvent))
        return static_cast<MMRESULT>(*failure);
    return Unschedule(id) ? TIMERR_NOERROR : MMSYSERR_INVALPARAM;
}

} // namespace zorsystem
