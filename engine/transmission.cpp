// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/transmission.h"

#include "engine/active_call.h"
#include "engine/driver_table.h"
#include "engine/sections.h"

std::atomic<std::int16_t> XmitBusy{0};

namespace {

// Counts itself in XmitBusy. The count changes inside a QueueSection, so that no change is lost;
// release order, so that a thread that reads 0 sees all that the transmission did.
class Transmission : ActiveCall {
public:
    explicit Transmission(Generation start) : ActiveCall(CallKind::Transmission, start) {
        AddToCount(1);
    }
    ~Transmission() { AddToCount(-1); }

private:
    static void AddToCount(int step) {
        QueueSection section;
        const int now = XmitBusy.load(std::memory_order_relaxed) + step;
        XmitBusy.store(static_cast<std::int16_t>(now), std::memory_order_release);
    }
};

} // namespace

bool XmitToDrivers(const MIDIEvent& event, Generation start) {
    const Transmission transmission(start);
    bool sent = true;
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (!row.Opened.load(std::memory_order_acquire)) continue;
        if (IsCancelled(start)) break;
        if (row.Xmit(&event)) continue;
        row.Error.store(1, std::memory_order_release);
        sent = false;
    }
    return sent;
}

// Registered as a transmission of its own: a kill from the message box of a cancelled transmission
// must still release the notes.
void SilenceDrivers() {
    const ActiveCall call(CallKind::Transmission);
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (row.Opened.load(std::memory_order_acquire)) row.Silence();
    }
}
