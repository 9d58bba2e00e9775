// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The midiOut calls: they send whole messages to the device and keep track of the notes that sound.
#include "midi/sounding_notes.h"
#include "midi/status.h"
#include "platform/calls/midi_ports.h"
#include "platform/calls/text_buffer.h"
#include "platform/machine/clock.h"
#include "platform/machine/midi.h"
#include "platform/machine/power.h"
#include "platform/machine/synthesizer.h"

#include <array>
#include <atomic>

namespace calls {
namespace {

// Each port has its own lock, so that no port waits for another one's device.
class OutputPort final : public MidiPort {
public:
    using MidiPort::MidiPort;
    MMRESULT Send(DWORD message);
    MMRESULT Reset();
    MMRESULT Close();
    MMRESULT Cache(WORD* patches, UINT flag);
    std::vector<WORD> Cached();

private:
    MMRESULT Check(); // locked, as the next two
    MMRESULT ReportDeparture();
    MidiResult SendToDevice(std::uint32_t message);

    MidiPresence LastPresence = Device->Presence();
    unsigned ReportedDeparture = 0; // its number, from 1 on; 0 for none
    midi::SoundingNotes Sounding;
    std::array<WORD, MIDIPATCHSIZE> Patches{};
};

Handles<OutputPort>& OpenPorts() { return ImmortalSingleton<Handles<OutputPort>>(); }

// What the steering functions of machine/midi.h set and read.
using Driver = std::function<void(Call call, int device)>;
struct Steering {
    std::atomic<bool> Recording{false}; // needs no order with other memory
    std::mutex Lock;                    // of the next two
    std::vector<machine::SentMidi> SentMessages;
    std::shared_ptr<const Driver> Program; // null for none
};
Steering& SteeringState() { return ImmortalSingleton<Steering>(); }

const machine::AtPowerOn atPowerOn([] {
    for (const auto& port : OpenPorts().RemoveAll()) port->Close();
    machine::InsideMidiOut(nullptr);
    machine::DrainSentMidi();
    machine::RecordSentMidi(true);
});

int Number(const MidiDevice& device) {
    return static_cast<int>(NumberOf(MidiDirection::Output, &device));
}

void Record(const MidiDevice& device, std::uint32_t message, bool reset) {
    if (!SteeringState().Recording) return;
    const int number = Number(device);
    const std::scoped_lock lock(SteeringState().Lock);
    SteeringState().SentMessages.push_back({machine::Microseconds(), number, message, reset});
}

void RunDriver(const MidiDevice& device, Call call) {
    std::unique_lock lock(SteeringState().Lock);
    const auto program = SteeringState().Program;
    lock.unlock();
    if (program) (*program)(call, Number(device));
}

std::uint32_t ClampData(std::uint32_t message) {
    const std::uint32_t first = std::min(message >> 8 & 0xFF, 0x7Fu);
    const std::uint32_t second = std::min(message >> 16 & 0xFF, 0x7Fu);
    return (message & 0xFF) | first << 8 | second << 16;
}

// The status and the data bytes that belong to it.
std::uint32_t WholeMessage(std::uint32_t message) {
    return message & ((1u << 8 * (1 + midi::DataBytes(message & 0xFF))) - 1);
}

MidiResult OutputPort::SendToDevice(std::uint32_t message) {
    const auto status = static_cast<std::uint8_t>(message);
    // Data without a status, and parts of long messages, are dropped.
    if (status < midi::NoteOff || status == midi::SystemExclusive || status == midi::EndOfExclusive)
        return MidiResult::Done;
    const std::uint32_t whole = WholeMessage(message);
    Sounding.Apply(whole);
    return Device->Send(whole);
}

MMRESULT OutputPort::Check() {
    if (Closed) return MMSYSERR_INVALHANDLE;
    // A device that has been unplugged is silent, even if it is back already.
    const MidiPresence presence = Device->Presence();
    if (presence.Departures != LastPresence.Departures) Sounding.Clear();
    LastPresence = presence;
    return presence.Gone ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
}

// An application that plays a song would show its user every failure. So the first send after a
// departure fails, and later ones until the return are dropped. Send may fail shortly before the
// departure is announced: that failure counts as the departure's.
MMRESULT OutputPort::ReportDeparture() {
    const unsigned departure = LastPresence.Departures + (LastPresence.Gone ? 0 : 1);
    return std::exchange(ReportedDeparture, departure) == departure ? MMSYSERR_NOERROR
                                                                    : MMSYSERR_NODRIVER;
}

MMRESULT OutputPort::Send(DWORD message) {
    const std::scoped_lock lock(Lock);
    MMRESULT error = Check();
    if (error == MMSYSERR_NOERROR) {
        Record(*Device, message & 0xFFFFFF, false);
        error = ErrorOf(SendToDevice(ClampData(message)));
    }
    return error == MMSYSERR_NODRIVER ? ReportDeparture() : error;
}

// Releases every note that still sounds. Succeeds on a device that is gone too, so that an
// application can always get rid of its handle.
MMRESULT OutputPort::Reset() {
    const std::scoped_lock lock(Lock);
    if (const MMRESULT error = Check())
        return error == MMSYSERR_NODRIVER ? MMSYSERR_NOERROR : error;
    Record(*Device, 0, true);
    Sounding.Release([this](std::uint32_t message) { SendToDevice(message); });
    return MMSYSERR_NOERROR;
}

MMRESULT OutputPort::Close() {
    std::unique_lock lock(Lock);
    if (std::exchange(Closed, true)) return MMSYSERR_INVALHANDLE;
    Device->Close();
    lock.unlock();
    OpenPorts().Remove(Handle);
    return MMSYSERR_NOERROR;
}

// For each patch, reads the channels that have it cached, or adds channels.
MMRESULT OutputPort::Cache(WORD* patches, UINT flag) {
    const std::scoped_lock lock(Lock);
    if (const MMRESULT error = Check()) return error;
    if (!(Device->SupportFlags() & MIDICAPS_CACHE)) return MMSYSERR_NOTSUPPORTED;
    for (WORD& cached : Patches) {
        WORD& channels = *patches++;
        if (flag == MIDI_CACHE_QUERY)
            channels = cached;
        else
            cached = static_cast<WORD>(cached | channels);
    }
    return MMSYSERR_NOERROR;
}

std::vector<WORD> OutputPort::Cached() {
    const std::scoped_lock lock(Lock);
    return {Patches.begin(), Patches.end()};
}

// A call on an open port, which runs the driver of InsideMidiOut first; that may close the port.
template <class Operation>
MMRESULT WithPort(Call call, HMIDIOUT handle, Operation operation) {
    return CallOnHandle(call, OpenPorts(), handle, [call, operation](OutputPort& port) {
        RunDriver(*port.Device, call);
        return operation(port);
    });
}

// Those that a number stands for, in the order in which they are to be tried; none for an unknown
// number.
std::vector<std::shared_ptr<MidiDevice>> DevicesAt(UINT number) {
    if (number == MIDI_MAPPER) return DefaultMidiOutputs();
    auto device = MidiDeviceAt(MidiDirection::Output, number);
    if (!device) return {};
    return {std::move(device)};
}

} // namespace
} // namespace calls

