// The table of MIDI devices that the MIDI calls and the machine's steering share.
#pragma once

#include "platform/machine/faults.h"
#include "platform/system/midi.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace machine {

// Where an output sends beyond the machine. Send runs under the table's lock, on a real-time
// thread: it neither waits nor allocates.
class MidiSink {
public:
    MidiSink() = default;
    MidiSink(const MidiSink&) = delete;
    MidiSink& operator=(const MidiSink&) = delete;
    virtual ~MidiSink() = default;
    virtual void Send(std::uint32_t packed) = 0;
};

// Where an input gets messages from beyond the machine, for as long as it exists.
class MidiSource {
public:
    MidiSource() = default;
    MidiSource(const MidiSource&) = delete;
    MidiSource& operator=(const MidiSource&) = delete;
    virtual ~MidiSource() = default;
};

// What midiInOpen is given: it takes the handle as a plain pointer, as a function does whose own
// header knows none of the system's types.
using MidiInCallback = void(CALLBACK*)(void*, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);

// What runs inside the calls of an output, as InsideMidiOut was told.
using MidiOutDriver = std::function<void(Call call, int device)>;

struct MidiInputDevice {
    std::string Name;
    bool Plugged = true;
    std::uintptr_t Handle = 0; // 0 while closed
    MidiInCallback Callback = nullptr;
    DWORD_PTR Instance = 0;
    bool Started = false;
    DWORD StartTime = 0; // timeGetTime when it was started
    int CallbacksUnderWay = 0;
    std::unique_ptr<MidiSource> Source;
};

struct MidiCable {
    MidiInputDevice* To;
    std::uint64_t Latency; // microseconds
};

struct MidiOutputDevice {
    std::string Name;
    std::uint32_t Support = 0;
    bool Plugged = true;
    std::uintptr_t Handle = 0; // 0 while closed
    std::vector<MidiCable> Cables;
    std::unique_ptr<MidiSink> Sink;
    std::bitset<16 * 128> Sounding; // notes that have been struck and not released, by channel
    std::array<WORD, MIDIPATCHSIZE> Patches{};
};

// Devices of one direction: those listed, in the order of their numbers, and those unplugged while
// a handle was open.
template <typename Device>
struct MidiDevices {
    std::vector<std::unique_ptr<Device>> Listed;
    std::vector<std::unique_ptr<Device>> Unplugged;
    std::uintptr_t LastHandle = 0;

    Device* At(std::uint64_t number) const {
        return number < Listed.size() ? Listed[number].get() : nullptr;
    }
    // The device that an open handle belongs to. A handed-back handle never comes again.
    Device* Opened(std::uintptr_t handle) const {
        if (handle == 0) return nullptr;
        for (const auto& device : Listed)
            if (device->Handle == handle) return device.get();
        for (const auto& device : Unplugged)
            if (device->Handle == handle) return device.get();
        return nullptr;
    }
};

struct MidiMachine {
    std::mutex Lock;
    std::condition_variable CallbackDone;
    MidiDevices<MidiInputDevice> Inputs;
    MidiDevices<MidiOutputDevice> Outputs;
    std::shared_ptr<const MidiOutDriver> Driver; // null for none
};
MidiMachine& TheMidi();

// Sends a message on its way to an input: it arrives after the latency, if the device is open and
// started by then. False if the scheduler is full. With the lock held or not.
bool SendToInput(MidiInputDevice& device, std::uint32_t packed, std::uint64_t latencyMicroseconds);

// Data bytes that follow a status byte.
constexpr int MidiDataBytes(std::uint32_t status) {
    if (status < 0xC0) return 2;
    if (status < 0xE0) return 1;
    if (status < 0xF0) return 2;
    return status == 0xF2 ? 2 : status == 0xF1 || status == 0xF3 ? 1 : 0;
}

// The number and name of an error as the system has them; null for a number that means nothing.
const char* MidiErrorText(MMRESULT code);

// Copies as much of a record as the caller has room for.
template <typename Record>
MMRESULT GiveRecord(const Record& from, Record* to, UINT size) {
    if (!to) return MMSYSERR_INVALPARAM;
    const auto* const bytes = reinterpret_cast<const char*>(&from);
    std::copy_n(bytes, std::min<std::size_t>(size, sizeof(Record)), reinterpret_cast<char*>(to));
    return MMSYSERR_NOERROR;
}

} // namespace machine
