/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* A host on Windows: loads ZORMIDI.DLL from the given path and runs a session on it.
 *
 *   winhost standin DLL   on the stand-in winmm.dll: MIDI over a cable, the clock stepped by hand
 *   winhost system DLL    on the system's own timer, without MIDI devices
 *   winhost hundred DLL   a hundred sessions on the stand-in, on the real clock, with a microphone
 *                         that carries a tone, by DirectSound if available, else waveIn
 *
 * Prints a line per check; the exit code is the number of failed checks. */
#include "engine/zormidi.h"
#include "never_began.h"
#include "standin_winmm.h"

#include <stdio.h>
#include <string.h>

static int failed = 0;

static int check(int good, const char* what) {
    printf("%s  %s\n", good ? "pass" : "FAIL", what);
    fflush(stdout);
    failed += !good;
    return good;
}

/* ---- the 29 functions, by name ---- */

typedef struct {
    const char* name;
    int bytes; /* of arguments */
    FARPROC function;
} Export;

static Export exports[] = {
#define EXPORT(name, bytes) {#name, bytes, NULL},
#include "zormidi.inc"
#undef EXPORT
};
enum {
#define EXPORT(name, bytes) At_##name,
#include "zormidi.inc"
#undef EXPORT
    ExportCount
};

/* The exported function, with its type from the header. */
#define ZOR(name) ((__typeof__(&name))(void (*)(void))exports[At_##name].function)

static int loadLibrary(const char* path) {
    HMODULE library = LoadLibraryA(path);
    int found = 0;
    if (!check(library != NULL, "the library loads")) return 0;
    for (int i = 0; i < ExportCount; ++i) {
        exports[i].function = GetProcAddress(library, exports[i].name);
        found += exports[i].function != NULL;
    }
    return check(found == ExportCount && ExportCount == 29, "all 29 functions are found by name");
}

static MIDIEvent record(int32_t time, int16_t channel, uint8_t status, uint8_t data1,
                        uint8_t data2) {
    MIDIEvent event = {0};
    event.Time = time;
    event.Etime = 2 * time;
    event.Channel = channel;
    event.Length = 2;
    event.Status = status;
    event.Data1 = data1;
    event.Data2 = data2;
    return event;
}

/* ---- 32 bits: the callee cleans the stack, which may have any alignment ---- */

#ifdef __i386__

/* Calls function with the given bytes of arguments. The stack is offset bytes below a multiple of
 * 16 before they are pushed. Stores how many bytes the callee removed. */
unsigned callFromOddStack(FARPROC function, const void* arguments, int bytes, int offset,
                          int* popped);
__asm__(".globl _callFromOddStack\n"
        "_callFromOddStack:\n"
        "  pushl %ebp\n"
        "  movl %esp, %ebp\n"
        "  pushl %ebx\n"
        "  pushl %esi\n"
        "  pushl %edi\n"
        "  andl $-16, %esp\n"
        "  subl 20(%ebp), %esp\n"
        "  movl 16(%ebp), %ecx\n"
        "  subl %ecx, %esp\n"
        "  movl 12(%ebp), %esi\n"
        "  movl %esp, %edi\n"
        "  cld\n"
        "  rep movsb\n"
        "  movl %esp, %ebx\n"
        "  call *8(%ebp)\n"
        "  movl 24(%ebp), %ecx\n"
        "  movl %esp, %edx\n"
        "  subl %ebx, %edx\n"
        "  movl %edx, (%ecx)\n"
        "  leal -12(%ebp), %esp\n"
        "  popl %edi\n"
        "  popl %esi\n"
        "  popl %ebx\n"
        "  popl %ebp\n"
        "  ret\n");

/* The library is not initialised: every call must be harmless, with null pointers and queue 0 too.
 */
static void checkCallingConvention(void) {
    for (int i = 0; i < ExportCount; ++i) {
        DWORD arguments[5] = {0};
        int popped = -1, good = 1;
        if (i == At_ZorConfigMIDIDriver) arguments[1] = 5; /* no such driver, no dialog */
        for (int offset = 0; offset < 16; offset += 4) {
            callFromOddStack(exports[i].function, arguments, exports[i].bytes, offset, &popped);
            good = good && popped == exports[i].bytes;
        }
        if (!good) printf("      %s removed %d bytes\n", exports[i].name, popped);
        check(good, exports[i].name);
    }
}

