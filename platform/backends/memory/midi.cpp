// MIDI ports in memory: messages that leave an output arrive, after their latency, at the inputs
// that its cables lead to.
#include "platform/backends/memory/midi.h"

#include "platform/api/clock.h"
#include "platform/machine/midi.h"
#include "platform/machine/power.h"

#include <algorithm>

namespace machine {
namespace {

// The first device of that name that is there or, if gone, has left; null for none.
std::shared_ptr<MidiDevice> Named(MidiWay way, const std::string& name, bool gone) {
    for (const auto& device : KnownMidiDevices(way))
        if (device->Name == name && device->Gone() == gone) return device;
    return nullptr;
}

template <class Device, class... More>
int Plug(const std::string& name, More... more) {
    constexpr MidiWay way = Device::Direction;
    std::shared_ptr<MidiDevice> device = Named(way, name, true);
    if (device) {
        device->Return();
    } else {
        const auto alike = std::ranges::count(KnownMidiDevices(way), name,
                                              [](const auto& other) { return other->Name; });
        const std::string id = alike == 0 ? name : name + " #" + std::to_string(alike + 1);
        AddMidiDevice(device = std::make_shared<Device>(id, name, more...));
    }
    return static_cast<int>(NumberOf(way, device.get()));
}

void Unplug(MidiWay way, const std::string& name) {
    if (const auto device = Named(way, name, false)) device->Leave();
}

const AtPowerOn atPowerOn(ForgetMidiDevices);

} // namespace

void VirtualInput::SetSource(std::shared_ptr<void> source) {
    const std::scoped_lock lock(Lock);
    Source.swap(source);
}

MidiResult VirtualOutput::Open(const std::shared_ptr<MidiReceiver>&) {
    if (Gone()) return MidiResult::Gone;
    StartLane(Lane::Timers);
    return MidiResult::Done;
}

MidiResult VirtualOutput::Send(std::uint32_t message) {
    if (Gone()) return MidiResult::Gone;
    const std::scoped_lock lock(Lock);
    bool carried = true;
    for (const auto& [where, cable] : Cables) carried = (!cable || cable(message)) && carried;
    return carried ? MidiResult::Done : MidiResult::Full;
}

void VirtualOutput::Lead(const std::string& where, Cable cable) {
    const std::scoped_lock lock(Lock);
    Cables[where].swap(cable);
}

int AddMidiInput(const std::string& name) { return Plug<VirtualInput>(name); }

int AddMidiOutput(const std::string& name, std::uint32_t support) {
    return Plug<VirtualOutput>(name, support);
}

void Connect(int output, int input, std::uint32_t latencyMilliseconds) {
    const auto from = FindVirtual<VirtualOutput>(output);
    const auto to = FindVirtual<VirtualInput>(input);
    if (!from || !to) return;
    from->Lead(to->Id, [to, latency = std::uint64_t{latencyMilliseconds} * 1000](auto message) {
        return to->Bring(message, latency);
    });
}

void UnplugMidiInput(const std::string& name) { Unplug(MidiWay::In, name); }
void UnplugMidiOutput(const std::string& name) { Unplug(MidiWay::Out, name); }

void ReceiveMidi(int input, std::uint32_t packed) {
    if (const auto device = FindVirtual<VirtualInput>(input)) device->Bring(packed, 0);
}

} // namespace machine
