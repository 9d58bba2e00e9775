#include "engine/transmission.h"

#include "engine/active_call.h"
#include "engine/driver_table.h"
#include "engine/sections.h"

std::atomic<std::int16_t> XmitBusy{0};

namespace {

// Changed inside a section, so that a count is never lost; release, so that who sees the end of a
// transmission sees what it did.
class Transmission : Errand {
public:
    explicit Transmission(Generation begun) : Errand(Kind::Transmission, begun) { Change(1); }
    ~Transmission() { Change(-1); }

private:
    static void Change(int step) {
        QueueSection section;
        const int now = XmitBusy.load(std::memory_order_relaxed) + step;
        XmitBusy.store(static_cast<std::int16_t>(now), std::memory_order_release);
    }
};

} // namespace

bool XmitToDrivers(const MIDIEvent& event, Generation begun) {
    const Transmission transmission(begun);
    bool sent = true;
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (!row.Opened.load(std::memory_order_acquire)) continue;
        if (!MayTransmit(begun)) break;
        if (row.Xmit(&event)) continue;
        row.Error.store(1, std::memory_order_release);
        sent = false;
    }
    return sent;
}

// An errand of its own: a kill from the message box of a transmission must not pass for that one.
void SilenceDrivers() {
    const Errand errand(Errand::Kind::Transmission);
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (row.Opened.load(std::memory_order_acquire)) row.Silence();
    }
}
