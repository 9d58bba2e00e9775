// The rows of the driver table taken together.
#pragma once

#include "platform/platform.h"

#include <atomic>
#include <cstdint>

// The drivers were opened as a group. Set and cleared on the host's thread.
extern std::atomic<std::uint8_t> DriversOpen;

// Empties the rings, stops the external clock and opens every row that is up and Ready. All or
// nothing. True also if they are open already, which changes nothing. False from within a message
// box of a row that is just being opened or closed; what the host closes from there stays closed.
// Thread: host.
bool OpenMIDIDrivers();
void CloseMIDIDrivers();

// Runs a row's dialog. Meanwhile the row belongs to the dialog: opening and closing the drivers
// only note for it what the host wants, which comes true when the dialog has ended. A second dialog
// of the row does not open. Thread: host.
void RunDriverDialog(int row, HWND parent);
