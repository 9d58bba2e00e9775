// The calls of MIDI output.
#include "platform/system/midi.h"

#include "platform/device/clock.h"
#include "platform/machine/fault_point.h"
#include "platform/virtual/midi.h"
#include "platform/virtual/midi_devices.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace machine {
namespace {

// Under the table's lock.
bool recording = false;
std::vector<SentMidi> sent;

using Lock = std::unique_lock<std::mutex>;

// Null for a handle that is not open.
MidiOutputDevice* DeviceOf(MidiMachine& midi, HMIDIOUT handle) {
    return midi.Outputs.Opened(reinterpret_cast<std::uintptr_t>(handle));
}

int NumberOf(const MidiMachine& midi, const MidiOutputDevice& device) {
    const auto& listed = midi.Outputs.Listed;
    const auto found = std::find_if(listed.begin(), listed.end(),
                                    [&](const auto& entry) { return entry.get() == &device; });
    return static_cast<int>(found - listed.begin());
}

// The device of a handle, after its driver has run. Null if the handle is not open.
MidiOutputDevice* Enter(MidiMachine& midi, Lock& lock, HMIDIOUT handle, Call call) {
    MidiOutputDevice* const device = DeviceOf(midi, handle);
    if (!device || !midi.Driver) return device;
    const std::shared_ptr<const MidiOutDriver> driver = midi.Driver;
    const int number = NumberOf(midi, *device);
    lock.unlock();
    (*driver)(call, number);
    lock.lock();
    return DeviceOf(midi, handle);
}

void Record(const MidiMachine& midi, const MidiOutputDevice& device, std::uint32_t message,
            bool reset) {
    if (recording) sent.push_back({Microseconds(), NumberOf(midi, device), message, reset});
}

std::uint32_t ClampData(std::uint32_t message) {
    const std::uint32_t first = std::min(message >> 8 & 0xFF, 0x7Fu);
    const std::uint32_t second = std::min(message >> 16 & 0xFF, 0x7Fu);
    return (message & 0xFF) | first << 8 | second << 16;
}

// What goes over the wire: just the bytes that the status calls for.
std::uint32_t OnTheWire(std::uint32_t message) {
    return message & ((1u << 8 * (1 + MidiDataBytes(message & 0xFF))) - 1);
}

void KeepSounding(MidiOutputDevice& device, std::uint32_t message) {
    const std::uint32_t type = message & 0xF0, note = message >> 8 & 0x7F;
    const std::size_t place = (message & 0x0F) * 128 + note;
    if (type == 0x90) device.Sounding.set(place, message >> 16 != 0);
    if (type == 0x80) device.Sounding.reset(place);
}

// Carries one message out of the device on all its cables. False if one has no room.
bool Carry(MidiOutputDevice& device, std::uint32_t message) {
    const std::uint32_t status = message & 0xFF;
    // Without a status, or with that of a long message, nothing whole would arrive.
    if (status < 0x80 || status == 0xF0 || status == 0xF7) return true;
    const std::uint32_t wire = OnTheWire(message);
    KeepSounding(device, wire);
    bool carried = true;
    for (const MidiCable& cable : device.Cables)
        if (cable.To->Plugged && !SendToInput(*cable.To, wire, cable.Latency)) carried = false;
    if (device.Sink) device.Sink->Send(wire);
    return carried;
}

// Releases, at the far end of the cables, every note that still sounds.
void Silence(MidiOutputDevice& device) {
    for (std::uint32_t place = 0; device.Sounding.any() && place < device.Sounding.size(); ++place)
        if (device.Sounding[place]) Carry(device, 0x80u | place / 128 | (place % 128) << 8);
}

MMRESULT Cache(MidiOutputDevice& device, WORD* patches, UINT flag) {
    for (std::size_t patch = 0; patch < device.Patches.size(); ++patch) {
        WORD& cached = device.Patches[patch];
        switch (flag) {
        case MIDI_CACHE_ALL:
        case MIDI_CACHE_BESTFIT:
            cached = static_cast<WORD>(cached | patches[patch]);
            break;
        case MIDI_CACHE_QUERY:
            patches[patch] = cached;
            break;
        case MIDI_UNCACHE:
            cached = static_cast<WORD>(cached & ~patches[patch]);
            break;
        default:
            return MMSYSERR_INVALFLAG;
        }
    }
    return MMSYSERR_NOERROR;
}

MIDIOUTCAPSA Capabilities(const std::string& name, WORD technology, DWORD support) {
    MIDIOUTCAPSA caps{};
    caps.vDriverVersion = 0x0100;
    std::memcpy(caps.szPname, name.data(), name.size());
    caps.wTechnology = technology;
    caps.wChannelMask = 0xFFFF;
    caps.dwSupport = support;
    return caps;
}

} // namespace

void InsideMidiOut(std::function<void(Call call, int device)> driver) {
    auto kept = driver ? std::make_shared<const MidiOutDriver>(std::move(driver)) : nullptr;
    std::lock_guard lock(TheMidi().Lock);
    TheMidi().Driver.swap(kept);
}

void RecordSentMidi(bool on) {
    std::lock_guard lock(TheMidi().Lock);
    recording = on;
}

