// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Opening and closing the drivers as a group, and running their dialogs.
#pragma once

#include "platform/platform.h"

#include <atomic>
#include <cstdint>

// True between a successful OpenMIDIDrivers and CloseMIDIDrivers. Written on the host's thread.
extern std::atomic<std::uint8_t> DriversOpen;

// Empties the queues, stops the external clock and opens every row that is up and Ready; if one
// fails, closes them all and returns false. Returns true without an effect if they are open
// already. Returns false if called from a message box of a row that is being opened or closed; a
// close from such a box is not undone. Thread: host.
bool OpenMIDIDrivers();
void CloseMIDIDrivers();

// Runs a row's dialog and returns when it ends. Meanwhile OpenMIDIDrivers and CloseMIDIDrivers only
// mark the row as opened or closed, and the driver follows the mark after the dialog. No effect for
// a row whose dialog runs already. Thread: host.
void RunDriverDialog(int row, HWND parent);
