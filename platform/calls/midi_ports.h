// What the calls of MIDI input and output share.
#pragma once

#include "platform/calls/handles.h"
#include "platform/api/midi.h"
#include "platform/machine/faults.h"
#include "platform/system/midi.h"

#include <mutex>

namespace machine {

constexpr MMRESULT ErrorOf(MidiResult result) {
    constexpr MMRESULT errors[] = {MMSYSERR_NOERROR, MMSYSERR_ALLOCATED, MMSYSERR_NODRIVER,
                                   MIDIERR_NOTREADY, MMSYSERR_NOMEM};
    return errors[static_cast<int>(result)];
}

// An open device.
struct MidiPort {
    explicit MidiPort(std::shared_ptr<MidiDevice> device) : Device(std::move(device)) {}
    const std::shared_ptr<MidiDevice> Device;
    void* const Handle = NewHandle();
    std::mutex Lock; // of all below, and of what the derived one keeps
    bool Closed = false;
};

// Opens the port. Its device is taken first, so that whoever comes second finds it in use.
template <class Port, class Handle>
MMRESULT OpenPort(Handles<Port>& ports, const std::shared_ptr<Port>& port,
                  const std::shared_ptr<MidiReceiver>& receiver, Handle* handle) {
    const auto holdsIt = [&port](const auto& other) { return other->Device == port->Device; };
    if (!ports.AddUnless(holdsIt, port->Handle, port)) return MMSYSERR_ALLOCATED;
    const MidiResult result = port->Device->Open(receiver);
    if (result == MidiResult::Done)
        *handle = reinterpret_cast<Handle>(port->Handle);
    else
        ports.Take(port->Handle);
    return ErrorOf(result);
}

// The port that holds the device of that number, null for none.
template <class Port>
std::shared_ptr<Port> PortOn(Handles<Port>& ports, MidiWay way, int number) {
    const auto device = MidiDeviceAt(way, static_cast<std::uint64_t>(number));
    return ports.FindIf([&device](const auto& port) { return port->Device == device; });
}

} // namespace machine
