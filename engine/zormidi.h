/* zormidi.h - the whole face of the library: 29 functions and one record.
 *
 * Valid C99 and C++. Every function returns at once unless its comment says otherwise.
 *
 * How to read the comments
 *   Thread:    which thread may call it. "Host" means the one thread that the host uses for
 *              set-up and shutdown; "any" means any thread, at any time, also beside the others.
 *   Real time: yes means no allocation, no waiting but for a lock held for a record's copy, no
 *              output: it may be called from an audio or timer callback.
 *
 * Life of a session
 *   MIDISysInit - ZorAllocMIDI for each queue in use - ZorSyncMIDI, ZorFilterMIDI as wished -
 *   ZorStartMIDI(1) - ZorXmit, ZorRcv ... - ZorStopMIDI - MIDISysTerm.
 *   A function called outside that order is harmless: it finds no queue and no open driver. The
 *   set-up dialogs work before MIDISysInit and after MIDISysTerm too, on the same file of settings.
 *   The library may be unloaded after MIDISysTerm. Once MIDISysInit has run, its code stays where
 * it is until the process ends all the same: a callback that the system had dispatched by then must
 *   find it. Loading it again gives the same module, ready for MIDISysInit.
 *
 * Message boxes and dialogs run a message loop, from which the host may call anything. What it
 * stops or closes from there stays stopped and closed; starting from a box about a driver that is
 * just being opened or closed gives false.
 *
 * Booleans are 8 bits wide: zero is false, anything else true.
 */
#ifndef ZORMIDI_H
#define ZORMIDI_H

#include <stdint.h>

/* Version of this header and of the library that it comes with. MAJOR changes when existing hosts
 * must be compiled again. */
#define ZORMIDI_VERSION_MAJOR 4
#define ZORMIDI_VERSION_MINOR 3
#define ZORMIDI_VERSION_PATCH 0

