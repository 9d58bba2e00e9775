/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* zorhearing.h - notes from the sound of one voice or melody instrument: 12 functions.
 *
 * Valid C99 and C++. Pure computation: no device, no thread of its own. Only a take of
 * more than 12 minutes uses an unnamed temporary file, where the system has one.
 *
 * Two modes
 *   ZOR_HEAR_LIVE: each note is found about 93 ms after it began. Feed, then read notes and frames.
 *   ZOR_HEAR_TAKE: a recording is analysed as a whole, which finds more. Feed all of it, Finish,
 *   then read the notes.
 *
 * Threads: any number of listeners, each for one thread at a time. A call that meets another one on
 *   the same listener returns ZOR_HEAR_BUSY and does nothing.
 * Real time: ZorHearFeed and the reading functions of a live listener neither allocate, lock nor
 *   print: they may be called from an audio callback. The others allocate.
 * Errors: a negative value is one of the codes below, and ZorHearError has the reason in words. A
 *   listener that is closed or was never opened gives ZOR_HEAR_NO_LISTENER.
 */
#ifndef ZORHEARING_H
#define ZORHEARING_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#define ZORHEARCALL __stdcall
#define ZORHEAREXPORT
#else
#define ZORHEARCALL
#define ZORHEAREXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define ZORHEARNOEXCEPT noexcept
extern "C" {
#else
#define ZORHEARNOEXCEPT
#endif

/* Error codes */
#define ZOR_HEAR_NO_LISTENER (-1) /* the listener is not open */
#define ZOR_HEAR_BUSY (-2)        /* another thread is using the listener */
#define ZOR_HEAR_BAD_VALUE (-3)   /* a parameter is out of range, or a null pointer */
#define ZOR_HEAR_WRONG_TIME (-4)  /* samples after Finish, or notes of a take before it */
#define ZOR_HEAR_NO_MEMORY (-5)

/* Modes */
#define ZOR_HEAR_TAKE 0
#define ZOR_HEAR_LIVE 1

/* Sample formats; channels are interleaved */
#define ZOR_HEAR_INT16 0   /* signed, 32768 is full scale */
#define ZOR_HEAR_FLOAT32 1 /* -1 to 1; NaN and infinity count as silence */

/* A listener: one recording, or one live source. Above 0; never given twice. */
typedef int64_t ZorListener;

typedef struct ZorHearNote {
    double Onset;      /* seconds from the first sample */
    double End;        /* seconds from the first sample; provisional while Open */
    double Pitch;      /* MIDI note number with fractions, 69 for 440 Hz */
    double Cents;      /* deviation of the pitch from Key in the listener's tuning, -50 to 50 */
    double Confidence; /* share of the note that measured this pitch, 0 to 1; 0 while Open */
    int32_t Key;       /* MIDI note number, 0 to 127 */
    int32_t Velocity;  /* 1 to 127 */
    int32_t Open;      /* 1: it has not ended yet; 0 */
    int32_t Reserved;  /* 0 */
} ZorHearNote;

/* What was measured in 23.2 ms (512 samples at 22,050 Hz). */
typedef struct ZorHearFrame {
    double Begin;     /* seconds from the first sample */
    double Frequency; /* Hz; 0: no pitch was found */
    double Peak;      /* greatest absolute sample before the filter, 1 is full scale */
    int32_t Level;    /* of the filtered and amplified sound, 0 to 128 */
    int32_t Reserved; /* 0 */
} ZorHearFrame;

/* What is known of the piece. Zero, null and a Pickup below 0 leave it to be found. */
typedef struct ZorHearScoreOptions {
    const char* Title;        /* UTF-8; null: "Melody" */
    const char* Meter;        /* "3/4" */
    const char* Key;          /* "A minor", "Bb major" */
    const char* Grid;         /* shortest values: "8", "16" or "triplets" */
    double QuartersPerMinute; /* 10 to 500 */
    double Pickup;            /* quarters before the first bar line */
    int32_t Plain;            /* 1: notes of low confidence are not coloured */
    int32_t Reserved;         /* 0 */
} ZorHearScoreOptions;

/* Version of the library as text, "4.3.0". Thread: any. Real time: yes. */
ZORHEAREXPORT const char* ZORHEARCALL ZorHearVersion(void) ZORHEARNOEXCEPT;

/* Reason of the last error of this thread, an English sentence; empty if there was none. Valid
 * until the thread's next call that fails. Thread: any. */
ZORHEAREXPORT const char* ZORHEARCALL ZorHearError(void) ZORHEARNOEXCEPT;

/* Opens a listener. rate: 8000 to 192000 Hz; channels: 1 to 64; sampleFormat and mode: see above.
 * Returns the listener, or an error code. A live one uses up to 1.2 MB. A take stores 320 MB
 * per hour, and as much again for several channels that cancel each other: the first 12 minutes in
 * memory, a longer one in a temporary file, or in memory where the system has none. */
ZORHEAREXPORT ZorListener ZORHEARCALL ZorHearOpen(int32_t rate, int32_t channels,
                                                  int32_t sampleFormat,
                                                  int32_t mode) ZORHEARNOEXCEPT;

/* Sets how much sharper than 440 Hz A4 is, in cents, -50 to 50, before the first sample. If it is
 * not set, live listeners use 0 and takes find it. Returns 0 or an error code. */
ZORHEAREXPORT int32_t ZORHEARCALL ZorHearSetTuning(ZorListener listener,
                                                   double cents) ZORHEARNOEXCEPT;

/* How much sharper than 440 Hz A4 is, in cents; of a take, after ZorHearFinish. 0 if there is none.
 */
ZORHEAREXPORT double ZORHEARCALL ZorHearTuning(ZorListener listener) ZORHEARNOEXCEPT;

/* Adds the next samples: count per channel, 0 to INT32_MAX, in blocks of any size. The mean of the
 * channels is heard; if they cancel each other in a take, its loudest channel is. Returns 0 or an
 * error code. */
ZORHEAREXPORT int32_t ZORHEARCALL ZorHearFeed(ZorListener listener, const void* samples,
                                              int32_t count) ZORHEARNOEXCEPT;

/* Ends the sound: analyses a take (about a second per 20 minutes), and ends an open note. Returns 0
 * or an error code. */
ZORHEAREXPORT int32_t ZORHEARCALL ZorHearFinish(ZorListener listener) ZORHEARNOEXCEPT;

/* Reads the next note in order of Onset. Live, a note is given twice: Open when it begins, and with
 * its end when it has ended. Returns 1 if there was one, 0 if there is none now, or an error code.
 * A live listener holds the last 1,024 unread notes. */
ZORHEAREXPORT int32_t ZORHEARCALL ZorHearNextNote(ZorListener listener,
                                                  ZorHearNote* note) ZORHEARNOEXCEPT;

/* Reads the next frame; the last one is the present level and pitch. Returns as ZorHearNextNote. A
 * live listener holds the last 1,024 unread frames. */
ZORHEAREXPORT int32_t ZORHEARCALL ZorHearNextFrame(ZorListener listener,
                                                   ZorHearFrame* frame) ZORHEARNOEXCEPT;

/* Frees a listener. One that another thread is using is freed when that call returns. Returns 0 or
 * an error code. */
ZORHEAREXPORT int32_t ZORHEARCALL ZorHearClose(ZorListener listener) ZORHEARNOEXCEPT;

/* Writes notes as a score, MusicXML 3.1 in UTF-8, into text with a terminating zero. notes: by
 * Onset, at least one; options: null for none. Returns the length without the zero, which is above
 * size - 1 if text was too small and nothing was written; or an error code. Thread: any. */
ZORHEAREXPORT int64_t ZORHEARCALL ZorHearMusicXml(const ZorHearNote* notes, size_t noteCount,
                                                  const ZorHearScoreOptions* options, char* text,
                                                  size_t size) ZORHEARNOEXCEPT;

/* The same as a MIDI file of bytes. quartersPerMinute: 10 to 500; the times of the notes do not
 * depend on it. Returns the length, which is above size if bytes was too small and nothing was
 * written. */
ZORHEAREXPORT int64_t ZORHEARCALL ZorHearMidiFile(const ZorHearNote* notes, size_t noteCount,
                                                  double quartersPerMinute, uint8_t* bytes,
                                                  size_t size) ZORHEARNOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
