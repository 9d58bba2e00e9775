/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* Detects a fault of Wine's DirectSound: in about 3 of 100 openings, with or without the library,
 * Start succeeds and the buffer reports that it captures, but its position stays at 0 and it
 * signals nothing. A test that receives no sound from such a buffer must open it again. */
#ifndef TESTS_WINDOWS_NEVER_BEGAN_H
#define TESTS_WINDOWS_NEVER_BEGAN_H

#define COBJMACROS
#include <windows.h>

#include <dsound.h>

/* Returns nonzero for such a buffer. Call it at least two seconds after Start. */
static inline int neverBegan(IDirectSoundCaptureBuffer* started) {
    DWORD status = 0, captured = 1, readable = 1;
    return started && SUCCEEDED(IDirectSoundCaptureBuffer_GetStatus(started, &status)) &&
           status == (DSCBSTATUS_CAPTURING | DSCBSTATUS_LOOPING) &&
           SUCCEEDED(IDirectSoundCaptureBuffer_GetCurrentPosition(started, &captured, &readable)) &&
           captured == 0 && readable == 0;
}

#endif