std::vector<SentMidi> TakeSentMidi() {
    std::lock_guard lock(TheMidi().Lock);
    return std::exchange(sent, {});
}

std::vector<std::uint16_t> CachedPatches(int output) {
    std::lock_guard lock(TheMidi().Lock);
    const MidiOutputDevice* const device = TheMidi().Outputs.At(static_cast<std::uint64_t>(output));
    if (!device) return {};
    return {device->Patches.begin(), device->Patches.end()};
}

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT midiOutGetNumDevs() {
    std::lock_guard lock(TheMidi().Lock);
    return static_cast<UINT>(TheMidi().Outputs.Listed.size());
}

MMRESULT midiOutGetDevCapsA(UINT_PTR number, MIDIOUTCAPSA* caps, UINT size) {
    if (const auto failure = OrderedFailure(Call::midiOutGetDevCapsA))
        return static_cast<MMRESULT>(*failure);
    std::lock_guard lock(TheMidi().Lock);
    const bool mapper = static_cast<UINT>(number) == MIDI_MAPPER;
    const MidiOutputDevice* const device = TheMidi().Outputs.At(mapper ? 0 : number);
    if (!device) return MMSYSERR_BADDEVICEID;
    return GiveRecord(mapper ? Capabilities("MIDI Mapper", MOD_MAPPER, device->Support)
                             : Capabilities(device->Name, MOD_MIDIPORT, device->Support),
                      caps, size);
}

MMRESULT midiOutOpen(HMIDIOUT* handle, UINT number, DWORD_PTR /*callback*/, DWORD_PTR /*instance*/,
                     DWORD flags) {
    if (const auto failure = OrderedFailure(Call::midiOutOpen))
        return static_cast<MMRESULT>(*failure);
    if (!handle) return MMSYSERR_INVALPARAM;
    if (flags != CALLBACK_NULL) return MMSYSERR_INVALFLAG;
    StartLane(Lane::Timers);
    MidiMachine& midi = TheMidi();
    std::lock_guard lock(midi.Lock);
    const bool mapper = number == MIDI_MAPPER;
    MidiOutputDevice* const device = midi.Outputs.At(mapper ? 0 : number);
    if (!device) return mapper ? MIDIERR_NODEVICE : MMSYSERR_BADDEVICEID;
    if (device->Handle != 0) return MMSYSERR_ALLOCATED;
    midi.Outputs.LastHandle += 2;
    device->Handle = midi.Outputs.LastHandle;
    *handle = reinterpret_cast<HMIDIOUT>(device->Handle);
    return MMSYSERR_NOERROR;
}

MMRESULT midiOutReset(HMIDIOUT handle) {
    if (const auto failure = OrderedFailure(Call::midiOutReset))
        return static_cast<MMRESULT>(*failure);
    MidiMachine& midi = TheMidi();
    Lock lock(midi.Lock);
    MidiOutputDevice* const device = Enter(midi, lock, handle, Call::midiOutReset);
    if (!device) return MMSYSERR_INVALHANDLE;
    if (!device->Plugged) return MMSYSERR_NOERROR; // nothing sounds on it any more
    Record(midi, *device, 0, true);
    Silence(*device);
    return MMSYSERR_NOERROR;
}

MMRESULT midiOutClose(HMIDIOUT handle) {
    if (const auto failure = OrderedFailure(Call::midiOutClose))
        return static_cast<MMRESULT>(*failure);
    MidiMachine& midi = TheMidi();
    Lock lock(midi.Lock);
    MidiOutputDevice* const device = Enter(midi, lock, handle, Call::midiOutClose);
    if (!device) return MMSYSERR_INVALHANDLE;
    device->Handle = 0;
    return MMSYSERR_NOERROR;
}

MMRESULT midiOutShortMsg(HMIDIOUT handle, DWORD message) {
    if (const auto failure = OrderedFailure(Call::midiOutShortMsg))
        return static_cast<MMRESULT>(*failure);
    MidiMachine& midi = TheMidi();
    Lock lock(midi.Lock);
    MidiOutputDevice* const device = Enter(midi, lock, handle, Call::midiOutShortMsg);
    if (!device) return MMSYSERR_INVALHANDLE;
    if (!device->Plugged) return MMSYSERR_NODRIVER;
    const std::uint32_t clamped = ClampData(message);
    Record(midi, *device, clamped, false);
    return Carry(*device, clamped) ? MMSYSERR_NOERROR : MIDIERR_NOTREADY;
}

MMRESULT midiOutCachePatches(HMIDIOUT handle, UINT /*bank*/, WORD* patches, UINT flag) {
    if (const auto failure = OrderedFailure(Call::midiOutCachePatches))
        return static_cast<MMRESULT>(*failure);
    MidiMachine& midi = TheMidi();
    std::lock_guard lock(midi.Lock);
    MidiOutputDevice* const device = DeviceOf(midi, handle);
    if (!device) return MMSYSERR_INVALHANDLE;
    if (!device->Plugged) return MMSYSERR_NODRIVER;
    if (!patches) return MMSYSERR_INVALPARAM;
    if (!(device->Support & MIDICAPS_CACHE)) return MMSYSERR_NOTSUPPORTED;
    return Cache(*device, patches, flag);
}

} // namespace zorsystem