namespace machine {

using namespace calls;

void InsideMidiOut(std::function<void(Call call, int device)> driver) {
    auto program = driver ? std::make_shared<const Driver>(std::move(driver)) : nullptr;
    const std::scoped_lock lock(SteeringState().Lock);
    SteeringState().Program.swap(program);
}

void RecordSentMidi(bool on) { SteeringState().Recording = on; }

std::vector<SentMidi> DrainSentMidi() {
    const std::scoped_lock lock(SteeringState().Lock);
    return std::exchange(SteeringState().SentMessages, {});
}

int OpenMidiOutputs() { return OpenPorts().Count(); }

int FindDefaultMidiOutput() {
    const auto devices = DefaultMidiOutputs();
    const auto found = std::ranges::find_if(devices, [&devices](const auto& device) {
        if (device == devices.back()) return true;
        HMIDIOUT handle = nullptr;
        const auto port = std::make_shared<OutputPort>(device);
        const MMRESULT error = OpenPort(OpenPorts(), port, nullptr, &handle);
        if (error == MMSYSERR_NOERROR) port->Close();
        return error != MIDIERR_NOSOUND;
    });
    const int number = Number(**found);
    return number < Number(*SilentMidiOutput()) ? number : -1;
}

std::vector<std::uint16_t> CachedPatches(int output) {
    const auto port = PortOn(OpenPorts(), MidiDirection::Output, output);
    return port ? port->Cached() : std::vector<std::uint16_t>{};
}

} // namespace machine

namespace zorsystem {

using namespace calls;
using namespace machine;

UINT midiOutGetNumDevs() { return NumberOf(MidiDirection::Output, nullptr); }

MMRESULT midiOutGetDevCapsA(UINT_PTR number, MIDIOUTCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::midiOutGetDevCapsA}) return failure;
    const bool mapper = static_cast<UINT>(number) == MIDI_MAPPER;
    const auto devices = DevicesAt(static_cast<UINT>(number));
    if (devices.empty()) return MMSYSERR_BADDEVICEID;
    CopyName(caps->szPname, mapper ? "MIDI Mapper" : devices.front()->Name);
    caps->dwSupport = devices.front()->SupportFlags();
    return MMSYSERR_NOERROR;
}

MMRESULT midiOutOpen(HMIDIOUT* handle, UINT number, DWORD_PTR /*callback*/, DWORD_PTR /*instance*/,
                     DWORD /*flags*/) {
    if (const Failure failure{Call::midiOutOpen}) return failure;
    MMRESULT error = MMSYSERR_BADDEVICEID;
    for (const auto& device : DevicesAt(number)) {
        const auto port = std::make_shared<OutputPort>(device);
        error = OpenPort(OpenPorts(), port, nullptr, handle);
        if (error != MIDIERR_NOSOUND) break;
    }
    return error;
}

MMRESULT midiOutReset(HMIDIOUT handle) {
    return WithPort(Call::midiOutReset, handle, [](OutputPort& port) { return port.Reset(); });
}

MMRESULT midiOutClose(HMIDIOUT handle) {
    return WithPort(Call::midiOutClose, handle, [](OutputPort& port) { return port.Close(); });
}

MMRESULT midiOutShortMsg(HMIDIOUT handle, DWORD message) {
    return WithPort(Call::midiOutShortMsg, handle,
                    [message](OutputPort& port) { return port.Send(message); });
}

MMRESULT midiOutCachePatches(HMIDIOUT handle, UINT /*bank*/, WORD* patches, UINT flag) {
    return WithPort(Call::midiOutCachePatches, handle,
                    [=](OutputPort& port) { return port.Cache(patches, flag); });
}

} // namespace zorsystem
