/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* zormidi.h - the public interface of the library: 29 functions and one record.
 *
 * Valid C99 and C++. Every function returns at once unless its comment states otherwise.
 *
 * How to read the comments
 *   Thread:    the thread that may call it. "Host" is the one thread that the host uses for set-up
 *              and shutdown; "any" is any thread, at any time, concurrently with the others.
 *   Real time: "yes" means that it neither allocates nor prints, and waits only for a lock held
 *              while one record is copied: it may be called from an audio or timer callback.
 *
 * Life of a session
 *   MIDISysInit - ZorAllocMIDI for each queue in use - ZorSyncMIDI, ZorFilterMIDI if needed -
 *   ZorStartMIDI(1) - ZorXmit, ZorRcv ... - ZorStopMIDI - MIDISysTerm.
 *   A function called outside that order is harmless: without queues and open drivers it has no
 *   effect. The set-up dialogs also work before MIDISysInit and after MIDISysTerm, on the same ini
 *   file.
 *   The library may be unloaded after MIDISysTerm. After a MIDISysInit its code stays in memory
 *   until the process ends, since the system may still enter a callback that it dispatched earlier.
 *   Loading the library again gives the same instance, ready for MIDISysInit.
 *
 * Message boxes and dialogs run a message loop, from which the host may call every function. A stop
 * or close from there is not undone when the box or dialog ends; a start from a message box about a
 * driver that is being opened or closed returns false.
 *
 * Booleans are 8 bits wide: zero is false, anything else true.
 */
#ifndef ZORMIDI_H
#define ZORMIDI_H

#include <stdint.h>

/* Version of this header and of the library that it comes with. MAJOR changes when existing hosts
 * must be compiled again, MINOR when functions are added. */
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

/* One time-stamped MIDI message: 14 bytes, packed, little-endian. All functions copy it; the caller
 * keeps its own.
 *
 * Two kinds of records in queues 1 and 2 are not sent, but change the queue's state at their Time:
 *   Status 0,    Length 0   marker: sets the queue's marker to the low 16 bits of Etime
 *   Status 0xF8, Data1 1    position: sets the queue's position to Etime
 * Every other record is sent to the drivers and sets the position to its Etime. */
#pragma pack(push, 1)
typedef struct MIDIEvent {
    int32_t Time;    /* in time-base units; output: time to send it; input: time of reception */
    int32_t Etime;   /* output: a position value that the host chooses; input: 0 */
    int16_t Channel; /* the port's base channel plus 0..15; below 0 on output: all channels of
                        every open output port */
    uint8_t Length;  /* number of data bytes: 0, 1 or 2 */
    uint8_t Status;  /* MIDI status. Channel messages: low nibble 0 on input, ignored on output */
    uint8_t Data1;   /* 0..127 */
    uint8_t Data2;   /* 0..127; a higher data byte is sent as 127. A note of a clipped microphone
                        is received with a velocity of 128: limit it before storing it */
} MIDIEvent;
#pragma pack(pop)

/* Queue numbers. Queue 0 holds what was received; 1 and 2 hold what is to be played. */
#define ZOR_QUEUE_INPUT 0
#define ZOR_QUEUE_OUTPUT 1
#define ZOR_QUEUE_OUTPUT2 2
#define ZOR_IMMEDIATE 0xFFFFu /* for ZorXmit: no queue, send now */

#define ZOR_SYNC_INTERNAL 0 /* for ZorSyncMIDI: milliseconds */
#define ZOR_SYNC_EXTERNAL 2 /* incoming MIDI clock, 1024 units per quarter note */

#define ZOR_ALREADY_INITIALISED 33 /* from MIDISysInit(0) on a library that is up */

/* ---- Life ------------------------------------------------------------------------------- */

/* Initialises the library: reads ZORMIDI.INI beside it and fills the port tables. With
 * reinit nonzero a library that is up is shut down first (queues freed, timer stopped).
 * Returns -1 for success, 33 if it is up already and reinit is 0 (nothing changes), else the
 * failure code of the last driver that failed.
 * Thread: host. Real time: no. */
ZOREXPORT int16_t ZORCALL MIDISysInit(ZorBool reinit) ZORNOEXCEPT;

/* Shuts the library down: ends the drivers, frees the queues, stops the timer. The host stops and
 * closes first (ZorStopMIDI, or ZorRestoreMIDI). On return no callback of the library is running on
 * another thread, unless one shows a message box for longer than the timeout of 5 seconds. Always
 * returns true.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL MIDISysTerm(void) ZORNOEXCEPT;

/* Does nothing and returns true; value is ignored. Exists for hosts that call it.
 * Thread: any. Real time: yes. */
ZOREXPORT ZorBool ZORCALL ZorSetupMIDI(uint32_t value) ZORNOEXCEPT;

