// The seam of MIDI. Above it midiIn and midiOut keep handles, check arguments and call applications
// back; below it a back end carries short messages to and from one kind of port.
//
// To write the next back end: derive a MidiDevice, announce each port once by AddMidiDevice when it
// is first found, and say Leave and Return as it is pulled out and plugged in again. Nothing else
// is asked: who holds which port, what sounds on it, and that no application is called back behind
// its close, is kept above. The suite in tests/platform/midi_contract_test.cpp is what it has to
// pass. The virtual ports (backends/memory/midi.cpp) are the example.
//
// Identity. A port that both sends and receives is two devices. A device is one object for as long
// as the machine is on, whether it is there or not. Its Id says which one it is among those of its
// way: the same whenever it is plugged in, and nobody else's. It is made of what the system calls
// the port and its place among those of equal names, never of a number that the system gives out
// anew. Name is what people see, and may be borne by several.
//
// Numbers. None here. midiIn and midiOut number the devices that are there by their places in the
// list, as the system does, so a number moves down when one before it leaves, and back to where it
// was when that one returns. Whoever means a device keeps its object or its name, not its number.
//
// Leaving. An open device that leaves stays open: an output says Gone at each Send, an input
// releases the notes that are held on it, since nobody else will, and falls silent. When it
// returns, the back end joins it again by itself and both go on.
//
// Messages are whole: the status in the lowest byte, never a running one and never F0 or F7, then
// as many data bytes as midi::DataBytes says, each below 128, and zeros.
//
// Threads. Open, Send and Close of a device come one at a time, those of different devices at once;
// all else is asked by any thread. Received comes on a thread of the back end's choice, one message
// of an input at a time, in order, never from within Send; with the stepped clock inside Advance.
// The library throws away what comes in while it transmits, and what it plays it transmits on the
// clock's timer lane: a message that is handed on there, through Schedule, is safe from that.
//
// Real time. Send and Received are: they allocate nothing, and wait for nothing but a lock of the
// port's own that is held for moments; a device that takes no more says Full instead. Open and
// Close may take their time.
//
// Failure. None is thrown, nothing is printed.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace machine {

enum class MidiWay { In, Out };

enum class MidiResult {
    Done,
    InUse, // another program has the device for itself
    Gone,  // it is not there, or has just left
    Full,  // it has no room; later it may
    Failed // memory, a thread or the like cannot be had
};

// Whoever takes what comes in.
class MidiReceiver {
public:
    virtual ~MidiReceiver() = default;
    // microseconds: when it came in, on the machine's clock; not in the future. May close the
    // device that it comes from.
    virtual void Received(std::uint32_t message, std::uint64_t microseconds) = 0;
};

class MidiDevice {
public:
    MidiDevice(MidiWay way, std::string id, std::string name)
        : Way(way), Id(std::move(id)), Name(std::move(name)) {}
    virtual ~MidiDevice() = default;

    const MidiWay Way;
    const std::string Id;
    const std::string Name; // UTF-8; applications get 31 characters
    bool Gone() const { return Moves() % 2 != 0; }
    // How often it has left and returned, all in all.
    unsigned Moves() const { return Moved.load(std::memory_order_acquire); }
    virtual std::uint32_t Support() const { return 0; } // dwSupport of an output's capabilities
    // The other programs that have it, by their names, as far as the system tells.
    virtual std::vector<std::string> Users() const { return {}; }

    // Only while it is closed. Done, InUse, Gone or Failed. An output gets no receiver; an input
    // holds its own while it calls it, so that a close does not wait for a message under way.
    virtual MidiResult Open(const std::shared_ptr<MidiReceiver>& receiver) = 0;
    virtual void Close() = 0;
    // Done, Gone or Full. Only to an open output.
    virtual MidiResult Send(std::uint32_t /*message*/) { return MidiResult::Gone; }
    // The back end's to call, holding nothing, since whoever watches is told before they return.
    void Leave() {
        Leaving();
        Become(true);
    }
    void Return() { Become(false); }
    // The list's, when all is forgotten: nobody may be called back any more.
    void LeaveForGood() {
        Become(true);
        Forgotten();
    }

private:
    void Become(bool gone);
    virtual void Leaving() {}   // is called while it is still there
    virtual void Forgotten() {} // lets go of all that it holds beyond this process

    std::atomic<unsigned> Moved{0};
};

// A back end that finds its devices by itself, for as long as it lives. It ends on a thread that
// steers, and tells of nothing any more when it has.
class MidiFinder {
public:
    virtual ~MidiFinder() = default;
};

// The machine's MIDI devices, in the order of their first coming. Thread: any. Real time: the
// lookups by number do not allocate.
void AddMidiDevice(std::shared_ptr<MidiDevice> device);
std::vector<std::shared_ptr<MidiDevice>> KnownMidiDevices(MidiWay way); // also those that have left
std::shared_ptr<MidiDevice> MidiDeviceAt(MidiWay way, std::uint64_t number); // null for none
unsigned NumberOf(MidiWay way, const MidiDevice* device); // how many there are, if it is not there
// What MIDI_MAPPER stands for: the first output that is there or, without any, the stand-in.
std::shared_ptr<MidiDevice> DefaultMidiOutput();
void SetMidiFinder(std::unique_ptr<MidiFinder> finder);
void ForgetMidiDevices(); // ends the finder, and all of them leave for good

// Given by whoever chooses the back end: what a machine has that nobody steers. Called once, when
// the devices are first asked for.
void FindMidiDevices();

// Given by a back end: the default output of a machine that has no output, so that hosts which need
// one can start. It is always there, in no list, and the same object for ever. Today it is silent;
// a synthesizer has its place here.
std::shared_ptr<MidiDevice> StandInMidiOutput();

} // namespace machine
