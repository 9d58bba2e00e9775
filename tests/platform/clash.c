/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* A host that has functions of all the system's names itself, compiled as C and as C++: the library
 * still reaches its own ones, and none of the host's is ever called. The one in C++ has types of
 * those names too, and steers the machine. */
typedef char HWND, HANDLE, DWORD, UINT, BOOL, MMRESULT, HMIDIOUT, HWAVEIN, CRITICAL_SECTION;
#include "engine/zormidi.h"
#ifdef __cplusplus
#include "platform/machine.h"
#endif

#include <stdio.h>
#include <stdlib.h>

#ifdef __cplusplus
extern "C" {
#endif
#define NAME(name)                                                                                 \
    void name(void) {                                                                              \
        fprintf(stderr, "the host's " #name " was called\n");                                      \
        abort();                                                                                   \
    }
#include "clash_names.inc"
#ifdef __cplusplus
}
#endif

/* The note that is played comes back, at a time of this run. */
int main(void) {
    const MIDIEvent note = {20, 0, 0, 2, 0x90, 60, 96};
    const MIDIEvent rest = {60, 0, 0, 0, 0xF8, 1, 0};
    MIDIEvent heard = {0, 0, 0, 0, 0, 0, 0};
#ifdef __cplusplus
    machine::PowerOn();
    machine::Connect(machine::AddMidiOutput("Out"), machine::AddMidiInput("In"), 1);
#endif
    if (MIDISysInit(0) != -1 || !ZorAllocMIDI(ZOR_QUEUE_INPUT, 16) ||
        !ZorAllocMIDI(ZOR_QUEUE_OUTPUT, 16) || !ZorStartMIDI(1))
        return fprintf(stderr, "MIDI could not be started\n"), 1;
    ZorXmit(ZOR_QUEUE_OUTPUT, &note);
    ZorXmit(ZOR_QUEUE_OUTPUT, &rest);
    const ZorBool played = ZorXmitEmpty(1);
    const int32_t end = ZorTimeMIDI(0);
    const ZorBool back = ZorRcv(&heard, 0);
    ZorStopMIDI();
    MIDISysTerm();
    printf("played %d, ended at %d ms, heard %02X %d at %d ms\n", played, end, heard.Status,
           heard.Data1, heard.Time);
    /* A clock of the host's would read the time since its computer was switched on. */
    return played && back && heard.Status == 0x90 && heard.Data1 == 60 && heard.Time >= 20 &&
                   heard.Time <= end && end >= 60 && end < 600000
               ? 0
               : 1;
}
