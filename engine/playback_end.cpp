// How the host ends playback: it waits for the output queues to run dry, or throws them away.
#include "engine/queues.h"
#include "engine/timer.h"
#include "engine/transmission.h"

namespace {

constexpr DWORD PatienceMilliseconds = 5000;

// Sustain off, all notes off, bend to the centre: on channel 0 alone. The notes that still sound
// elsewhere are the drivers' to release.
constexpr MIDIEvent Endings[] = {
    {0, 0, 0, 2, 0xB0, 64, 0},
    {0, 0, 0, 2, 0xB0, 123, 0},
    {0, 0, 0, 2, 0xE0, 0, 0x40},
};

struct Fill {
    std::uint16_t First;
    std::uint16_t Second;
    bool operator==(const Fill&) const = default;
};

Fill OutputFill() {
    return {MIDIQueues[ZOR_QUEUE_OUTPUT].Count, MIDIQueues[ZOR_QUEUE_OUTPUT2].Count};
}

bool DryBefore(DWORD deadline) {
    do {
        if (OutputFill() == Fill{0, 0}) return true;
    } while (static_cast<std::int32_t>(GetTickCount() - deadline) < 0);
    return false;
}

} // namespace

ZorBool ZORCALL ZorXmitEmpty(ZorBool wait) ZORNOEXCEPT {
    if (!wait) return OutputFill() == Fill{0, 0};
    for (;;) {
        const Fill before = OutputFill();
        if (DryBefore(GetTickCount() + PatienceMilliseconds)) return 1;
        if (OutputFill() == before) return 0;
    }
}

// What was sent before is counted by the drivers and silenced here; what was on its way goes no
// further, since it belongs to an older generation.
void ZORCALL ZorKillMIDI(void) ZORNOEXCEPT {
    EndPlayback();
    const Generation now = CurrentGeneration();
    for (const MIDIEvent& ending : Endings) XmitToDrivers(ending, now);
    SilenceDrivers();
}
