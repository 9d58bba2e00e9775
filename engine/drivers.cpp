#include "engine/drivers.h"

#include "engine/lifecycle.h"
#include "engine/queues.h"
#include "engine/sections.h"
#include "engine/time_base.h"

// Slots are filled in at build time; only the flags change.
constinit MIDIDriverEntry MIDIDrivers[DriverRows] = {
    {{0},
     {0},
     MMEInit,
     MMETerm,
     MMEOpen,
     MMEClose,
     MMEXmit,
     MMESync,
     MMEConfig,
     MMESilence,
     MMEReady,
     {0},
     1},
    {{0},
     {0},
     PRecInit,
     PRecTerm,
     PRecOpen,
     PRecClose,
     PRecXmit,
     PRecSync,
     PRecConfig,
     PRecSilence,
     PRecReady,
     {0},
     0},
};

std::atomic<std::uint8_t> DriversOpen{0};
std::atomic<std::int16_t> XmitBusy{0};

namespace {

// Changed inside a section, so that a count is never lost; release, so that who sees the end of a
// transmission sees what it did.
class Transmission {
public:
    Transmission() { Change(1); }
    ~Transmission() { Change(-1); }
    Transmission(const Transmission&) = delete;
    Transmission& operator=(const Transmission&) = delete;

private:
    static void Change(int step) {
        QueueSection section;
        const int now = XmitBusy.load(std::memory_order_relaxed) + step;
        XmitBusy.store(static_cast<std::int16_t>(now), std::memory_order_release);
    }
};

} // namespace

bool OpenMIDIDrivers() {
    if (DriversOpen) return true;
    if (!LibraryIsUp()) return false;
    EmptyAllQueues();
    StopExternalClock();
    DriversOpen = 1;
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (!row.Inited || !row.Ready()) continue;
        if (!row.Open()) {
            row.Error = 1;
            CloseMIDIDrivers();
            return false;
        }
        row.Opened = 1;
    }
    return true;
}

void CloseMIDIDrivers() {
    if (!DriversOpen) return;
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (!row.Opened) continue;
        row.Close();
        row.Opened = 0;
    }
    DriversOpen = 0;
}

bool XmitToDrivers(const MIDIEvent& event) {
    const Transmission transmission;
    bool sent = true;
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (!row.Opened.load(std::memory_order_acquire)) continue;
        if (row.Xmit(&event)) continue;
        row.Error.store(1, std::memory_order_release);
        sent = false;
    }
    return sent;
}

void SilenceDrivers() {
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (row.Opened.load(std::memory_order_acquire)) row.Silence();
    }
}

int16_t ZORCALL ZorErrorMIDI(uint16_t* code) ZORNOEXCEPT {
    for (int row = 0; row < DriverRows; ++row) {
        if (!MIDIDrivers[row].Inited) continue;
        const std::uint16_t error = MIDIDrivers[row].Error.exchange(0);
        if (error == 0) continue;
        if (code) *code = error;
        return static_cast<std::int16_t>(row);
    }
    return -1;
}
