// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The driver's 8 + 8 ports: which device each row stands for, and where that device's 16 MIDI
// channels lie in the library's channel space.
#pragma once

#include "engine/sections.h"
#include "engine/zormidi.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdint>

constexpr int PortRows = 8;
constexpr int PortChannels = 16;
constexpr int Notes = 128; // per channel
constexpr int PortKeys = PortChannels * Notes;
constexpr int NameSize = 32; // bytes of a device name, including the terminator

// DeviceID of a row without a device. Such a row does not open.
constexpr std::int32_t NoDevice = -32768;
// DeviceID of a row on MIDI_MAPPER, the system's default output device. Output rows only.
constexpr std::int32_t MapperDevice = -1;

// String resources that this driver loads from the module.
enum : UINT {
    DeviceTwiceText = 513,
    NoDeviceName = 514,
    MapperName = 515, // also the caption of the driver's message boxes
    ShowAdvancedText = 517,
    HideAdvancedText = 518,
    MidiInName = 521,   // substring of a device name that the automatic input choice prefers
    Mpu401InName = 522, // substring that it accepts otherwise
};

// One row of InPorts. Handle, BaseChannel and StartTime are read on the device's threads. All
// fields are written on the host's thread, all but Handle and StartTime only while the port is
// closed.
struct MMEInPort {
    std::atomic<HMIDIIN> Handle{};           // null while closed
    std::atomic<std::int16_t> BaseChannel{}; // the Channel of the port's MIDI channel 0
    char Name[NameSize] = "";                // as stored and shown; the device may be unplugged
    std::int32_t DeviceID = 0;               // device number or NoDevice
    std::atomic<std::uint32_t> StartTime{};  // timeGetTime at the start of delivery, milliseconds
    char DeviceName[NameSize] = "";          // the device's name when DeviceID was set

    void Clear(); // sets all settings to 0. The port must be closed
};

// One row of OutPorts. SendLock guards LastStatus, Support, OutMatch, NoteCounts and Sending while
// the port is open. All other fields, and these while the port is closed, are written on the host's
// thread.
struct MMEOutPort {
    std::atomic<HMIDIOUT> Handle{};          // null while closed
    std::atomic<std::int16_t> BaseChannel{}; // the Channel of the port's MIDI channel 0
    // Status byte chosen for the last channel message, 0 after opening. It is what running status
    // would continue, except that a Note On or Off which is counted but not sent changes it too.
    std::uint8_t LastStatus = 0;
    char Name[NameSize] = "";  // as stored and shown; the device may be unplugged
    std::int32_t DeviceID = 0; // device number, MapperDevice or NoDevice
    DWORD Support = 0;         // dwSupport of the device
    std::uint8_t OutMatch = 1; // 1: each Note Off of a sounding note goes out; 0: only the last
    // Number of Note Ons without a Note Off, 0 to 127, at index channel * Notes + note. Null while
    // nothing may be sent.
    std::uint8_t* NoteCounts = nullptr;
    char DeviceName[NameSize] = ""; // the device's name when DeviceID was set
    Lock SendLock{};                // OutputGuard holds it
    bool Sending = false;           // the thread that holds SendLock is sending a message

    void Clear(); // sets all settings to 0, OutMatch too
};

extern MMEInPort InPorts[PortRows];
extern MMEOutPort OutPorts[PortRows];

extern std::uint8_t MidiOutReset;             // 1: output devices are reset before they close
extern std::atomic<std::int16_t> SyncMaster;  // row of InPorts that sync messages come from, 0 to 7
extern std::atomic<std::uint8_t> SyncEnabled; // 1: only SyncMaster's sync messages pass

// Fills both tables, MidiOutReset and SyncMaster from the ini file and the devices present. Cannot
// fail: missing values get their defaults. Does nothing while a port is open.
// Thread: host. Real time: no.
void LoadMMEConfig();

// Open, start or close all ports of one side that have a device. Return the system's error code, 0
// for success. At the first error they return at once and leave the remaining ports unchanged.
// Thread: host.
MMRESULT OpenOutPorts();
MMRESULT CloseOutPorts();
MMRESULT OpenInPorts(); // does not start them
MMRESULT StartInPorts();
MMRESULT CloseInPorts();

// Close all ports of one side and ignore errors: a handle that the system refuses to close is
// dropped. Thread: host.
void AbandonOutPorts();
void AbandonInPorts();

// Abandons the ports that stayed open because the system refused to close them. Does nothing while
// the driver is open. Thread: host.
void AbandonPortsLeftOpen();

// Sends one record on one port; a negative Channel stands for all 16 channels of the port. Returns
// 0 if the port is closed or cannot be locked, if the record is stale, if the device refused it
// (the user has seen a message box by then), or if a note or program number is above 127. Thread:
// any. Real time: as the device allows.
std::uint8_t XmitToPort(MMEOutPort& port, const MIDIEvent& event);

// Parses one message of an input device and passes it to RcvEvent as a record. Drops messages that
// the library does not deliver. packed: status, data 1, data 2 from the low byte up; stamp:
// milliseconds since the port was started. Thread: the device's. Real time: yes.
void ParseMidiIn(HMIDIIN handle, std::uint32_t packed, std::uint32_t stamp);

// Shows the system's text for an error code in a message box and returns when the user has closed
// it. Code 0 shows nothing. Thread: any that holds no lock.
void ReportMMEError(MMRESULT code, bool output);
