// The machine's MIDI devices: named ports in memory, and cables between them. What is below the
// first line of dashes steers the MIDI calls and holds whatever kind of device they reach.
//
// A device number is that of midiIn or midiOut: its place among the devices that are there. Thread:
// any that steers, at any time.
#pragma once

#include "platform/machine/faults.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace machine {

// Adds a device, or plugs one of that name in again, and gives its number. midiIn and midiOut give
// 31 characters of the name. support is dwSupport of its capabilities.
int AddMidiInput(const std::string& name);
int AddMidiOutput(const std::string& name, std::uint32_t support = 0);

// Whatever is sent to the output device arrives at the input device, latency milliseconds later. A
// cable stays where it is when its devices are unplugged, and carries nothing meanwhile. When
// 65,536 messages are under way the outputs refuse more with MIDIERR_NOTREADY.
void Connect(int output, int input, std::uint32_t latencyMilliseconds = 0);

// Cables between the machines of different processes: what one program sends to a bridged output
// arrives at the bridged inputs of others, without hardware. A cable has a name. Any number of
// outputs and inputs, in any programs of the same user that have the same runtime folder, may hang
// on it; every input gets what every output sends, each output's messages in order, stamped as they
// arrive. Sending never waits, whatever the others do. 65,536 messages wait for a program that is
// slow or stands still; one that has more to come misses the oldest of them, and nobody else any. A
// program that has gone leaves nothing that anybody has to wait for.
//
// Hangs a device on the cable of that name; an empty name takes it off. Other cables stay as they
// are. False if there is no such device, or no shared memory or thread to be had. It ends with
// PowerOn or the process; what was sent by then still arrives.
bool BridgeOutput(int output, const std::string& name);
bool BridgeInput(int input, const std::string& name);

// A device that has been unplugged is not listed, and device numbers behind it move down. Until it
// is plugged in again, stop, reset and close of an open handle succeed, midiOutShortMsg fails with
// MMSYSERR_NODRIVER once and then sends nothing, and all else fails so each time. Then the handle
// goes on, and the device has its place in the list again.
void UnplugMidiInput(const std::string& name);
void UnplugMidiOutput(const std::string& name);

// A message arriving at an input from outside, now. Lost unless the device is open and started, as
// on a real one. packed is status, data 1, data 2 from the low byte up. The callback runs on a
// thread of the machine's, or with the stepped clock inside the next Advance.
void ReceiveMidi(int input, std::uint32_t packed);

// ------------------------------------------------------------------------------------------------

// Called whenever a device has come, left or returned, on the thread where that was found, with
// nothing locked that the MIDI calls need; it may not switch the machine on anew. Null, as at load,
// for none: on return the former watcher is not being called, unless this is called from inside it.
void WatchMidiDevices(std::function<void()> watcher);

// The other programs that have a device, by their names, as far as the system tells.
std::vector<std::string> UsersOfMidiInput(int number);
std::vector<std::string> UsersOfMidiOutput(int number);

// As the device layer would call back by itself: runs the callback that midiInOpen was given, on
// the calling thread, with any message code. False if the device is not open.
bool CallBackMidi(int input, unsigned message, std::uintptr_t first, std::uintptr_t second);

// What output devices were sent, in order, while recording is on (on after PowerOn; the record then
// grows). With recording off a send allocates nothing.
struct SentMidi {
    std::uint64_t Microseconds; // on the machine's clock
    int Device;
    std::uint32_t Message; // packed, as it was sent; top byte 0
    bool Reset;            // midiOutReset, Message 0
};
void RecordSentMidi(bool on);
std::vector<SentMidi> TakeSentMidi();

// The driver of the output devices is a program of its own: from now on this runs inside each
// midiOutShortMsg, midiOutReset and midiOutClose, on the thread that called and before the device
// takes the message. It may make any call itself. Null for none, as at PowerOn.
void InsideMidiOut(std::function<void(Call call, int device)> driver);

// Handles open now.
int OpenMidiInputs();
int OpenMidiOutputs();

// Patches that an open device with MIDICAPS_CACHE has cached: for each patch a mask of channels.
// Empty if it is not open.
std::vector<std::uint16_t> CachedPatches(int output);

} // namespace machine
