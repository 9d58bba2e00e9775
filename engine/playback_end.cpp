// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Ends of playback: waiting until the output queues are empty, and ZorKillMIDI.
#include "engine/queues.h"
#include "engine/timer.h"
#include "engine/transmission.h"

namespace {

constexpr DWORD TimeoutMilliseconds = 5000;

// Sustain off, all notes off and pitch bend to the centre, on channel 0 only. The drivers release
// the sounding notes of all channels.
constexpr MIDIEvent KillMessages[] = {
    {0, 0, 0, 2, 0xB0, 64, 0},
    {0, 0, 0, 2, 0xB0, 123, 0},
    {0, 0, 0, 2, 0xE0, 0, 0x40},
};

// Records in queues 1 and 2.
struct RecordCounts {
    std::uint16_t Queue1;
    std::uint16_t Queue2;
    bool operator==(const RecordCounts&) const = default;
};

RecordCounts OutputCounts() {
    return {MIDIQueues[ZOR_QUEUE_OUTPUT].Count, MIDIQueues[ZOR_QUEUE_OUTPUT2].Count};
}

// deadline: on the GetTickCount clock, milliseconds.
bool EmptyBefore(DWORD deadline) {
    do {
        if (OutputCounts() == RecordCounts{0, 0}) return true;
    } while (static_cast<std::int32_t>(GetTickCount() - deadline) < 0);
    return false;
}

} // namespace

ZorBool ZORCALL ZorXmitEmpty(ZorBool wait) ZORNOEXCEPT {
    if (!wait) return OutputCounts() == RecordCounts{0, 0};
    for (;;) {
        const RecordCounts before = OutputCounts();
        if (EmptyBefore(GetTickCount() + TimeoutMilliseconds)) return 1;
        if (OutputCounts() == before) return 0;
    }
}

// The drivers have counted the notes sent so far and release them here. Transmissions in progress
// belong to an older generation and are cancelled.
void ZORCALL ZorKillMIDI(void) ZORNOEXCEPT {
    EndPlayback();
    const Generation now = CurrentGeneration();
    for (const MIDIEvent& message : KillMessages) XmitToDrivers(message, now);
    SilenceDrivers();
}
