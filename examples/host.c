/* SPDX-FileCopyrightText: 2026 The zormidi authors */
/* SPDX-License-Identifier: MIT */

/* A complete host: plays a scale on the first output port, then prints the received messages. */
#include <zormidi.h>

#include <stdio.h>

enum { NoteMilliseconds = 150, RestMilliseconds = 300, QueueSlots = 256 };

static ZorBool queueNote(int32_t time, uint8_t status, uint8_t note) {
    const MIDIEvent event = {time, 0, 0, 2, status, note, 96};
    return ZorXmit(ZOR_QUEUE_OUTPUT, &event);
}

int main(void) {
    static const uint8_t scale[] = {60, 62, 64, 65, 67, 69, 71, 72};
    const int notes = (int)sizeof scale;
    char name[30];
    const uint32_t version = ZorMIDIDriverVersion(name);
    printf("%s %u.%u\n", name, (unsigned)(version >> 24), (unsigned)(version >> 16 & 0xFF));

    if (MIDISysInit(0) != -1) return 1;
    if (!ZorAllocMIDI(ZOR_QUEUE_INPUT, QueueSlots) || !ZorAllocMIDI(ZOR_QUEUE_OUTPUT, QueueSlots) ||
        !ZorStartMIDI(1)) {
        fprintf(stderr, "MIDI could not be started\n");
        MIDISysTerm();
        return 1;
    }

    /* The time is 0 now. Each note ends where the next one starts. */
    for (int i = 0; i < notes; ++i) {
        queueNote(i * NoteMilliseconds, 0x90, scale[i]);
        queueNote((i + 1) * NoteMilliseconds, 0x80, scale[i]);
    }
    /* A position record as a rest of 300 ms: nothing is sent, but the queue stays non-empty until
     * it ends, so that messages looped back from the output are received before ZorXmitEmpty
     * returns. */
    const MIDIEvent rest = {notes * NoteMilliseconds + RestMilliseconds, 0, 0, 0, 0xF8, 1, 0};
    ZorXmit(ZOR_QUEUE_OUTPUT, &rest);
    const ZorBool played = ZorXmitEmpty(1);
    if (!played) ZorKillMIDI(); /* empties the queues and ends sounding notes */
    printf("%s after %ld ms\n", played ? "played" : "stuck", (long)ZorTimeMIDI(0));

    MIDIEvent event;
    while (ZorRcv(&event, 0)) {
        printf("%6ld ms  channel %d  %02X %u %u\n", (long)event.Time, event.Channel, event.Status,
               event.Data1, event.Data2);
    }
    ZorStopMIDI();
    MIDISysTerm();
    return played ? 0 : 1;
}
