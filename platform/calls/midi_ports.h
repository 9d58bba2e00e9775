// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What the calls of MIDI input and output share.
#pragma once

#include "platform/api/midi.h"
#include "platform/calls/handles.h"
#include "platform/machine/faults.h"
#include "platform/system/midi.h"

#include <mutex>

namespace calls {

using namespace device;

constexpr MMRESULT ErrorOf(MidiResult result) {
    constexpr MMRESULT errors[] = {MMSYSERR_NOERROR, MMSYSERR_ALLOCATED, MMSYSERR_NODRIVER,
                                   MIDIERR_NOTREADY, MMSYSERR_NOMEM,     MIDIERR_NOSOUND};
    return errors[static_cast<int>(result)];
}

// An open device.
struct MidiPort {
    explicit MidiPort(std::shared_ptr<MidiDevice> device) : Device(std::move(device)) {}
    const std::shared_ptr<MidiDevice> Device;
    void* const Handle = common::NewHandle();
    std::mutex Lock; // of all below and of the members of derived classes
    bool Closed = false;
};

// Opens the port. It is listed before its device is opened, so that a second port of the device is
// refused.
template <class Port, class Handle>
MMRESULT OpenPort(Handles<Port>& ports, const std::shared_ptr<Port>& port,
                  const std::shared_ptr<MidiReceiver>& receiver, Handle* handle) {
    const auto usesDevice = [&port](const auto& other) { return other->Device == port->Device; };
    if (!ports.AddUnless(usesDevice, port->Handle, port)) return MMSYSERR_ALLOCATED;
    const MidiResult result = port->Device->Open(receiver);
    if (result == MidiResult::Done)
        *handle = reinterpret_cast<Handle>(port->Handle);
    else
        ports.Remove(port->Handle);
    return ErrorOf(result);
}

// The port on the device of that number. Null if the device is not open.
template <class Port>
std::shared_ptr<Port> PortOn(Handles<Port>& ports, MidiDirection direction, int number) {
    const auto device = MidiDeviceAt(direction, static_cast<std::uint64_t>(number));
    return ports.FindIf([&device](const auto& port) { return port->Device == device; });
}

} // namespace calls
