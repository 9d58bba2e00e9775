#include "engine/driver_group.h"

#include "engine/driver_table.h"
#include "engine/generation.h"
#include "engine/lifecycle.h"
#include "engine/queues.h"
#include "engine/time_base.h"

#include <utility>

std::atomic<std::uint8_t> DriversOpen{0};

namespace {

// All of these belong to the host's thread, which comes in again from the message loop of a box or
// a dialog.
bool changing = false;          // a row is being opened or closed
bool inDialog[DriverRows] = {}; // the row belongs to its dialog

// Opens the row as part of the group. False if it cannot be opened, or the host has closed the
// group from a box meanwhile.
bool OpenRow(int index) {
    MIDIDriverEntry& row = MIDIDrivers[index];
    if (!row.Inited || !row.Ready()) return true;
    if (!inDialog[index] && !row.Open()) {
        row.Error = 1;
        return false;
    }
    if (!DriversOpen) {
        if (!inDialog[index]) row.Close();
        return false;
    }
    row.Opened = 1;
    return true;
}

// Cleared first, so that a box in the middle of it finds the row closed.
void CloseRow(int index) {
    MIDIDriverEntry& row = MIDIDrivers[index];
    if (row.Opened.exchange(0) && !inDialog[index]) row.Close();
}

bool OpenAllRows() {
    for (int index = 0; index < DriverRows; ++index)
        if (!OpenRow(index)) return false;
    return true;
}

} // namespace

bool OpenMIDIDrivers() {
    if (changing) return false;
    if (DriversOpen) return true;
    if (!LibraryIsUp()) return false;
    EmptyAllQueues();
    StopExternalClock();
    EndTransmissions();
    DriversOpen = 1;
    changing = true;
    const bool complete = OpenAllRows();
    changing = false;
    if (!complete) CloseMIDIDrivers();
    return complete;
}

void CloseMIDIDrivers() {
    if (!DriversOpen) return;
    EndTransmissions();
    DriversOpen = 0;
    const bool before = std::exchange(changing, true);
    for (int index = 0; index < DriverRows; ++index) CloseRow(index);
    changing = before;
}

// Closed for the dialog, but the microphone, which its dialog wants live.
void RunDriverDialog(int index, HWND parent) {
    if (std::exchange(inDialog[index], true)) return;
    MIDIDriverEntry& row = MIDIDrivers[index];
    const bool live = index == PRecRow && row.Inited;
    if (live) PRecInDialog = 1;
    if (row.Opened) row.Close();
    if (live) row.Open();
    row.Config(parent);
    if (live) {
        row.Close();
        PRecInDialog = 0;
    }
    // The opening may show a box, from which the host changes its mind once more.
    for (bool open = false; open != (row.Opened && LibraryIsUp()); open = !open)
        open ? row.Close() : row.Open();
    inDialog[index] = false;
}
