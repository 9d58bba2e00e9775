// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/driver_group.h"

#include "engine/driver_table.h"
#include "engine/generation.h"
#include "engine/library_instance.h"
#include "engine/library_state.h"
#include "engine/queues.h"
#include "engine/time_base.h"

#include <utility>

std::atomic<std::uint8_t> DriversOpen{0};

namespace {

// Used on the host's thread only. That thread enters these functions again from the message loop of
// a message box or dialog.
bool changing = false;          // a row is being opened or closed
bool inDialog[DriverRows] = {}; // the row's dialog opens and closes the driver

// Opens the row as part of the group. Returns false if it cannot be opened, or if the host has
// closed the group meanwhile from a message box.
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

// Opened is cleared first, so that calls from a message box of Close see the row as closed.
void CloseRow(int index) {
    MIDIDriverEntry& row = MIDIDrivers[index];
    if (row.Opened.exchange(0) && !inDialog[index]) row.Close();
}

bool OpenAllRows() {
    for (int index = 0; index < DriverRows; ++index)
        if (!OpenRow(index)) return false;
    return true;
}

// After the dialog: opens the driver if its row is marked as opened. Open and Close can show
// message boxes, from which the host may mark the row differently, so the mark is read again after
// each. A failed Open counts as done, since the user has seen its message.
void OpenAsMarked(MIDIDriverEntry& row) {
    bool isOpen = false;
    while (isOpen != (row.Opened && LibraryIsUp())) {
        if (isOpen)
            row.Close();
        else
            row.Open();
        isOpen = !isOpen;
    }
}

} // namespace

bool OpenMIDIDrivers() {
    if (changing) return false;
    if (DriversOpen) return true;
    if (!LibraryIsUp()) return false;
    EmptyAllQueues();
    StopExternalClock();
    CancelTransmissions();
    DriversOpen = 1;
    changing = true;
    const bool complete = OpenAllRows();
    changing = false;
    if (!complete) CloseMIDIDrivers();
    return complete;
}

void CloseMIDIDrivers() {
    if (!DriversOpen) return;
    CancelTransmissions();
    DriversOpen = 0;
    const bool before = std::exchange(changing, true);
    for (int index = 0; index < DriverRows; ++index) CloseRow(index);
    changing = before;
}

// The driver is closed while its dialog runs, except the recogniser, whose dialog shows live input.
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
    OpenAsMarked(row);
    inDialog[index] = false;
}

ZorBool ZORCALL ZorRestoreMIDI(void) ZORNOEXCEPT {
    CloseMIDIDrivers();
    return 1;
}

void ZORCALL ZorConfigMIDIDriver(void* parent, int16_t row) ZORNOEXCEPT {
    if (row < 0 || row >= DriverRows) return;
    // With a bare file name the system would look for the settings in its own folder.
    if (!LibraryIsUp()) BuildIniPath();
    RunDriverDialog(row, static_cast<HWND>(parent));
}
