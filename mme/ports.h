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
constexpr int Notes = 128; // of a channel
constexpr int PortKeys = PortChannels * Notes;
constexpr int NameSize = 32; // of a device name, terminator included

// A row without a device; it is skipped when the ports open.
constexpr std::int32_t NoDevice = -32768;
// MIDI_MAPPER as DeviceID holds it: the system's default output device. Output rows only.
constexpr std::int32_t MapperDevice = -1;

// Strings of the module that this driver uses.
enum : UINT {
    DeviceTwiceText = 513,
    NoDeviceName = 514,
    MapperName = 515, // also the caption of the driver's message boxes
    ShowAdvancedText = 517,
    HideAdvancedText = 518,
    MidiInName = 521,   // what the automatic input choice looks for first,
    Mpu401InName = 522, // and second
};

// One row of InPorts. Handle, BaseChannel and StartTime are read by the device's threads; all is
// written by the host's thread, and all but Handle and StartTime only while the port is closed.
struct MMEInPort {
    std::atomic<HMIDIIN> Handle{};           // null while closed
    std::atomic<std::int16_t> BaseChannel{}; // the Channel of the port's MIDI channel 0
    char Name[NameSize] = "";                // as stored and shown; the device may be gone
    std::int32_t DeviceID = 0;               // device number or NoDevice
    std::atomic<std::uint32_t> StartTime{};  // timeGetTime when delivery began
    char DeviceName[NameSize] = "";          // of the device that had this number when it was taken

    void Clear(); // all settings to 0. The port must be closed
};

// One row of OutPorts. LastStatus, Support, OutMatch, NoteCounts and Sending belong to whoever is
// inside the gate, and while the port is closed to the host's thread, which writes all else.
struct MMEOutPort {
    std::atomic<HMIDIOUT> Handle{}; // null while closed
    std::atomic<std::int16_t> BaseChannel{};
    std::uint8_t LastStatus = 0; // the last channel status that the port moved to, 0 after opening
    char Name[NameSize] = "";
    std::int32_t DeviceID = 0; // device number, MapperDevice or NoDevice
    DWORD Support = 0;         // dwSupport of the device
    std::uint8_t OutMatch = 1; // 1: each Note Off of a sounding note goes out; 0: only the last
    // Note Ons without a Note Off, by channel * Notes + note. Null: nothing is sent.
    std::uint8_t* NoteCounts = nullptr;
    char DeviceName[NameSize] = ""; // of the device that had this number when it was taken
    Lock Gate{};
    bool Sending = false; // one message is just being counted and sent

    void Clear(); // all settings to 0, OutMatch too
};

extern MMEInPort InPorts[PortRows];
extern MMEOutPort OutPorts[PortRows];

extern std::uint8_t MidiOutReset;             // output devices are reset before they close
extern std::atomic<std::int16_t> SyncMaster;  // the row of InPorts that sync messages come from
extern std::atomic<std::uint8_t> SyncEnabled; // 1: only SyncMaster's sync messages pass

// Fills both tables and the two values above from the ini file and the devices present. Cannot
// fail: what is missing gets its default. Does nothing while a port is open.
// Thread: host. Real time: no.
void LoadMMEConfig();

// Opens or closes all ports of one side that have a device. Give the system's error code, 0 for
// success, and stop at the first error with the ports as they are then. Thread: host.
MMRESULT OpenOutPorts();
MMRESULT CloseOutPorts();
MMRESULT OpenInPorts(); // opened, not started
MMRESULT StartInPorts();
MMRESULT CloseInPorts();

// Close all ports of one side for good: the system gets a last chance to take each handle back, and
// what it refuses is forgotten without a word. Thread: host.
void AbandonOutPorts();
void AbandonInPorts();

// Where a closing has left ports open because the system refused, and the driver begins anew:
// abandons them. Does nothing while the driver is open. Thread: host.
void AbandonPortsLeftOpen();

// Sends one record on one open port; a negative Channel goes to all 16 channels of it. False if the
// port is closed or cannot be entered now, if the host has ended what the record belongs to, if the
// device refused, of which the user has then seen a box, or if a note or program is above 127.
// Thread: any. Real time: as the device allows.
std::uint8_t XmitToPort(MMEOutPort& port, const MIDIEvent& event);

// Turns one message of an input device into a record for RcvEvent, unless it is one that does not
// pass. packed: status, data 1, data 2 from the low byte up; stamp: milliseconds since the port was
// started. Thread: the device's. Real time: yes.
void ParseMidiIn(HMIDIIN handle, std::uint32_t packed, std::uint32_t stamp);

// Shows the system's text for an error code in a message box, and returns when the user has closed
// it. 0 shows nothing. Thread: any that holds no lock.
void ReportMMEError(MMRESULT code, bool output);