/* The system guarantees callbacks only 4 bytes of stack alignment. With echo on, a message passes
 * from the input callback to an output. */
static void checkCallbacksFromOddStack(StandInSentFn sent, int already) {
    /* Cable 2's input, MIM_DATA, a program change: the longest path, with the patch cache. */
    DWORD input[5] = {2, 963, 0, 0x05C1, 0};
    DWORD timer[5] = {1, 0, 0, 0, 0};
    int popped = 0, count = already;
    for (int offset = 0; offset < 16; offset += 4) {
        MIDIEvent due = record(0, 16, 0x90, (uint8_t)(70 + offset), 1);
        callFromOddStack(exports[At_MmeMidiInCallBack].function, input, 20, offset, &popped);
        count += sent(count) != 0;
        ZOR(ZorXmit)(1, &due);
        callFromOddStack(exports[At_MMETimerCallBack].function, timer, 20, offset, &popped);
        count += sent(count) != 0;
    }
    check(count == already + 8, "callbacks work at every alignment of the stack");
}

#else
static void checkCallingConvention(void) {}
static void checkCallbacksFromOddStack(StandInSentFn sent, int already) {
    (void)sent;
    (void)already;
}
#endif

/* ---- sessions ---- */

/* The ini file beside the library has MMESpeed=7 and port 1 of both directions on "Cable 2", with
 * output base 17 and input base 33; ini files in other folders have other values. */
static void sessionOnStandIn(void) {
    HMODULE winmm = GetModuleHandleA("winmm.dll");
    StandInAdvanceFn advance =
        (StandInAdvanceFn)(void (*)(void))GetProcAddress(winmm, "StandInAdvance");
    StandInSentFn sent = (StandInSentFn)(void (*)(void))GetProcAddress(winmm, "StandInSent");
    StandInLastDelayFn lastDelay =
        (StandInLastDelayFn)(void (*)(void))GetProcAddress(winmm, "StandInLastDelay");
    StandInOpenFn open = (StandInOpenFn)(void (*)(void))GetProcAddress(winmm, "StandInOpen");
    MIDIEvent note = record(100, 19, 0x90, 60, 100), received = {0};
    uint8_t map[64], driversOpen = 0, timerRunning = 0;
    uint16_t size = 0, count = 0;
    char text[30] = "";
    if (!check(advance && sent && lastDelay && open, "the stand-in is in place")) return;

    check(ZOR(MIDISysInit)(0) == -1, "MIDISysInit");
    check(ZOR(MIDISysInit)(0) == ZOR_ALREADY_INITIALISED, "a second MIDISysInit reports it");
    check(ZOR(ZorMIDIDriverVersion)(text) == 0x04030401 && text[0], "the version has a text");
    check(ZOR(ZorAllocMIDI)(0, 64) && ZOR(ZorAllocMIDI)(1, 64), "queues");
    check(ZOR(ZorStartMIDI)(1) != 0, "ZorStartMIDI");
    ZOR(ZorMIDIStatus)(&driversOpen, &timerRunning);
    check(driversOpen && timerRunning, "drivers open and timer running");
    check(lastDelay() == 7, "MMESpeed is read from the ini file beside the library");

    check(ZOR(ZorXmit)(1, &note) != 0, "a record is queued");
    check(ZOR(ZorReportMQ)(1, &size, &count) && size == 64 && count == 1, "and counted");
    advance(99);
    check(sent(0) == 0, "a record is not played early");
    advance(1);
    check(sent(0) == 0x01643C93, "it is played at its time, on the port that the ini file names");
    check(ZOR(ZorRcv)(&received, 0) && received.Time == 100 && received.Channel == 35 &&
              received.Status == 0x90 && received.Data1 == 60 && received.Data2 == 100 &&
              received.Length == 2,
          "and comes back through the cable with its time");
    check(ZOR(ZorTimeMIDI)(0) == 100 && ZOR(ZorEtimeMIDI)(1, NULL) == 200, "time and position");

    ZOR(ZorKillMIDI)();
    check(sent(1) == 0x01003C93 && sent(2) == 0, "ZorKillMIDI ends the note that sounds");
    note.Channel = -1;
    note.Status = 0xC0;
    check(ZOR(ZorXmit)(ZOR_IMMEDIATE, &note) && sent(17) == 0x01643CCF && sent(18) == 0,
          "an immediate record for all channels goes to all 16");
    ZOR(ZorMIDIPlay)();
    advance(1);

    for (int i = 0; i < 64; ++i) map[i] = (uint8_t)(i / 2);
    ZOR(ZorEchoMIDI)(1, map);
    checkCallbacksFromOddStack(sent, 18);
    ZOR(ZorEchoMIDI)(0, NULL);

    check(ZOR(ZorStopMIDI)() && open() == 0, "everything is closed and released");
    check(ZOR(ZorErrorMIDI)(NULL) == -1, "no driver has an error");
    check(ZOR(MIDISysTerm)() != 0, "MIDISysTerm");
}