/* Closes the drivers, even while echo is on. The timer keeps running. Always returns true.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorRestoreMIDI(void) ZORNOEXCEPT;

/* Empties the queues and opens all ports that the ini file names, then with startTimer nonzero
 * calls ZorStartTimer and ignores its result. With echo on, the drivers are open already: the
 * queues are emptied and a running time base is reset to 0. If the drivers are open without echo,
 * drivers and queues do not change. Returns false if a port cannot be opened: a message box has
 * informed the user, all drivers are closed again, the timer is unchanged, and ZorErrorMIDI returns
 * the driver's row.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorStartMIDI(ZorBool startTimer) ZORNOEXCEPT;

/* Stops the timer and, unless echo is on, closes the drivers. Always returns true.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorStopMIDI(void) ZORNOEXCEPT;

/* Runs the set-up dialog of a driver and returns when the user has closed it: row 0 "MIDI Setup",
 * row 1 "Tonequill" (the microphone). parent is the owner's window handle or null. During the
 * dialog row 0 is closed; row 1 captures sound even if it is switched off, and adds no notes to
 * queue 0. Afterwards the row is opened if the drivers are then open, whether they were before the
 * dialog or the host has started them during it. No effect for other rows, and for a row whose
 * dialog is shown already.
 * Thread: host. Real time: no. */
ZOREXPORT void ZORCALL ZorConfigMIDIDriver(void* parent, int16_t row) ZORNOEXCEPT;

/* Stores 1 or 0 through each pointer that is not null: the drivers are open; the timer runs.
 * Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorMIDIStatus(uint8_t* driversOpen, uint8_t* timerRunning) ZORNOEXCEPT;

/* Returns the interface version 0x04030401 and, if text is not null, copies the library's name
 * there: at most 30 bytes including the terminator.
 * Thread: any. Real time: no. */
ZOREXPORT uint32_t ZORCALL ZorMIDIDriverVersion(char* text) ZORNOEXCEPT;

/* Returns and clears one driver's error: returns its row (0 MIDI ports, 1 microphone) and stores
 * the error code (1) through code if that is not null. Returns -1 and stores nothing if there is no
 * error. Call it until it returns -1.
 * Thread: any. Real time: yes. */
ZOREXPORT int16_t ZORCALL ZorErrorMIDI(uint16_t* code) ZORNOEXCEPT;

/* ---- Queues ------------------------------------------------------------------------------ */

/* Allocates a ring of that many slots (14 bytes each) for queue 0, 1 or 2, in place of its old one.
 * The ring holds slots - 1 records; 0 slots frees the memory. Returns false and leaves the queue
 * without a ring if slots is negative, memory is short or the library is not up; returns false for
 * other queue numbers.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorAllocMIDI(int16_t queue, int16_t slots) ZORNOEXCEPT;

/* Frees a queue's memory. Returns false only for a queue number outside 0..2.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorFreeMIDI(int16_t queue) ZORNOEXCEPT;

/* Removes all records of a queue; its memory, position and marker stay.
 * Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorZeroQueue(int16_t queue) ZORNOEXCEPT;

/* Stores a queue's number of slots and of records. Returns false, with 0 stored through each
 * pointer that is not null, if the queue has no ring or a pointer is null.
 * Thread: any. Real time: yes. */
ZOREXPORT ZorBool ZORCALL ZorReportMQ(int16_t queue, uint16_t* size, uint16_t* count) ZORNOEXCEPT;

/* Reads the oldest received record and, unless peek is nonzero, removes it from the queue. Returns
 * false and does not change event if the queue is empty. In a full queue a new record overwrites
 * the oldest one. A note of the microphone is stamped 30 ms early.
 * Thread: any. Real time: yes. */
ZOREXPORT ZorBool ZORCALL ZorRcv(MIDIEvent* event, ZorBool peek) ZORNOEXCEPT;

/* Appends a record to queue 1 or 2, to be sent at its Time, or with ZOR_IMMEDIATE sends it now on
 * the caller's thread and ignores its Time. Queues are first in, first out: append records in
 * ascending order of Time. If the next record is further ahead than the system's longest timer (its
 * wPeriodMax, 1,000 seconds on most systems), no timer is set, and playback stops until ZorMIDIPlay
 * is called within that time of it: append a marker or position record every few minutes in a very
 * long rest.
 * Returns false if the ring is full or missing (nothing changes; try again later), or if a driver
 * refused an immediate record.
 * Thread: any. Real time: yes for a queue; an immediate record may wait for a device, and an error
 * box blocks. */
ZOREXPORT ZorBool ZORCALL ZorXmit(uint16_t queue, const MIDIEvent* event) ZORNOEXCEPT;

/* ---- Time -------------------------------------------------------------------------------- */

/* Starts the timer that plays the queues, and sets the time base to 0. Returns true without an
 * effect if it runs already; false if the system has no timer or the library is not up.
 * Thread: host. Real time: no. */
