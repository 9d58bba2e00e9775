/* Wine's DirectSound does not begin now and then, in 3 openings of 100, without the library too:
 * Start succeeds, the buffer says that it captures, but it stays at its first byte and signals
 * nothing. Who hears nothing from such a buffer has no fault of ours before him. */
#ifndef TESTS_WINDOWS_NEVER_BEGAN_H
#define TESTS_WINDOWS_NEVER_BEGAN_H

#define COBJMACROS
#include <windows.h>

#include <dsound.h>

/* Whether this is one. To be asked two seconds and more after its start. */
static inline int neverBegan(IDirectSoundCaptureBuffer* started) {
    DWORD status = 0, captured = 1, readable = 1;
    return started && SUCCEEDED(IDirectSoundCaptureBuffer_GetStatus(started, &status)) &&
           status == (DSCBSTATUS_CAPTURING | DSCBSTATUS_LOOPING) &&
           SUCCEEDED(IDirectSoundCaptureBuffer_GetCurrentPosition(started, &captured, &readable)) &&
           captured == 0 && readable == 0;
}

#endif
