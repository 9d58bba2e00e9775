// The machine's MIDI devices: named ports in memory, and cables between them.
#pragma once

#include "platform/machine/faults.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace machine {

// Adds a device and gives its device number. Names are cut to 31 characters, as the system does.
// A device refuses a second open with MMSYSERR_ALLOCATED. support is dwSupport of its capabilities.
int AddMidiInput(const std::string& name);
int AddMidiOutput(const std::string& name, std::uint32_t support = 0);

// Whatever is sent to the output device arrives at the input device, latency milliseconds later.
// An output that MIDI_MAPPER opens is device 0's. What arrives are the bytes that a wire would
// carry: data bytes clamped to 127, none beyond those that the status calls for, no system
// exclusive. A reset of the output arrives as a note off for each note that still sounds. When tens
// of thousands of messages are under way the output refuses more with MIDIERR_NOTREADY.
void Connect(int output, int input, std::uint32_t latencyMilliseconds = 0);

// Removes all MIDI devices and cables. All handles must be closed.
void RemoveMidiDevices();

// A device that has been unplugged is no longer listed; on an open handle stop, reset and close
// succeed, and all else fails with MMSYSERR_NODRIVER. Device numbers behind it move down.
void UnplugMidiInput(const std::string& name);
void UnplugMidiOutput(const std::string& name);

// A message arriving at an input from outside, now. Lost unless the device is open and started, as
// on a real one. packed is status, data 1, data 2 from the low byte up. The callback runs on the
// machine's callback thread, or with the stepped clock inside the next Advance.
void ReceiveMidi(int input, std::uint32_t packed);

// As the device layer would call back by itself: runs the callback that midiInOpen was given, on
// the calling thread, with any message code. False if the device is not open.
bool CallBackMidi(int input, unsigned message, std::uintptr_t first, std::uintptr_t second);

// What an output device was sent, in order, while recording is on (on after PowerOn; the record
// then grows). With recording off a send allocates nothing.
struct SentMidi {
    std::uint64_t Microseconds; // on the machine's clock
    int Device;
    std::uint32_t Message; // packed, top byte 0
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

// Patches that a device with MIDICAPS_CACHE has cached: for each patch a mask of channels.
std::vector<std::uint16_t> CachedPatches(int output);

} // namespace machine