static void sessionOnSystem(void) {
    int good = 1;
    uint8_t timerRunning = 0;
    check(ZOR(MIDISysInit)(0) == -1, "MIDISysInit");
    check(ZOR(ZorAllocMIDI)(1, 64) != 0, "a queue");
    check(ZOR(ZorStartTimer)() != 0, "the system's timer starts");
    for (int i = 0; i < 40; ++i) {
        MIDIEvent event = record(i * 5, 0, 0x90, 60, 100);
        good = good && ZOR(ZorXmit)(1, &event);
    }
    check(good, "records are queued");
    check(ZOR(ZorXmitEmpty)(1) != 0, "the timer plays the queue to its end");
    check(ZOR(ZorTimeMIDI)(0) >= 195 && ZOR(ZorEtimeMIDI)(1, NULL) == 390,
          "no record left before its time");
    check(ZOR(ZorStopMIDI)() != 0, "ZorStopMIDI");
    ZOR(ZorMIDIStatus)(NULL, &timerRunning);
    check(!timerRunning && ZOR(ZorTimeMIDI)(0) == 0, "the timer is stopped");
    check(ZOR(MIDISysTerm)() != 0, "MIDISysTerm");
}

/* ---- a hundred sessions ---- */

typedef struct {
    long bytes, blocks; /* of all heaps */
    int handles, windows, drawing;
} Holdings;

/* Counts objects by trying all handles, since not every system counts them. */
static Holdings holdings(void) {
    Holdings held = {0};
    HANDLE heaps[64];
    const DWORD heapCount = GetProcessHeaps(64, heaps);
    for (DWORD i = 0; i < heapCount && i < 64; ++i) {
        PROCESS_HEAP_ENTRY entry = {0};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry)) {
            if (!(entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)) continue;
            held.bytes += (long)entry.cbData;
            ++held.blocks;
        }
        HeapUnlock(heaps[i]);
    }
    for (ULONG_PTR value = 1; value < 0x8000; ++value) {
        DWORD flags, process = 0;
        if (value % 4 == 0) held.handles += GetHandleInformation((HANDLE)value, &flags) != 0;
        GetWindowThreadProcessId((HWND)value, &process);
        held.windows += process == GetCurrentProcessId();
        held.drawing += GetObjectType((HGDIOBJ)value) != 0;
    }
    return held;
}

/* Allows one event that Wine's DirectSound may create once per process, with or without the
 * library. A leak of the library would recur in each of the ninety sessions. */
static int moreObjects(Holdings than, Holdings held) {
    enum { SystemsOwnEvent = 1 };
    return held.handles > than.handles + SystemsOwnEvent || held.windows > than.windows ||
           held.drawing > than.drawing;
}

/* The capture buffer that the library started last; valid while its session is open. */
static IDirectSoundCaptureBuffer* volatile started = NULL;
static HRESULT(WINAPI* systemsStart)(IDirectSoundCaptureBuffer*, DWORD);

static HRESULT WINAPI startAndNote(IDirectSoundCaptureBuffer* buffer, DWORD flags) {
    const HRESULT result = systemsStart(buffer, flags);
    if (SUCCEEDED(result)) started = buffer;
    return result;
}

/* Replaces Start by startAndNote in the table of functions that all buffers share, and that is
 * found through a temporary buffer. Returns nonzero if there is DirectSound. */
