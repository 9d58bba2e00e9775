// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The machine's MIDI devices: named ports in memory, and cables between them. The functions below
// the line of dashes concern the MIDI calls and apply to devices of every back end.
//
// A device number is that of midiIn or midiOut: the place among the devices that are plugged in.
// Thread: any of the host's, at any time.
#pragma once

#include "platform/machine/faults.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace machine {

// Adds a device, or plugs the one of that name in again, and returns its number. midiIn and midiOut
// return 31 characters of the name. support is dwSupport of its capabilities.
int AddMidiInput(const std::string& name);
int AddMidiOutput(const std::string& name, std::uint32_t support = 0);

// Connects a cable: what is sent to the output arrives at the input, latency milliseconds later.
// The cable stays connected while its devices are unplugged, and carries nothing meanwhile. While
// 65,536 messages are queued, outputs refuse more with MIDIERR_NOTREADY.
void Connect(int output, int input, std::uint32_t latencyMilliseconds = 0);

// Cables between the machines of different processes, without hardware: a message that one program
// sends to a bridged output arrives at the bridged inputs of all. A cable has a name. Any number of
// outputs and inputs, in any programs of the same user that have the same runtime folder, may be
// connected to it; every input receives the messages of every output, those of one output in order,
// stamped on arrival. Sending never waits. Up to 65,536 messages are kept for a slow or stopped
// program; if more come, that program alone loses the oldest. No program ever waits for one that
// has ended.
//
// Connects a device to the cable of that name; an empty name disconnects it. Other cables are
// unchanged. False if the device does not exist, or the system has no shared memory or thread left.
// Ends with PowerOn or the process; messages that were sent by then still arrive.
bool BridgeOutput(int output, const std::string& name);
bool BridgeInput(int input, const std::string& name);

// Unplugs a device: it is not listed, and the numbers of the devices behind it move down. Until it
// is plugged in again, stop, reset and close of an open handle succeed, midiOutShortMsg fails with
// MMSYSERR_NODRIVER once and then sends nothing, and all other calls fail so each time. Afterwards
// the handle works again, and the device has its old place in the list.
void UnplugMidiInput(const std::string& name);
void UnplugMidiOutput(const std::string& name);

// Delivers a message to an input now, as from outside. Lost unless the device is open and started,
// as on a real one. packed is status, data 1, data 2 from the low byte up. The callback runs on a
// thread of the machine's, or with the stepped clock inside the next Advance.
void ReceiveMidi(int input, std::uint32_t packed);

// ------------------------------------------------------------------------------------------------

// Sets a function that is called whenever a device was added, has left or returned, on the thread
// that found it, with no lock held that the MIDI calls need; it must not call PowerOn. Null, as at
// load, for none. On return the former watcher is not running, unless this is called from inside
// it.
void WatchMidiDevices(std::function<void()> watcher);

// Names of the other programs that use a device, as far as the system reports them.
std::vector<std::string> UsersOfMidiInput(int number);
std::vector<std::string> UsersOfMidiOutput(int number);

// Runs the callback that midiInOpen was given, on the calling thread, with any message code. False
// if the device is not open.
bool CallBackMidi(int input, unsigned message, std::uintptr_t first, std::uintptr_t second);

// A message that was sent to an output device. They are recorded in order while recording is on, as
// after PowerOn; the record grows without limit. With recording off a send allocates nothing.
struct SentMidi {
    std::uint64_t Microseconds; // on the machine's clock
    int Device;
    std::uint32_t Message; // packed, as it was sent; top byte 0
    bool Reset;            // midiOutReset, Message 0
};
void RecordSentMidi(bool on);
std::vector<SentMidi> DrainSentMidi(); // returns and clears the record

// Simulates a driver that is a program of its own: a function that runs inside each
// midiOutShortMsg, midiOutReset and midiOutClose, on the calling thread, before the message reaches
// the device. It may make any call itself. Null for none, as at PowerOn.
void InsideMidiOut(std::function<void(Call call, int device)> driver);

// Numbers of open handles.
int OpenMidiInputs();
int OpenMidiOutputs();

// Patches that an open device with MIDICAPS_CACHE has cached: for each patch a bit mask of
// channels. Empty if the device is not open.
std::vector<std::uint16_t> CachedPatches(int output);

} // namespace machine
