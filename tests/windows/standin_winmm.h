/* Steering the stand-in for winmm.dll: two cables, "Cable 1" and "Cable 2", each an output device
 * and the input device that it leads to, and a clock that stands still but for StandInAdvance.
 * All callbacks run on the thread that calls StandInAdvance. */
#ifndef STANDIN_WINMM_H
#define STANDIN_WINMM_H

#include <windows.h>

/* Moves the clock, one millisecond after another, and runs what falls due. */
typedef void(WINAPI* StandInAdvanceFn)(DWORD milliseconds);
/* The nth message that was sent to an output device: device * 0x1000000 + packed message. 0 if
 * there was none. */
typedef DWORD(WINAPI* StandInSentFn)(int index);
/* Delay of the last one-shot timer programmed. */
typedef UINT(WINAPI* StandInLastDelayFn)(void);
/* Handles open, plus timer periods begun and not ended. */
typedef int(WINAPI* StandInOpenFn)(void);

#endif
