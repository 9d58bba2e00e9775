// The millisecond clock and its one-shot timers.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

struct TIMECAPS {
    UINT wPeriodMin;
    UINT wPeriodMax;
};
using LPTIMECALLBACK = void(CALLBACK*)(UINT, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);
constexpr MMRESULT TIMERR_NOERROR = 0;
constexpr MMRESULT TIMERR_NOCANDO = 97;
constexpr UINT TIME_ONESHOT = 0;

// Milliseconds since some fixed moment, wrapping after 2^32. Both read the same clock.
DWORD timeGetTime();
DWORD GetTickCount();
MMRESULT timeGetDevCaps(TIMECAPS* caps, UINT size);
MMRESULT timeBeginPeriod(UINT milliseconds);
MMRESULT timeEndPeriod(UINT milliseconds);
// Programs one expiry and gives its identifier, never 0 but on failure.
MMRESULT timeSetEvent(UINT delay, UINT resolution, LPTIMECALLBACK callback, DWORD_PTR user,
                      UINT flags);
// Harmless for an identifier that has expired, from inside its own callback too. Does not wait for
// a callback under way.
MMRESULT timeKillEvent(UINT id);

} // namespace zorsystem
