// The MIDI Setup dialog, by which the user chooses the devices of the ports and how they are used.
// All of it runs on the host's thread, with the ports closed.
#pragma once

#include "platform/platform.h"

#include <cstdint>

// The driver-wide controls; those of a port are these plus its row.
namespace midisetup {
enum : int {
    InDevice = 10,
    InBase = 20,
    SyncChoice = 30,
    OutDevice = 50,
    OutBase = 60,
    ResetOutputs = 174,
    Version = 200,
    Advanced = 201,
    InBaseLabel = 202,
    SyncLabel = 203,
    OutBaseLabel = 204,
    Help = 32000,
    SmallCorner = 32001, // hidden; stands where the small layout ends
    LargeCorner = 32002, // hidden; stands where the large layout ends
};
constexpr int Resource = 6000;
} // namespace midisetup

INT_PTR CALLBACK MIDISetupProc(HWND dialog, UINT message, WPARAM first, LPARAM second);

// Brings the dialog into its large or small layout, and gives which one.
std::uint8_t SizeMIDISetup(HWND dialog, std::uint8_t large);

// Takes the controls over into the tables and the ini file, row by row. False if one device stands
// on two rows of a side, of which the user has then seen a box; the rows before are stored by then.
std::uint8_t SaveMIDISetup(HWND dialog);

// The version word as people read it.
constexpr int VersionTextSize = 20;
void VersionText(std::uint32_t word, char (&text)[VersionTextSize]);
