// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The driver table: the engine's only access to the drivers, its sources and sinks of MIDI.
#pragma once

#include "engine/zormidi.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdint>

constexpr std::uint16_t DriverSuccess = 0xFFFF;

// One driver. The slots do not throw. They are called outside QueueLock, on the host's thread; Xmit
// also on the timer's and the MIDI input's.
struct MIDIDriverEntry {
    std::atomic<std::uint8_t> Inited; // Init succeeded in the last MIDISysInit
    std::atomic<std::uint8_t> Opened; // open in the group; during its dialog: to be opened after it
    std::uint16_t (*Init)();          // DriverSuccess or a failure code
    std::uint8_t (*Term)();
    std::uint8_t (*Open)(); // false: the driver has shown its own message box
    std::uint8_t (*Close)();
    std::uint8_t (*Xmit)(const MIDIEvent* event); // false: a device refused it
    void (*Sync)(std::int16_t mode);
    void (*Config)(HWND parent);      // runs the dialog and returns when it ends
    std::uint8_t (*Silence)();        // releases all sounding notes
    std::uint8_t (*Ready)();          // the driver may be opened now
    std::atomic<std::uint16_t> Error; // 1 after a failed Open or Xmit, until ZorErrorMIDI
    std::uint8_t TakesSync;           // 0: Sync always receives mode 0
};

constexpr int DriverRows = 2;
constexpr int MMERow = 0;
constexpr int PRecRow = 1;
extern MIDIDriverEntry MIDIDrivers[DriverRows];

// Slots of row 0, in mme/.
std::uint16_t MMEInit();
std::uint8_t MMETerm();
std::uint8_t MMEOpen();
std::uint8_t MMEClose();
std::uint8_t MMEXmit(const MIDIEvent* event);
void MMESync(std::int16_t mode);
void MMEConfig(HWND parent);
std::uint8_t MMESilence();
std::uint8_t MMEReady();

// Slots of row 1, in pitchrec/driver/.
std::uint16_t PRecInit();
std::uint8_t PRecTerm();
std::uint8_t PRecOpen();
std::uint8_t PRecClose();
std::uint8_t PRecXmit(const MIDIEvent* event);
void PRecSync(std::int16_t mode);
void PRecConfig(HWND parent);
std::uint8_t PRecSilence();
std::uint8_t PRecReady();

// Passes the recogniser's new notes to RcvEvent. Called at every timer expiry.
// Thread: timer. Real time: yes. In pitchrec/driver/.
void PollPitchRec();

// Nonzero while row 1 is open for its dialog, set before that Open and cleared after that Close.
// The recogniser then listens even if it is switched off in the settings, and none of its notes are
// passed to RcvEvent. Written on the host's thread.
extern std::atomic<std::uint8_t> PRecInDialog;