ZOREXPORT ZorBool ZORCALL ZorStartTimer(void) ZORNOEXCEPT;

/* Returns the current time: milliseconds, or in external sync 1024 units per quarter note,
 * interpolated between MIDI clocks; 0 while the timer is stopped. With reset nonzero a running time
 * base is set to 0 first.
 * Thread: any. Real time: yes. */
ZOREXPORT int32_t ZORCALL ZorTimeMIDI(ZorBool reset) ZORNOEXCEPT;

/* Returns the position (Etime) of the record last played from a queue, or in external sync the
 * current time. Stores the queue's marker through marker if that is not null. Both are 0 for other
 * queue numbers.
 * Thread: any. Real time: yes. */
ZOREXPORT int32_t ZORCALL ZorEtimeMIDI(int16_t queue, uint16_t* marker) ZORNOEXCEPT;

/* Sets the current time. In external sync a MIDI Start begins to count from it. Call it after
 * ZorStartTimer, which sets the time to 0.
 * Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorSetMIDITimer(int32_t time) ZORNOEXCEPT;

/* Selects the time base: mode 2 follows incoming MIDI clock, every other mode counts milliseconds.
 * Thread: host. Real time: yes. */
ZOREXPORT void ZORCALL ZorSyncMIDI(int16_t mode) ZORNOEXCEPT;

/* Returns the internal time base's units per second: 1000, in every mode.
 * Thread: any. Real time: yes. */
ZOREXPORT uint32_t ZORCALL ZorResoMIDI(void) ZORNOEXCEPT;

/* ---- Playback ---------------------------------------------------------------------------- */

/* Sends all records whose Time has come and sets the timer for the next one. The timer does the
 * same at each expiry; a host calls it to restart playback after ZorKillMIDI or a stopped external
 * clock.
 * Thread: any. Real time: as the devices allow. */
ZOREXPORT void ZORCALL ZorMIDIPlay(void) ZORNOEXCEPT;

/* The timer's callback, exported for hosts with a timer of their own; ignores its five arguments,
 * those of a multimedia timer callback. Reads the microphone's notes, then sends all records whose
 * Time has come. Late expiries are ignored: it does nothing after ZorKillMIDI until ZorMIDIPlay
 * (the timer still runs, so ZorStartTimer has no effect), and after ZorStopMIDI until ZorMIDIPlay
 * or ZorStartTimer.
 * Thread: any. Real time: as the devices allow. */
ZOREXPORT void ZORCALL MMETimerCallBack(uint32_t timer, uint32_t message, uintptr_t user,
                                        uintptr_t first, uintptr_t second) ZORNOEXCEPT;

/* Returns true if queues 1 and 2 are empty: all records have been sent to the devices. With wait
 * nonzero it first waits, in a busy loop, until they are empty or no record has been sent for
 * 5 seconds.
 * Thread: any but a callback's when waiting. Real time: only without wait. */
ZOREXPORT ZorBool ZORCALL ZorXmitEmpty(ZorBool wait) ZORNOEXCEPT;

/* Ends playback: empties queues 1 and 2, sends sustain off, all notes off and pitch bend centre on
 * channel 0, and a note off for every sounding note on every port. The time base keeps running;
 * ZorMIDIPlay starts playback again.
 * Thread: host. Real time: no. */
ZOREXPORT void ZORCALL ZorKillMIDI(void) ZORNOEXCEPT;

/* ---- Input ------------------------------------------------------------------------------- */

/* Filters messages out of queue 0. A set bit of mask filters: bit 0 note off, 1 note on, 2
 * polyphonic pressure, 3 control change, 4 program change, 5 channel pressure, 6 pitch bend, 7 the
 * system messages selected by sysMask, bit n for status 0xF0 + n. Echo and external clock are not
 * filtered.
 * Thread: any. Real time: yes. */
ZOREXPORT void ZORCALL ZorFilterMIDI(uint16_t mask, uint16_t sysMask) ZORNOEXCEPT;

/* MIDI thru. With on nonzero: opens the drivers if they are closed, and from now on sends every
 * received message to the outputs, channel messages on channel map[channel] (64 entries, copied;
 * null: on their own channel). With on 0: closes the drivers.
 * Thread: host. Real time: no. */
ZOREXPORT void ZORCALL ZorEchoMIDI(ZorBool on, const uint8_t* map) ZORNOEXCEPT;

/* The MIDI input callback, with the system's five arguments: input handle, message, instance,
 * packed MIDI message, milliseconds since the input was started. Exported because the system calls
 * it; ignores handles that belong to no open port.
 * Thread: the device's. Real time: yes, as the devices allow while echo is on. */
ZOREXPORT void ZORCALL MmeMidiInCallBack(void* handle, uint32_t message, uintptr_t instance,
                                         uintptr_t first, uintptr_t second) ZORNOEXCEPT;

#ifdef __cplusplus
}
#endif
#endif
