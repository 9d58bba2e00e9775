// What the calls of MIDI input and output share.
#pragma once

#include "platform/device/midi.h"
#include "platform/machine/fault_point.h"
#include "platform/system/midi.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace machine {

constexpr MMRESULT ErrorOf(MidiResult result) {
    constexpr MMRESULT errors[] = {MMSYSERR_NOERROR, MMSYSERR_ALLOCATED, MMSYSERR_NODRIVER,
                                   MIDIERR_NOTREADY, MMSYSERR_NOMEM};
    return errors[static_cast<int>(result)];
}

// As much of a device's capabilities as the caller has room for.
template <class Capabilities>
MMRESULT Give(const Capabilities& told, Capabilities* to, UINT size) {
    std::memcpy(to, &told, std::min<std::size_t>(size, sizeof told));
    return MMSYSERR_NOERROR;
}

// An open device.
struct MidiPort {
    explicit MidiPort(std::shared_ptr<MidiDevice> device) : Device(std::move(device)) {}
    const std::shared_ptr<MidiDevice> Device;
    std::uintptr_t Handle = 0; // given before anybody else sees the port
    std::mutex Lock;           // of all below, and of what the derived one keeps
    bool Closed = false;
};

// The ports of one way, by handle. Thread: any. Locked for moments only.
template <class Port>
class MidiPorts {
public:
    // Handles are odd one way and even the other, so that none passes for the other's. One that was
    // handed back never comes again.
    explicit MidiPorts(std::uintptr_t before) : Last(before) {}

    // Opens the port. Its device is taken first, so that whoever comes second finds it in use.
    MMRESULT Open(const std::shared_ptr<Port>& port,
                  const std::shared_ptr<MidiReceiver>& receiver) {
        if (!Take(port)) return MMSYSERR_ALLOCATED;
        const MidiResult result = port->Device->Open(receiver);
        if (result != MidiResult::Done) Remove(*port);
        return ErrorOf(result);
    }
    void Remove(const Port& port) {
        const std::scoped_lock lock(Lock);
        std::erase_if(Ports, [&port](const auto& each) { return each.get() == &port; });
    }
    // The port of a handle, null for none.
    std::shared_ptr<Port> Of(const void* handle) {
        const std::scoped_lock lock(Lock);
        for (const auto& port : Ports)
            if (port->Handle == reinterpret_cast<std::uintptr_t>(handle)) return port;
        return nullptr;
    }
    // The port that holds the device of that number, null for none.
    std::shared_ptr<Port> On(MidiWay way, int number) {
        const auto device = MidiDeviceAt(way, static_cast<std::uint64_t>(number));
        const std::scoped_lock lock(Lock);
        for (const auto& port : Ports)
            if (port->Device == device) return port;
        return nullptr;
    }
    std::vector<std::shared_ptr<Port>> All() {
        const std::scoped_lock lock(Lock);
        return Ports;
    }

private:
    bool Take(const std::shared_ptr<Port>& port) {
        const std::scoped_lock lock(Lock);
        for (const auto& other : Ports)
            if (other->Device == port->Device) return false;
        port->Handle = Last += 2;
        Ports.push_back(port);
        return true;
    }

    std::mutex Lock;
    std::uintptr_t Last;
    std::vector<std::shared_ptr<Port>> Ports;
};

} // namespace machine
