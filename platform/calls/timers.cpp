// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The millisecond clock and its one-shots, on the machine's clock. A one-shot's identifier is the
// token of its action.
#include "platform/api/clock.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/faults.h"
#include "platform/machine/power.h"
#include "platform/system/mmtime.h"

#include <algorithm>
#include <mutex>

namespace calls {
namespace {

struct Timers {
    std::mutex Lock;
    TIMECAPS Caps{1, 1000000};
    std::vector<unsigned> Periods;

    bool InRange(UINT milliseconds) const {
        return milliseconds >= Caps.wPeriodMin && milliseconds <= Caps.wPeriodMax;
    }
};

Timers& State() { return common::ImmortalSingleton<Timers>(); }

void Expire(void* callback, std::uintptr_t user) {
    reinterpret_cast<LPTIMECALLBACK>(callback)(device::ActionToken(), 0, user, 0, 0);
}

const machine::AtPowerOn atPowerOn([] {
    const std::scoped_lock lock(State().Lock);
    State().Caps = {1, 1000000};
    State().Periods.clear();
});

} // namespace
} // namespace calls

namespace machine {

using namespace calls;

void SetTimerCaps(unsigned periodMin, unsigned periodMax) {
    const std::scoped_lock lock(State().Lock);
    State().Caps = {periodMin, periodMax};
}

std::vector<std::uint32_t> PendingTimers() {
    std::vector<std::uint32_t> milliseconds;
    for (const std::uint64_t due : device::PendingDueTimes(Expire))
        milliseconds.push_back(static_cast<std::uint32_t>(due / 1000));
    return milliseconds;
}

std::vector<unsigned> OpenTimerPeriods() {
    const std::scoped_lock lock(State().Lock);
    return State().Periods;
}

} // namespace machine

namespace zorsystem {

using namespace calls;
using namespace device;
using namespace machine;

DWORD timeGetTime() { return static_cast<DWORD>(Microseconds() / 1000); }
DWORD GetTickCount() { return timeGetTime(); }

MMRESULT timeGetDevCaps(TIMECAPS* caps, UINT /*size*/) {
    if (const Failure failure{Call::timeGetDevCaps}) return failure;
    const std::scoped_lock lock(State().Lock);
    *caps = State().Caps;
    return TIMERR_NOERROR;
}

MMRESULT timeBeginPeriod(UINT milliseconds) {
    if (const Failure failure{Call::timeBeginPeriod}) return failure;
    StartLane(Lane::Timers);
    const std::scoped_lock lock(State().Lock);
    if (!State().InRange(milliseconds)) return TIMERR_NOCANDO;
    State().Periods.push_back(milliseconds);
    return TIMERR_NOERROR;
}

MMRESULT timeEndPeriod(UINT milliseconds) {
    if (const Failure failure{Call::timeEndPeriod}) return failure;
    const std::scoped_lock lock(State().Lock);
    std::vector<unsigned>& periods = State().Periods;
    const auto period = std::ranges::find(periods, milliseconds);
    if (period == periods.end()) return TIMERR_NOCANDO;
    periods.erase(period);
    return TIMERR_NOERROR;
}

MMRESULT timeSetEvent(UINT delay, UINT /*resolution*/, LPTIMECALLBACK callback, DWORD_PTR user,
                      UINT /*flags*/) {
    if (const Failure failure{Call::timeSetEvent}) return failure;
    std::unique_lock lock(State().Lock);
    if (!State().InRange(delay)) return 0;
    lock.unlock();
    // Counted from the millisecond that timeGetTime reads now: at the expiry it reads that
    // millisecond plus the delay, never one less.
    const std::uint64_t due = (Microseconds() / 1000 + delay) * 1000;
    return Schedule(Lane::Timers, due, Expire, reinterpret_cast<void*>(callback), user);
}

MMRESULT timeKillEvent(UINT id) {
    if (const Failure failure{Call::timeKillEvent}) return failure;
    return Unschedule(id) ? TIMERR_NOERROR : MMSYSERR_INVALPARAM;
}

} // namespace zorsystem
