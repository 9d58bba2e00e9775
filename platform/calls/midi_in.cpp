// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The midiIn calls. On whatever thread a back end delivers, an application is called back between
// start and stop only, and never again once close has returned. It is called for short messages
// only, not for opening, closing or buffers, since the library uses no others.
#include "platform/calls/midi_ports.h"
#include "platform/calls/text_buffer.h"
#include "platform/machine/clock.h"
#include "platform/machine/midi.h"
#include "platform/machine/power.h"

#include <condition_variable>
#include <thread>

namespace calls {
namespace {

// The callback that midiInOpen is given. The handle is a plain pointer, so that a function whose
// header includes no system types matches.
using Callback = void(CALLBACK*)(void*, UINT, DWORD_PTR, DWORD_PTR, DWORD_PTR);

DWORD Milliseconds(std::uint64_t microseconds) { return static_cast<DWORD>(microseconds / 1000); }

class InputPort final : public MidiPort, public MidiReceiver {
public:
    InputPort(std::shared_ptr<MidiDevice> device, Callback client, DWORD_PTR instance)
        : MidiPort(std::move(device)), Client(client), Instance(instance) {
        Callers.reserve(16); // so that no callback allocates
    }

    MMRESULT Start();
    MMRESULT Stop();
    MMRESULT Close();
    bool CallBack(UINT message, DWORD_PTR first, DWORD_PTR second);
    void Receive(std::uint32_t message, std::uint64_t microseconds) override;

private:
    using Locked = std::unique_lock<std::mutex>;
    void CallClient(Locked& lock, UINT message, DWORD_PTR first, DWORD_PTR second);
    void StopCallbacks(Locked& lock);

    const Callback Client;
    const DWORD_PTR Instance;
    std::condition_variable CallbackDone;
    std::vector<std::thread::id> Callers; // threads inside the callback, once for each call
    bool Started = false;
    DWORD StartTime = 0;
};

Handles<InputPort>& OpenPorts() { return ImmortalSingleton<Handles<InputPort>>(); }

const machine::AtPowerOn atPowerOn([] {
    for (const auto& port : OpenPorts().RemoveAll()) port->Close();
});

void InputPort::CallClient(Locked& lock, UINT message, DWORD_PTR first, DWORD_PTR second) {
    const std::thread::id self = std::this_thread::get_id();
    Callers.push_back(self);
    lock.unlock();
    Client(Handle, message, Instance, first, second);
    lock.lock();
    Callers.erase(std::ranges::find(Callers, self));
    CallbackDone.notify_all();
}

// Waits until no other thread is inside the callback.
void InputPort::StopCallbacks(Locked& lock) {
    Started = false;
    CallbackDone.wait(lock, [this, self = std::this_thread::get_id()] {
        return std::ranges::count(Callers, self) == std::ssize(Callers);
    });
}

void InputPort::Receive(std::uint32_t message, std::uint64_t microseconds) {
    Locked lock(Lock);
    if (!Started) return;
    // A message that came in before the start is stamped 0.
    const DWORD stamp = Milliseconds(microseconds) - StartTime;
    CallClient(lock, MIM_DATA, message, static_cast<std::int32_t>(stamp) < 0 ? 0 : stamp);
}

bool InputPort::CallBack(UINT message, DWORD_PTR first, DWORD_PTR second) {
    Locked lock(Lock);
    if (Closed) return false;
    CallClient(lock, message, first, second);
    return true;
}

MMRESULT InputPort::Start() {
    const Locked lock(Lock);
    if (Closed) return MMSYSERR_INVALHANDLE;
    if (Device->IsGone()) return MMSYSERR_NODRIVER;
    if (!Started) StartTime = Milliseconds(machine::Microseconds());
    Started = true;
    return MMSYSERR_NOERROR;
}

// Succeeds on a device that is gone too, so that an application can always get rid of its handle.
MMRESULT InputPort::Stop() {
    Locked lock(Lock);
    if (Closed) return MMSYSERR_INVALHANDLE;
    StopCallbacks(lock);
    return MMSYSERR_NOERROR;
}

MMRESULT InputPort::Close() {
    Locked lock(Lock);
    // Set first, so that no other thread begins a callback or closes the port too.
    if (std::exchange(Closed, true)) return MMSYSERR_INVALHANDLE;
    StopCallbacks(lock);
    lock.unlock();
    Device->Close();
    OpenPorts().Remove(Handle);
    return MMSYSERR_NOERROR;
}

} // namespace
} // namespace calls

namespace machine {

using namespace calls;

bool CallBackMidi(int input, unsigned message, std::uintptr_t first, std::uintptr_t second) {
    const auto port = PortOn(OpenPorts(), MidiDirection::Input, input);
    return port && port->CallBack(message, first, second);
}

int OpenMidiInputs() { return OpenPorts().Count(); }

} // namespace machine

namespace zorsystem {

using namespace calls;
using namespace machine;

UINT midiInGetNumDevs() { return NumberOf(MidiDirection::Input, nullptr); }

MMRESULT midiInGetDevCapsA(UINT_PTR number, MIDIINCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::midiInGetDevCapsA}) return failure;
    const auto device = MidiDeviceAt(MidiDirection::Input, number);
    if (!device) return MMSYSERR_BADDEVICEID;
    CopyName(caps->szPname, device->Name);
    caps->dwSupport = 0;
    return MMSYSERR_NOERROR;
}

MMRESULT midiInOpen(HMIDIIN* handle, UINT number, DWORD_PTR callback, DWORD_PTR instance,
                    DWORD /*flags*/) {
    if (const Failure failure{Call::midiInOpen}) return failure;
    auto device = MidiDeviceAt(MidiDirection::Input, number);
    if (!device) return MMSYSERR_BADDEVICEID;
    const auto port = std::make_shared<InputPort>(std::move(device),
                                                  reinterpret_cast<Callback>(callback), instance);
    return OpenPort(OpenPorts(), port, port, handle);
}

MMRESULT midiInStart(HMIDIIN handle) {
    return CallOnHandle(Call::midiInStart, OpenPorts(), handle, &InputPort::Start);
}

MMRESULT midiInStop(HMIDIIN handle) {
    return CallOnHandle(Call::midiInStop, OpenPorts(), handle, &InputPort::Stop);
}

// A reset is a stop, since there are no buffers for long messages to return.
MMRESULT midiInReset(HMIDIIN handle) {
    return CallOnHandle(Call::midiInReset, OpenPorts(), handle, &InputPort::Stop);
}

MMRESULT midiInClose(HMIDIIN handle) {
    return CallOnHandle(Call::midiInClose, OpenPorts(), handle, &InputPort::Close);
}

} // namespace zorsystem
