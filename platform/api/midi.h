// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What a MIDI back end offers: it carries short messages to and from one kind of port. Handles,
// arguments and callbacks are the business of midiIn and midiOut above. docs/new-back-end.md lists
// the steps to add one; this header is the contract.
//
// Identity. A port that both sends and receives is two devices. A device is one object until
// PowerOn, whether it is plugged in or not. Its Id is unique among devices of the same direction
// and the same whenever it is plugged in: made of the system's name for the port and its place
// among ports of that name, never of a number that the system reassigns. Name is for people to
// read; make it by UniqueMidiName (api/names.h), since settings store names.
//
// Leaving and returning. An open device that leaves stays open. An output then answers Gone to each
// Send. An input releases the notes that are held on it, since no other code will, and delivers
// nothing more. When the port returns, the back end reconnects to it by itself, calls Return, and
// both go on.
//
// Messages are whole: the status in the lowest byte, never running status, never F0 or F7, then as
// many data bytes as midi::DataBytes gives, each below 128, and zeros.
//
// Threads. Open, Send and Close of one device are called one at a time, those of different devices
// concurrently; everything else by any thread. A back end calls Receive on a thread of its choice,
// one message of an input at a time, in order, never from within Send; with the stepped clock
// inside Advance. The library discards what comes in while it transmits, and it transmits on the
// timer lane (api/clock.h), so an input delivers on that lane. MidiInput (api/midi_input.h) does
// this and should be the base of every input.
//
// Locks. Call AddMidiDevice, Leave and Return with no lock held: they call the watcher.
//
// Real time. Send and Receive allocate nothing, and wait for nothing but a lock of the device's own
// that is held for a copy; a device whose buffer is full answers Full. Open and Close may block.
//
// Failure. No function throws or prints.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace device {

enum class MidiDirection { Input, Output };

enum class MidiResult {
    Done,
    InUse,  // another program has exclusive use of the device
    Gone,   // it is unplugged; the back end may learn of it here first
    Full,   // its buffer is full; a later attempt may succeed
    Failed, // no memory, thread or other resource of the system
    NoSound // of the synthesizer: SynthesizerProblem (machine/synthesizer.h) returns the reason
};

// Receives the messages of an open input.
class MidiReceiver {
public:
    virtual ~MidiReceiver() = default;
    // microseconds: when the message came in, on the machine's clock, not in the future. May close
    // the device that it comes from.
    virtual void Receive(std::uint32_t message, std::uint64_t microseconds) = 0;
};

// Whether a device is unplugged, and how often it has been since it was added.
struct MidiPresence {
    bool Gone;
    unsigned Departures; // with that of a device that is Gone now
};

class MidiDevice {
public:
    MidiDevice(MidiDirection direction, std::string id, std::string name)
        : Direction(direction), Id(std::move(id)), Name(std::move(name)) {}
    virtual ~MidiDevice() = default;

    const MidiDirection Direction;
    const std::string Id;
    const std::string Name; // UTF-8; applications get 31 bytes
    bool IsGone() const { return Presence().Gone; }
    // Both facts of one moment. Thread: any. Real time.
    MidiPresence Presence() const {
        const unsigned changes = Changes.load(std::memory_order_acquire);
        return {changes % 2 != 0, (changes + 1) / 2};
    }
    virtual std::uint32_t SupportFlags() const {
        return 0;
    } // dwSupport of an output's capabilities
    // Names of the other programs that use the device, as far as the system reports them.
    virtual std::vector<std::string> Users() const { return {}; }

    // Called only while closed. Done, InUse, Gone, Failed or NoSound. receiver: null for an output.
    // An input keeps a reference while it calls the receiver, so that Close need not wait for that
    // call.
    virtual MidiResult Open(const std::shared_ptr<MidiReceiver>& receiver) = 0;
    virtual void Close() = 0;
    // Done, Gone or Full. Called only on an open output.
    virtual MidiResult Send(std::uint32_t /*message*/) { return MidiResult::Gone; }

    // For the back end to call when the port is unplugged and plugged in again; repeated calls have
    // no effect. The watcher has been called when they return.
    void Leave() {
        BeforeLeave();
        SetGone(true);
    }
    void Return() { SetGone(false); }
    // For the registry, at PowerOn: the device leaves, and no receiver is called any more.
    void LeaveForGood() {
        SetGone(true);
        ReleaseResources();
    }

private:
    void SetGone(bool gone);
    virtual void BeforeLeave() {}      // the device is not Gone yet
    virtual void ReleaseResources() {} // drops cables and threads that lead out of this process

    // Departures and returns; they alternate, so an odd count means that the device is gone. One
    // word, so that Presence is consistent without a lock.
    std::atomic<unsigned> Changes{0};
};

// A MIDI back end in use: it adds the devices that it finds (AddMidiDevice), at first in its entry
// point, later on a thread of its own. Destroyed by the steering thread; on return it calls
// nothing any more.
class MidiBackEnd {
public:
    virtual ~MidiBackEnd() = default;
};

// The machine's list of MIDI devices, in the order in which they were added. Kept by the registry.
// Thread: any. Real time: MidiDeviceAt and NumberOf do not allocate.
void AddMidiDevice(std::shared_ptr<MidiDevice> device);
// Those that are gone included.
std::vector<std::shared_ptr<MidiDevice>> KnownMidiDevices(MidiDirection direction);
// number: place among those that are plugged in, as midiIn and midiOut count them; it moves down
// when a device before it leaves, and back when that one returns. Null if there are fewer.
std::shared_ptr<MidiDevice> MidiDeviceAt(MidiDirection direction, std::uint64_t number);
// The number of a device; how many are plugged in for one that is gone, and for null.
unsigned NumberOf(MidiDirection direction, const MidiDevice* device);
// The devices behind MIDI_MAPPER, in the order in which they are tried while they answer NoSound:
// the synthesizer if there is one, the first other output that is plugged in, else the silent one.
std::vector<std::shared_ptr<MidiDevice>> DefaultMidiOutputs();
// Ends the back end in use and empties the list; the devices leave for good.
void RemoveMidiDevices();

// Given by a back end: the default output of a machine without outputs, so that hosts which need
// one can start. Plays nothing. Never gone, in no list, always the same object.
std::shared_ptr<MidiDevice> SilentMidiOutput();

} // namespace device