static int watchDirectSound(void) {
    typedef HRESULT(WINAPI * Create)(LPCGUID, IDirectSoundCapture**, LPUNKNOWN);
    WAVEFORMATEX format = {WAVE_FORMAT_PCM, 2, 22050, 44100, 2, 8, 0};
    DSCBUFFERDESC description = {sizeof(DSCBUFFERDESC1), 0, 32768, 0, &format, 0, NULL};
    IDirectSoundCapture* capture = NULL;
    IDirectSoundCaptureBuffer* buffer = NULL;
    DWORD access;
    const HMODULE module = LoadLibraryA("dsound.dll");
    if (!module) return 0;
    const Create create =
        (Create)(void (*)(void))GetProcAddress(module, "DirectSoundCaptureCreate");
    if (FAILED(create(NULL, &capture, NULL))) return 1;
    if (SUCCEEDED(IDirectSoundCapture_CreateCaptureBuffer(capture, &description, &buffer, NULL))) {
        IDirectSoundCaptureBufferVtbl* const table = buffer->lpVtbl;
        VirtualProtect(table, sizeof *table, PAGE_READWRITE, &access);
        systemsStart = table->Start;
        table->Start = startAndNote;
        IDirectSoundCaptureBuffer_Release(buffer);
    }
    IDirectSoundCapture_Release(capture);
    return 1;
}

enum { Failed, Passed, NeverBegan };

/* Sends a note and receives it back, and receives another from the microphone. */
static int playAndListen(void) {
    MIDIEvent note = record(0, 19, 0x90, 60, 100), came;
    int back = 0, heard = 0, began = 1;
    started = NULL;
    int good = ZOR(MIDISysInit)(0) == -1 && ZOR(ZorAllocMIDI)(0, 64) && ZOR(ZorAllocMIDI)(1, 64) &&
               ZOR(ZorStartMIDI)(1) && ZOR(ZorXmit)(1, &note);
    for (int i = 0; i < 2000 && good && began && !(back && heard); ++i) {
        Sleep(5);
        while (ZOR(ZorRcv)(&came, 0)) {
            back = back || came.Channel == 35;
            heard = heard || came.Channel < 16;
        }
        began = i < 400 || !back || heard || !neverBegan(started);
    }
    good = ZOR(ZorStopMIDI)() && good;
    good = ZOR(MIDISysTerm)() && good && back;
    return !good ? Failed : !began ? NeverBegan : heard ? Passed : Failed;
}

static void hundredSessions(void) {
    /* Wine leaks four blocks per DirectSound capture buffer, of which a session has two, and one
     * per waveIn device, with or without the library. */
    const int systemsOwnBlocks = watchDirectSound() ? 2 * 4 : 1;
    enum { MaxRetries = 10 };
    Holdings early = {0}, late;
    int good = 0, retries = 0, result;
    for (int i = 1; i <= 100 && good == i - 1; ++i) {
        while ((result = playAndListen()) == NeverBegan && retries < MaxRetries) ++retries;
        good += result == Passed;
        if (i == 10) Sleep(1000), early = holdings();
    }
    /* The system's threads end some time after the device is closed, and then release a handle and
     * windows. */
    late = holdings();
    for (int i = 0; i < 100 && moreObjects(early, late); ++i) Sleep(100), late = holdings();
    if (retries)
        printf("      the system's capture did not start %d times, and was opened again\n",
               retries);
    check(good == 100, "a hundred sessions with MIDI and a microphone");
    printf("      after the tenth %+ld bytes in %+ld blocks, %+d handles, %+d windows, %+d drawing "
           "objects\n",
           late.bytes - early.bytes, late.blocks - early.blocks, late.handles - early.handles,
           late.windows - early.windows, late.drawing - early.drawing);
    check(late.blocks - early.blocks < (90 + retries) * systemsOwnBlocks + 20 &&
              !moreObjects(early, late),
          "leave nothing behind");
}

int main(int count, char** arguments) {
    if (count != 3) {
        fprintf(stderr, "usage: winhost standin|system|hundred DLL\n");
        return 2;
    }
    if (!loadLibrary(arguments[2])) return 1;
    if (strcmp(arguments[1], "standin") == 0)
        sessionOnStandIn();
    else if (strcmp(arguments[1], "hundred") == 0)
        hundredSessions();
    else
        sessionOnSystem();
    checkCallingConvention();
    return failed;
}
