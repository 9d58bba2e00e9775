// The calls of MIDI input, and the arrival of messages.
#include "platform/system/midi.h"

#include "platform/device/clock.h"
#include "platform/machine/fault_point.h"
#include "platform/system/mmtime.h"
#include "platform/virtual/midi.h"
#include "platform/virtual/midi_devices.h"

#include <algorithm>
#include <cstring>

namespace machine {
namespace {

using Lock = std::unique_lock<std::mutex>;

// The devices whose callback this thread is inside of; a callback may close its own device.
struct Calling {
    const MidiInputDevice* Device;
    const Calling* Outer;
};
thread_local const Calling* calling = nullptr;

int DepthInside(const MidiInputDevice& device) {
    int depth = 0;
    for (const Calling* call = calling; call; call = call->Outer)
        if (call->Device == &device) ++depth;
    return depth;
}

// Waits for callbacks of the device that other threads are inside of.
void FinishCallbacks(MidiMachine& midi, Lock& lock, const MidiInputDevice& device) {
    const int own = DepthInside(device);
    midi.CallbackDone.wait(lock, [&] { return device.CallbacksUnderWay <= own; });
}

// Whom a device calls, as midiInOpen was told.
struct Listener {
    MidiInCallback Callback;
    std::uintptr_t Handle;
    DWORD_PTR Instance;
};
Listener ListenerOf(const MidiInputDevice& device) {
    return {device.Callback, device.Handle, device.Instance};
}

void CallBack(MidiMachine& midi, Lock& lock, MidiInputDevice& device, const Listener& listener,
              UINT message, DWORD_PTR first, DWORD_PTR second) {
    if (!listener.Callback) return;
    ++device.CallbacksUnderWay;
    lock.unlock();
    const Calling call{&device, calling};
    calling = &call;
    listener.Callback(reinterpret_cast<void*>(listener.Handle), message, listener.Instance, first,
                      second);
    calling = call.Outer;
    lock.lock();
    --device.CallbacksUnderWay;
    midi.CallbackDone.notify_all();
}

// A message has come to the device's socket.
void Arrive(void* context, std::uintptr_t packed) {
    MidiMachine& midi = TheMidi();
    MidiInputDevice& device = *static_cast<MidiInputDevice*>(context);
    Lock lock(midi.Lock);
    if (!device.Started) return;
    // By the moment of its arrival, not by that of the callback, which is a little later.
    const DWORD stamp = static_cast<DWORD>(ActionDue() / 1000) - device.StartTime;
    // What was on its way when the device was started came before it.
    CallBack(midi, lock, device, ListenerOf(device), MIM_DATA, packed,
             static_cast<std::int32_t>(stamp) < 0 ? 0 : stamp);
}

// Null for a handle that is not open.
MidiInputDevice* DeviceOf(MidiMachine& midi, HMIDIIN handle) {
    return midi.Inputs.Opened(reinterpret_cast<std::uintptr_t>(handle));
}

// A device that has been unplugged delivers nothing any more, so that there is nothing in which
// stopping it could fail: whoever holds its handle gets rid of it.
MMRESULT StopDelivery(HMIDIIN handle) {
    MidiMachine& midi = TheMidi();
    Lock lock(midi.Lock);
    MidiInputDevice* const device = DeviceOf(midi, handle);
    if (!device) return MMSYSERR_INVALHANDLE;
    device->Started = false;
    FinishCallbacks(midi, lock, *device);
    return MMSYSERR_NOERROR;
}

} // namespace

bool SendToInput(MidiInputDevice& device, std::uint32_t packed, std::uint64_t latencyMicroseconds) {
    return Schedule(Lane::Timers, Microseconds() + latencyMicroseconds, Arrive, &device, packed) !=
           0;
}

void ReceiveMidi(int input, std::uint32_t packed) {
    std::lock_guard lock(TheMidi().Lock);
    if (MidiInputDevice* const device = TheMidi().Inputs.At(static_cast<std::uint64_t>(input)))
        SendToInput(*device, packed, 0);
}

bool CallBackMidi(int input, unsigned message, std::uintptr_t first, std::uintptr_t second) {
    MidiMachine& midi = TheMidi();
    Lock lock(midi.Lock);
    MidiInputDevice* const device = midi.Inputs.At(static_cast<std::uint64_t>(input));
    if (!device || device->Handle == 0) return false;
    CallBack(midi, lock, *device, ListenerOf(*device), message, first, second);
    return true;
}

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT midiInGetNumDevs() {
    std::lock_guard lock(TheMidi().Lock);
    return static_cast<UINT>(TheMidi().Inputs.Listed.size());
}

MMRESULT midiInGetDevCapsA(UINT_PTR device, MIDIINCAPSA* caps, UINT size) {
    if (const auto failure = OrderedFailure(Call::midiInGetDevCapsA))
        return static_cast<MMRESULT>(*failure);
    std::lock_guard lock(TheMidi().Lock);
    const MidiInputDevice* const found = TheMidi().Inputs.At(device);
    if (!found) return MMSYSERR_BADDEVICEID;
    MIDIINCAPSA full{};
    full.vDriverVersion = 0x0100;
    std::memcpy(full.szPname, found->Name.data(), found->Name.size());
    return GiveRecord(full, caps, size);
}

MMRESULT midiInOpen(HMIDIIN* handle, UINT number, DWORD_PTR callback, DWORD_PTR instance,
                    DWORD flags) {
    if (const auto failure = OrderedFailure(Call::midiInOpen))
        return static_cast<MMRESULT>(*failure);
    if (!handle) return MMSYSERR_INVALPARAM;
    const bool calls = (flags & ~MIDI_IO_STATUS) == CALLBACK_FUNCTION;
    if (!calls && flags != CALLBACK_NULL) return MMSYSERR_INVALFLAG;
    if (calls && callback == 0) return MMSYSERR_INVALPARAM;
    StartLane(Lane::Timers);
    MidiMachine& midi = TheMidi();
    Lock lock(midi.Lock);
    MidiInputDevice* const device = midi.Inputs.At(number);
    if (!device) return MMSYSERR_BADDEVICEID;
    if (device->Handle != 0) return MMSYSERR_ALLOCATED;
    midi.Inputs.LastHandle += 2;
    device->Handle = midi.Inputs.LastHandle + 1; // odd, and even for outputs
    device->Callback = calls ? reinterpret_cast<MidiInCallback>(callback) : nullptr;
    device->Instance = instance;
    device->Started = false;
    *handle = reinterpret_cast<HMIDIIN>(device->Handle);
    CallBack(midi, lock, *device, ListenerOf(*device), MIM_OPEN, 0, 0);
    return MMSYSERR_NOERROR;
}

MMRESULT midiInStart(HMIDIIN handle) {
    if (const auto failure = OrderedFailure(Call::midiInStart))
        return static_cast<MMRESULT>(*failure);
    MidiMachine& midi = TheMidi();
    std::lock_guard lock(midi.Lock);
    MidiInputDevice* const device = DeviceOf(midi, handle);
    if (!device) return MMSYSERR_INVALHANDLE;
    if (!device->Plugged) return MMSYSERR_NODRIVER;
    if (!device->Started) device->StartTime = timeGetTime();
    device->Started = true;
    return MMSYSERR_NOERROR;
}

MMRESULT midiInStop(HMIDIIN handle) {
    if (const auto failure = OrderedFailure(Call::midiInStop))
        return static_cast<MMRESULT>(*failure);
    return StopDelivery(handle);
}

// There are no buffers for long messages to give back, so a reset is a stop.
MMRESULT midiInReset(HMIDIIN handle) {
    if (const auto failure = OrderedFailure(Call::midiInReset))
        return static_cast<MMRESULT>(*failure);
    return StopDelivery(handle);
}

MMRESULT midiInClose(HMIDIIN handle) {
    if (const auto failure = OrderedFailure(Call::midiInClose))
        return static_cast<MMRESULT>(*failure);
    MidiMachine& midi = TheMidi();
    Lock lock(midi.Lock);
    MidiInputDevice* const device = DeviceOf(midi, handle);
    if (!device) return MMSYSERR_INVALHANDLE;
    // Closed at once, so that no other thread begins a callback or closes it as well meanwhile.
    const Listener listener = ListenerOf(*device);
    device->Started = false;
    device->Handle = 0;
    device->Callback = nullptr;
    FinishCallbacks(midi, lock, *device);
    CallBack(midi, lock, *device, listener, MIM_CLOSE, 0, 0);
    return MMSYSERR_NOERROR;
}

} // namespace zorsystem
