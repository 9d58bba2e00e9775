/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* Functions that control the stand-in for winmm.dll: two cables, "Cable 1" and "Cable 2", each an
 * output device connected to an input device, and a clock that only StandInAdvance moves. All
 * callbacks run on the thread that calls StandInAdvance. */
#ifndef STANDIN_WINMM_H
#define STANDIN_WINMM_H

#include <windows.h>

/* Advances the clock millisecond by millisecond, and runs timers and inputs as they fall due. */
typedef void(WINAPI* StandInAdvanceFn)(DWORD milliseconds);
/* Returns the nth message sent to an output device, from 0: device * 0x1000000 + packed message. 0
 * if there is none. */
typedef DWORD(WINAPI* StandInSentFn)(int index);
/* Returns the delay of the last one-shot timer programmed, in milliseconds. */
typedef UINT(WINAPI* StandInLastDelayFn)(void);
/* Returns the number of open handles plus that of timer periods not ended. */
typedef int(WINAPI* StandInOpenFn)(void);

#endif
