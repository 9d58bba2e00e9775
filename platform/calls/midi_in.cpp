// The calls of MIDI input. However a back end delivers, and from whatever thread: an application is
// called back between its start and its stop only, and never again once a close has returned. Of
// its buffers, openings and closings it hears nothing, since the library asks for messages only.
#include "platform/calls/midi_ports.h"
#include "platform/calls/names.h"
#include "platform/machine/clock.h"
#include "platform/machine/midi.h"
#include "platform/machine/power.h"

#include <condition_variable>
#include <thread>

namespace machine {
namespace {

// What midiInOpen is given: it takes the handle as a plain pointer, as a function does whose own
// header knows none of the system's types.
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
    void Received(std::uint32_t message, std::uint64_t microseconds) override;

private:
    using Locked = std::unique_lock<std::mutex>;
    void Tell(Locked& lock, UINT message, DWORD_PTR first, DWORD_PTR second);
    void Silence(Locked& lock);

    const Callback Client;
    const DWORD_PTR Instance;
    std::condition_variable CallbackDone;
    std::vector<std::thread::id> Callers; // inside the callback, once for each time
    bool Started = false;
    DWORD StartTime = 0;
};

using Ports = Handles<InputPort>;

const AtPowerOn atPowerOn([] {
    for (const auto& port : The<Ports>().TakeAll()) port->Close();
});

void InputPort::Tell(Locked& lock, UINT message, DWORD_PTR first, DWORD_PTR second) {
    const std::thread::id self = std::this_thread::get_id();
    Callers.push_back(self);
    lock.unlock();
    Client(Handle, message, Instance, first, second);
    lock.lock();
    Callers.erase(std::ranges::find(Callers, self));
    CallbackDone.notify_all();
}

// Waits for callbacks that other threads are inside of.
void InputPort::Silence(Locked& lock) {
    Started = false;
    CallbackDone.wait(lock, [this, self = std::this_thread::get_id()] {
        return std::ranges::count(Callers, self) == std::ssize(Callers);
    });
}

void InputPort::Received(std::uint32_t message, std::uint64_t microseconds) {
    Locked lock(Lock);
    if (!Started) return;
    // What was on its way when the port was started came before it.
    const DWORD stamp = Milliseconds(microseconds) - StartTime;
    Tell(lock, MIM_DATA, message, static_cast<std::int32_t>(stamp) < 0 ? 0 : stamp);
}

bool InputPort::CallBack(UINT message, DWORD_PTR first, DWORD_PTR second) {
    Locked lock(Lock);
    if (Closed) return false;
    Tell(lock, message, first, second);
    return true;
}

MMRESULT InputPort::Start() {
    const Locked lock(Lock);
    if (Closed) return MMSYSERR_INVALHANDLE;
    if (Device->Gone()) return MMSYSERR_NODRIVER;
    if (!Started) StartTime = Milliseconds(Microseconds());
    Started = true;
    return MMSYSERR_NOERROR;
}

// A device that has gone delivers nothing any more, so that there is nothing in which stopping it
// could fail: whoever holds its handle gets rid of it.
MMRESULT InputPort::Stop() {
    Locked lock(Lock);
    if (Closed) return MMSYSERR_INVALHANDLE;
    Silence(lock);
    return MMSYSERR_NOERROR;
}

MMRESULT InputPort::Close() {
    Locked lock(Lock);
    // Closed at once, so that no other thread begins a callback or closes it as well meanwhile.
    if (std::exchange(Closed, true)) return MMSYSERR_INVALHANDLE;
    Silence(lock);
    lock.unlock();
    Device->Close();
    The<Ports>().Take(Handle);
    return MMSYSERR_NOERROR;
}

} // namespace

bool CallBackMidi(int input, unsigned message, std::uintptr_t first, std::uintptr_t second) {
    const auto port = PortOn(The<Ports>(), MidiWay::In, input);
    return port && port->CallBack(message, first, second);
}

int OpenMidiInputs() { return The<Ports>().Count(); }

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT midiInGetNumDevs() { return NumberOf(MidiWay::In, nullptr); }

MMRESULT midiInGetDevCapsA(UINT_PTR number, MIDIINCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::midiInGetDevCapsA}) return failure;
    const auto device = MidiDeviceAt(MidiWay::In, number);
    if (!device) return MMSYSERR_BADDEVICEID;
    CopyName(caps->szPname, device->Name);
    caps->dwSupport = 0;
    return MMSYSERR_NOERROR;
}

MMRESULT midiInOpen(HMIDIIN* handle, UINT number, DWORD_PTR callback, DWORD_PTR instance,
                    DWORD /*flags*/) {
    if (const Failure failure{Call::midiInOpen}) return failure;
    auto device = MidiDeviceAt(MidiWay::In, number);
    if (!device) return MMSYSERR_BADDEVICEID;
    const auto port = std::make_shared<InputPort>(std::move(device),
                                                  reinterpret_cast<Callback>(callback), instance);
    return OpenPort(The<Ports>(), port, port, handle);
}

MMRESULT midiInStart(HMIDIIN handle) {
    return On(Call::midiInStart, The<Ports>(), handle, &InputPort::Start);
}

MMRESULT midiInStop(HMIDIIN handle) {
    return On(Call::midiInStop, The<Ports>(), handle, &InputPort::Stop);
}

// There are no buffers for long messages to give back, so a reset is a stop.
MMRESULT midiInReset(HMIDIIN handle) {
    return On(Call::midiInReset, The<Ports>(), handle, &InputPort::Stop);
}

MMRESULT midiInClose(HMIDIIN handle) {
    return On(Call::midiInClose, The<Ports>(), handle, &InputPort::Close);
}

} // namespace zorsystem
