#include "platform/virtual/midi_devices.h"

#include "platform/device/clock.h"
#include "platform/machine/power.h"
#include "platform/virtual/midi.h"

#include <algorithm>

namespace machine {
namespace {

std::string DeviceName(const std::string& name) { return name.substr(0, MAXPNAMELEN - 1); }

template <typename Device>
int Add(MidiDevices<Device>& devices, std::unique_ptr<Device> device) {
    devices.Listed.push_back(std::move(device));
    return static_cast<int>(devices.Listed.size()) - 1;
}

template <typename Device>
int CountOpen(const MidiDevices<Device>& devices) {
    const auto open = [](const auto& device) { return device->Handle != 0; };
    return static_cast<int>(
        std::count_if(devices.Listed.begin(), devices.Listed.end(), open) +
        std::count_if(devices.Unplugged.begin(), devices.Unplugged.end(), open));
}

// Takes the first device of that name off the list. It stays in memory for its handle and cables.
template <typename Device>
Device* Unplug(MidiDevices<Device>& devices, const std::string& name) {
    const auto found =
        std::find_if(devices.Listed.begin(), devices.Listed.end(),
                     [&](const auto& device) { return device->Name == DeviceName(name); });
    if (found == devices.Listed.end()) return nullptr;
    devices.Unplugged.push_back(std::move(*found));
    devices.Listed.erase(found);
    devices.Unplugged.back()->Plugged = false;
    return devices.Unplugged.back().get();
}

// Cuts the devices off and forgets what is still on its way to them; waits for a message that is
// just arriving.
void StopTraffic(const std::vector<std::unique_ptr<MidiInputDevice>>& devices) {
    for (const auto& device : devices) device->Source.reset();
    for (const auto& device : devices) UnscheduleAll(device.get());
}

// A host that does not steer the machine finds one output whose messages come back at one input.
MidiMachine* MachineAtLoad() {
    auto* const midi = new MidiMachine;
    const char* const name = "Loopback";
    midi->Inputs.Listed.push_back(std::make_unique<MidiInputDevice>());
    midi->Outputs.Listed.push_back(std::make_unique<MidiOutputDevice>());
    midi->Inputs.Listed.back()->Name = midi->Outputs.Listed.back()->Name = name;
    midi->Outputs.Listed.back()->Cables.push_back({midi->Inputs.Listed.back().get(), 1000});
    return midi;
}

const AtPowerOn atPowerOn([] {
    RemoveMidiDevices();
    InsideMidiOut(nullptr);
    TakeSentMidi();
    RecordSentMidi(true);
});

} // namespace

MidiMachine& TheMidi() {
    static MidiMachine& midi = *MachineAtLoad();
    return midi;
}

int AddMidiInput(const std::string& name) {
    std::lock_guard lock(TheMidi().Lock);
    auto device = std::make_unique<MidiInputDevice>();
    device->Name = DeviceName(name);
    return Add(TheMidi().Inputs, std::move(device));
}

int AddMidiOutput(const std::string& name, std::uint32_t support) {
    std::lock_guard lock(TheMidi().Lock);
    auto device = std::make_unique<MidiOutputDevice>();
    device->Name = DeviceName(name);
    device->Support = support;
    return Add(TheMidi().Outputs, std::move(device));
}

void Connect(int output, int input, std::uint32_t latencyMilliseconds) {
    std::lock_guard lock(TheMidi().Lock);
    MidiOutputDevice* const from = TheMidi().Outputs.At(static_cast<std::uint64_t>(output));
    MidiInputDevice* const to = TheMidi().Inputs.At(static_cast<std::uint64_t>(input));
    if (from && to) from->Cables.push_back({to, std::uint64_t{latencyMilliseconds} * 1000});
}

void RemoveMidiDevices() {
    std::vector<std::unique_ptr<MidiInputDevice>> listed, unplugged;
    std::vector<std::unique_ptr<MidiOutputDevice>> outputs, unpluggedOutputs;
    {
        // Off the lists first, and gone from memory only when nothing can reach them.
        MidiMachine& midi = TheMidi();
        std::unique_lock lock(midi.Lock);
        listed.swap(midi.Inputs.Listed);
        unplugged.swap(midi.Inputs.Unplugged);
        outputs.swap(midi.Outputs.Listed);
        unpluggedOutputs.swap(midi.Outputs.Unplugged);
    }
    StopTraffic(listed);
    StopTraffic(unplugged);
}

void UnplugMidiInput(const std::string& name) {
    std::lock_guard lock(TheMidi().Lock);
    if (MidiInputDevice* const device = Unplug(TheMidi().Inputs, name)) device->Started = false;
}

void UnplugMidiOutput(const std::string& name) {
    std::lock_guard lock(TheMidi().Lock);
    Unplug(TheMidi().Outputs, name);
}

int OpenMidiInputs() {
    std::lock_guard lock(TheMidi().Lock);
    return CountOpen(TheMidi().Inputs);
}

int OpenMidiOutputs() {
    std::lock_guard lock(TheMidi().Lock);
    return CountOpen(TheMidi().Outputs);
}

} // namespace machine
