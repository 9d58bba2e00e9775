/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* hear.c - prints the notes of a file of raw sound: one channel, 16 bits, 22,050 Hz.
 *
 *   sox song.wav -t raw -e signed -b 16 -r 22050 -c 1 song.raw && ./hear song.raw
 *   arecord -t raw -f S16_LE -r 22050 | ./hear /dev/stdin live
 */
#include <stdint.h>
#include <stdio.h>
#include <zorhearing.h>

static void PrintNotes(ZorListener listener) {
    ZorHearNote note;
    while (ZorHearNextNote(listener, &note) == 1)
        if (!note.Open)
            printf("%8.3f s %8.3f s  key %3d %+4.0f cents  velocity %3d  %3.0f%%\n", note.Onset,
                   note.End, (int)note.Key, note.Cents, (int)note.Velocity, 100 * note.Confidence);
}

int main(int argc, char** argv) {
    FILE* sound = argc > 1 ? fopen(argv[1], "rb") : NULL;
    ZorListener listener =
        ZorHearOpen(22050, 1, ZOR_HEAR_INT16, argc > 2 ? ZOR_HEAR_LIVE : ZOR_HEAR_TAKE);
    int16_t samples[1024];
    size_t count;
    if (!sound) return fprintf(stderr, "usage: hear FILE [live]\n"), 2;
    while ((count = fread(samples, 2, 1024, sound)) > 0) {
        if (ZorHearFeed(listener, samples, (int32_t)count) < 0) break;
        if (argc > 2) PrintNotes(listener);
    }
    if (ZorHearFinish(listener) < 0) return fprintf(stderr, "hear: %s\n", ZorHearError()), 1;
    PrintNotes(listener);
    return ZorHearClose(listener) < 0;
}
