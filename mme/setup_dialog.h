// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The MIDI Setup dialog, in which the user chooses the ports' devices, base channels and sync
// source. Thread: host, with the ports closed.
#pragma once

#include "platform/platform.h"

#include <cstdint>

// Control ids. Those of a port are the named one plus the row: InDevice, InBase, SyncChoice,
// OutDevice and OutBase. The others occur once.
namespace midisetup {
enum : int {
    InDevice = 10,
    InBase = 20,
    SyncChoice = 30,
    OutDevice = 50,
    OutBase = 60,
    MidiOutResetBox = 174,
    Version = 200,
    Advanced = 201,
    InBaseLabel = 202,
    SyncLabel = 203,
    OutBaseLabel = 204,
    Help = 32000,
    SmallCorner = 32001, // hidden; marks the lower right corner of the small layout
    LargeCorner = 32002, // hidden; marks the lower right corner of the large layout
};
constexpr int Resource = 6000;
} // namespace midisetup

INT_PTR CALLBACK MIDISetupProc(HWND dialog, UINT message, WPARAM first, LPARAM second);

// Switches the dialog to its large layout (1) or small layout (0). Returns the layout it now has.
std::uint8_t SizeMIDISetup(HWND dialog, std::uint8_t large);

// Copies the controls to the tables and the ini file, row by row. Returns 0 if two rows of a side
// have the same device: the rows before the second are stored by then, and the user has seen a
// message box.
std::uint8_t SaveMIDISetup(HWND dialog);

// Formats the library's version word as users read it, such as "40c.r1".
constexpr int VersionTextSize = 20;
void VersionText(std::uint32_t word, char (&text)[VersionTextSize]);