#if defined(_WIN32)
#define ZORCALL __stdcall
#define ZOREXPORT
#else
#define ZORCALL
#define ZOREXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define ZORNOEXCEPT noexcept
extern "C" {
#else
#define ZORNOEXCEPT
#endif

typedef uint8_t ZorBool;

/* One time-stamped MIDI message: 14 bytes, packed, little-endian. It is copied at every hand-over,
 * so the caller keeps its own.
 *
 * Records in queues 1 and 2 that are not sent, but move the queue's position when their time comes:
 *   Status 0,    Length 0   marker: the queue's marker takes the low 16 bits of Etime
 *   Status 0xF8, Data1 1    position: the queue's position takes Etime
 * Every other record moves the position to its Etime and goes to the drivers. */
#pragma pack(push, 1)
typedef struct MIDIEvent {
    int32_t Time;    /* output: when to play it; input: when it came in. Time-base units */
    int32_t Etime;   /* the host's own position value for an output record; 0 on input */
    int16_t Channel; /* the port's base channel plus 0..15; below 0 on output: all channels of
                        every open output port */
    uint8_t Length;  /* data bytes that the message has: 0, 1 or 2 */
    uint8_t Status;  /* MIDI status. Channel messages: low nibble 0 on input, ignored on output */
    uint8_t Data1;   /* 0..127 */
    uint8_t Data2;   /* 0..127; a higher data byte goes out as 127. A note of a clipped microphone
                        comes   in with a velocity of 128: limit it to 127 before it is stored */
} MIDIEvent;
#pragma pack(pop)

/* Queue numbers. Queue 0 holds what was received; 1 and 2 hold what is to be played. */
#define ZOR_QUEUE_INPUT 0
#define ZOR_QUEUE_OUTPUT 1
#define ZOR_QUEUE_OUTPUT2 2
#define ZOR_IMMEDIATE 0xFFFFu /* for ZorXmit: no queue, send now */

#define ZOR_SYNC_INTERNAL 0 /* for ZorSyncMIDI: milliseconds */
#define ZOR_SYNC_EXTERNAL 2 /* incoming MIDI clock, 1024 units a quarter note */

#define ZOR_ALREADY_INITIALISED 33 /* from MIDISysInit(0) on a library that is up */

/* ---- Life ------------------------------------------------------------------------------- */

/* Brings the library up: reads ZORMIDI.INI beside the library and fills the port tables. With
 * reinit nonzero a library that is up is taken down first (queues freed, timer stopped).
 * Returns -1 for success, 33 if it is up already and reinit is 0 (nothing changes), else the
 * failure code of the last driver that failed.
 * Thread: host. Real time: no. */
ZOREXPORT int16_t ZORCALL MIDISysInit(ZorBool reinit) ZORNOEXCEPT;

/* Takes the library down: ends the drivers, frees the queues, stops the timer. The host stops and
 * closes first (ZorStopMIDI, or ZorRestoreMIDI). On return no callback of the library is under way
 * on another thread; one that stands in a message box is waited for 5 seconds and no longer. Always
 * true.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL MIDISysTerm(void) ZORNOEXCEPT;

/* Does nothing and returns true; value is ignored. Kept for hosts that call it.
 * Thread: any. Real time: yes. */
ZOREXPORT ZorBool ZORCALL ZorSetupMIDI(uint32_t value) ZORNOEXCEPT;

/* Closes the drivers, even while echo is on. The timer goes on. Always true.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorRestoreMIDI(void) ZORNOEXCEPT;

/* Empties the queues and opens all ports that the ini file names, then with startTimer nonzero
 * calls ZorStartTimer (whose result is not reported here). With echo on, the drivers are open
 * already: the queues are emptied and a running time base goes back to 0. Drivers that are open
 * already without echo stay as they are, and so do the queues.
 * Returns false if a port cannot be opened: the user has seen a message box, everything is closed
 * again, the timer is as it was, and ZorErrorMIDI tells which driver.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorStartMIDI(ZorBool startTimer) ZORNOEXCEPT;

/* Stops the timer and, unless echo is on, closes the drivers. Always true.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorStopMIDI(void) ZORNOEXCEPT;

/* Runs the set-up dialog of a driver and returns when the user has closed it: row 0 "MIDI Setup",
 * row 1 "Tonequill" (the microphone). parent is the owner's window handle or null. Row 0 is closed
 * meanwhile; row 1 listens for the dialog, even where the feature is off, and gives no notes to
 * queue 0. Afterwards the row is opened again if it was open, unless the host has stopped or closed
 * the drivers meanwhile; if the host has started them, it is opened then. A row whose dialog is up,
 * and other rows: nothing happens.
 * Thread: host. Real time: no. */
ZOREXPORT void ZORCALL ZorConfigMIDIDriver(void* parent, int16_t row) ZORNOEXCEPT;

/* Stores whether the drivers are open and whether the timer runs, through each pointer that is not
 * null. Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorMIDIStatus(uint8_t* driversOpen, uint8_t* timerRunning) ZORNOEXCEPT;

/* Returns the version word 0x04030401 and, if text is not null, writes the library's name there:
 * at most 30 bytes with the terminator. Thread: any. Real time: no. */
ZOREXPORT uint32_t ZORCALL ZorMIDIDriverVersion(char* text) ZORNOEXCEPT;

/* Reports and clears one driver's error: returns its row (0 MIDI ports, 1 microphone) and stores
 * its code (1) through code if that is not null; -1 and nothing stored if there is none. Call it
 * until it gives -1. Thread: any. Real time: yes. */
ZOREXPORT int16_t ZORCALL ZorErrorMIDI(uint16_t* code) ZORNOEXCEPT;

/* ---- Queues ------------------------------------------------------------------------------ */

/* Gives queue 0, 1 or 2 a ring of that many slots (14 bytes each), in place of the one it had; the
 * ring holds slots - 1 records. 0 slots gives the memory back. Returns false, with the queue left
 * without a ring, if slots is negative, memory is short or the library is not up, and for other
 * queue numbers.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorAllocMIDI(int16_t queue, int16_t slots) ZORNOEXCEPT;

/* Gives a queue's memory back. True, but for a queue number outside 0..2.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorFreeMIDI(int16_t queue) ZORNOEXCEPT;

/* Throws away what a queue holds; its memory, position and marker stay.
 * Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorZeroQueue(int16_t queue) ZORNOEXCEPT;

/* Stores a queue's slots and how many records it holds. Returns false, with 0 stored through each
 * pointer that is not null, if the queue has no ring or a pointer is null.
 * Thread: any. Real time: yes. */
ZOREXPORT ZorBool ZORCALL ZorReportMQ(int16_t queue, uint16_t* size, uint16_t* count) ZORNOEXCEPT;

/* Takes the oldest received record; with peek nonzero it stays in the queue. Returns false, with
 * event untouched, if there is none. When the host does not keep up, the oldest are overwritten.
 * A note of the microphone is filed 30 ms before its time. Thread: any. Real time: yes. */
ZOREXPORT ZorBool ZORCALL ZorRcv(MIDIEvent* event, ZorBool peek) ZORNOEXCEPT;

/* Puts a record into queue 1 or 2, to be played at its Time, or with ZOR_IMMEDIATE sends it now
 * on the caller's thread, whatever its Time. Queues are first in, first out: put records in by
 * ascending Time. A record further ahead than the system's longest timer (its wPeriodMax, 1,000
 * seconds on most) gets no expiry, and playback stands until ZorMIDIPlay is called within that time
 * of it: put a marker or position record every few minutes into a very long rest.
 * Returns false if the ring is full or missing (try again later; nothing is changed), or if a
 * driver refused an immediate record. Thread: any. Real time: yes for a queue; an immediate record
 * may wait for a device, and an error box blocks. */
ZOREXPORT ZorBool ZORCALL ZorXmit(uint16_t queue, const MIDIEvent* event) ZORNOEXCEPT;

/* ---- Time -------------------------------------------------------------------------------- */

/* Starts the timer that plays the queues, and sets the time base to 0. True also if it runs
 * already, which changes nothing; false if the system gives no timer or the library is not up.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorStartTimer(void) ZORNOEXCEPT;

/* The present time: milliseconds, or in external sync 1024 units a quarter note, interpolated
 * between clocks. 0 while the timer is stopped. With reset nonzero the running time base goes to 0
 * first. Thread: any. Real time: yes. */
ZOREXPORT int32_t ZORCALL ZorTimeMIDI(ZorBool reset) ZORNOEXCEPT;

/* The position (Etime) of the record last played from a queue, or in external sync the present
 * time. Stores the queue's marker through marker if that is not null. Other queue numbers give 0.
 * Thread: any. Real time: yes. */
ZOREXPORT int32_t ZORCALL ZorEtimeMIDI(int16_t queue, uint16_t* marker) ZORNOEXCEPT;

/* Sets the present time. In external sync it is also where a MIDI Start begins to count. Call it
 * after ZorStartTimer, which sets the time to 0. Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorSetMIDITimer(int32_t time) ZORNOEXCEPT;

/* Chooses the time base: 2 follows incoming MIDI clock, every other mode counts milliseconds.
 * Thread: host. Real time: yes. */
ZOREXPORT void ZORCALL ZorSyncMIDI(int16_t mode) ZORNOEXCEPT;

/* Units a second of the internal time base: 1000, in every mode. Thread: any. Real time: yes. */
ZOREXPORT uint32_t ZORCALL ZorResoMIDI(void) ZORNOEXCEPT;

/* ---- Playback ---------------------------------------------------------------------------- */

/* Plays what is due and programs the timer for what comes next. The timer does this by itself; a
 * host calls it to restart a chain that ZorKillMIDI or a stopped external clock has ended.
 * Thread: any. Real time: as the devices allow. */
ZOREXPORT void ZORCALL ZorMIDIPlay(void) ZORNOEXCEPT;

/* The timer's callback, exported for hosts with a timer of their own; the five arguments, those of
 * a multimedia timer callback, are ignored. Fetches the microphone's notes, then plays what is
 * due. It does nothing, as late expiries shall, from ZorKillMIDI until ZorMIDIPlay (the timer still
 * runs then, so ZorStartTimer changes nothing), nor from ZorStopMIDI until one of the two.
 * Thread: any. Real time: as the devices allow. */
ZOREXPORT void ZORCALL MMETimerCallBack(uint32_t timer, uint32_t message, uintptr_t user,
                                        uintptr_t first, uintptr_t second) ZORNOEXCEPT;

/* Whether queues 1 and 2 are empty, which means that the devices have had every record. With wait
 * nonzero it waits, spinning, until they are, and gives up with false when no record has left for
 * 5 seconds. Thread: any but a callback's when waiting. Real time: only without wait. */
ZOREXPORT ZorBool ZORCALL ZorXmitEmpty(ZorBool wait) ZORNOEXCEPT;

/* Ends playback: empties queues 1 and 2, sends sustain off, all notes off and bend centre on
 * channel 0, and a note off for every note still sounding on every port. The time base goes on;
 * ZorMIDIPlay starts playback again.
 * Thread: host. Real time: no. */
ZOREXPORT void ZORCALL ZorKillMIDI(void) ZORNOEXCEPT;

/* ---- Input ------------------------------------------------------------------------------- */

/* Keeps classes of messages out of queue 0. mask: bit 0 note off, 1 note on, 2 polyphonic pressure,
 * 3 control change, 4 program change, 5 channel pressure, 6 pitch bend, 7 system messages, of which
 * sysMask then picks: bit n for status 0xF0 + n. Echo and external clock are not filtered.
 * Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorFilterMIDI(uint16_t mask, uint16_t sysMask) ZORNOEXCEPT;

/* Thru. With on nonzero: opens the drivers if they are closed, and from now on sends whatever comes
 * in out again, channel messages on channel map[channel] (64 entries, copied; null leaves the
 * channels as they are). With on 0: closes the drivers.
 * Thread: host. Real time: no. */
ZOREXPORT void ZORCALL ZorEchoMIDI(ZorBool on, const uint8_t* map) ZORNOEXCEPT;

/* The MIDI input callback, with the five arguments that the system gives one: input handle,
 * message, instance, packed MIDI message, milliseconds since the input was started. Exported
 * because the system calls it; a handle that is no open port's is ignored.
 * Thread: the device's. Real time: yes, as the devices allow while echo is on. */
ZOREXPORT void ZORCALL MmeMidiInCallBack(void* handle, uint32_t message, uintptr_t instance,
                                         uintptr_t first, uintptr_t second) ZORNOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
