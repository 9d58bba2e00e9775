// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// MIDI ports in memory: a message that is sent to an output is delivered, after the latency of the
// cable, to each input that a cable connects.
#include "platform/backends/memory/midi.h"

#include "platform/api/clock.h"
#include "platform/machine/midi.h"
#include "platform/machine/power.h"

#include <algorithm>

namespace device {
namespace {

// The first device of that name that is gone, or not gone. Null if there is none.
std::shared_ptr<MidiDevice> FindByName(MidiDirection direction, const std::string& name,
                                       bool gone) {
    for (const auto& device : KnownMidiDevices(direction))
        if (device->Name == name && device->IsGone() == gone) return device;
    return nullptr;
}

template <class Device, class... More>
int Plug(const std::string& name, More... more) {
    constexpr MidiDirection direction = Device::ClassDirection;
    std::shared_ptr<MidiDevice> device = FindByName(direction, name, true);
    if (device) {
        device->Return();
    } else {
        const auto alike = std::ranges::count(KnownMidiDevices(direction), name,
                                              [](const auto& other) { return other->Name; });
        const std::string id = alike == 0 ? name : name + " #" + std::to_string(alike + 1);
        AddMidiDevice(device = std::make_shared<Device>(id, name, more...));
    }
    return static_cast<int>(NumberOf(direction, device.get()));
}

void Unplug(MidiDirection direction, const std::string& name) {
    if (const auto device = FindByName(direction, name, false)) device->Leave();
}

const machine::AtPowerOn atPowerOn(RemoveMidiDevices);

} // namespace

void VirtualInput::SetSource(std::shared_ptr<void> source) {
    const std::scoped_lock lock(Lock);
    Source.swap(source);
}

MidiResult VirtualOutput::Open(const std::shared_ptr<MidiReceiver>&) {
    if (IsGone()) return MidiResult::Gone;
    StartLane(Lane::Timers);
    return MidiResult::Done;
}

MidiResult VirtualOutput::Send(std::uint32_t message) {
    if (IsGone()) return MidiResult::Gone;
    const std::scoped_lock lock(Lock);
    bool carried = true;
    for (const auto& [target, cable] : Cables) carried = (!cable || cable(message)) && carried;
    return carried ? MidiResult::Done : MidiResult::Full;
}

void VirtualOutput::SetCable(const std::string& target, Cable cable) {
    const std::scoped_lock lock(Lock);
    Cables[target].swap(cable);
}

} // namespace device

namespace machine {

using namespace device;

int AddMidiInput(const std::string& name) { return Plug<VirtualInput>(name); }

int AddMidiOutput(const std::string& name, std::uint32_t support) {
    return Plug<VirtualOutput>(name, support);
}

void Connect(int output, int input, std::uint32_t latencyMilliseconds) {
    const auto source = FindVirtual<VirtualOutput>(output);
    const auto target = FindVirtual<VirtualInput>(input);
    if (!source || !target) return;
    source->SetCable(target->Id, [target, latency = std::uint64_t{latencyMilliseconds} * 1000](
                                     auto message) { return target->Deliver(message, latency); });
}

void UnplugMidiInput(const std::string& name) { device::Unplug(MidiDirection::Input, name); }
void UnplugMidiOutput(const std::string& name) { device::Unplug(MidiDirection::Output, name); }

void ReceiveMidi(int input, std::uint32_t packed) {
    if (const auto device = FindVirtual<VirtualInput>(input)) device->Deliver(packed, 0);
}

} // namespace machine
