// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

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

// Milliseconds since an arbitrary fixed time, wrapping at 2^32. Both read the same clock.
DWORD timeGetTime();
DWORD GetTickCount();
MMRESULT timeGetDevCaps(TIMECAPS* caps, UINT size);
MMRESULT timeBeginPeriod(UINT milliseconds);
MMRESULT timeEndPeriod(UINT milliseconds);
// Starts a one-shot timer, delay in milliseconds. Returns its identifier; 0 on failure.
MMRESULT timeSetEvent(UINT delay, UINT resolution, LPTIMECALLBACK callback, DWORD_PTR user,
                      UINT flags);
// No effect on a timer that has expired, also from inside its own callback. Does not wait for a
// running callback.
MMRESULT timeKillEvent(UINT id);

} // namespace zorsystem
