// The calls of MIDI output: what goes over the wire, and what still sounds at its far end.
#include "midi/sounding_notes.h"
#include "platform/calls/midi_ports.h"
#include "platform/calls/names.h"
#include "platform/machine/clock.h"
#include "platform/machine/midi.h"
#include "platform/machine/power.h"

#include <array>
#include <atomic>

namespace machine {
namespace {

// Each port has a lock of its own, so that none waits for another's device.
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
    MMRESULT Miss();
    MidiResult Carry(std::uint32_t message);

    unsigned Moves = Device->Moves();
    unsigned Told = 0; // the number of the departure; 0: of none
    midi::SoundingNotes Sounding;
    std::array<WORD, MIDIPATCHSIZE> Patches{};
};

using Ports = Handles<OutputPort>;

// What those who steer do to sending and see of it.
using Driver = std::function<void(Call call, int device)>;
struct Steering {
    std::atomic<bool> Recording{false}; // ordered by nothing
    std::mutex Lock;                    // of the next two
    std::vector<SentMidi> Sent;
    std::shared_ptr<const Driver> Program; // null for none
};

const AtPowerOn atPowerOn([] {
    for (const auto& port : The<Ports>().TakeAll()) port->Close();
    InsideMidiOut(nullptr);
    TakeSentMidi();
    RecordSentMidi(true);
});

int Number(const MidiDevice& device) { return static_cast<int>(NumberOf(MidiWay::Out, &device)); }

void Record(const MidiDevice& device, std::uint32_t message, bool reset) {
    if (!The<Steering>().Recording) return;
    const int number = Number(device);
    const std::scoped_lock lock(The<Steering>().Lock);
    The<Steering>().Sent.push_back({Microseconds(), number, message, reset});
}

void RunDriver(const MidiDevice& device, Call call) {
    std::unique_lock lock(The<Steering>().Lock);
    const auto program = The<Steering>().Program;
    lock.unlock();
    if (program) (*program)(call, Number(device));
}

std::uint32_t ClampData(std::uint32_t message) {
    const std::uint32_t first = std::min(message >> 8 & 0xFF, 0x7Fu);
    const std::uint32_t second = std::min(message >> 16 & 0xFF, 0x7Fu);
    return (message & 0xFF) | first << 8 | second << 16;
}

// Just the bytes that the status calls for.
std::uint32_t OnTheWire(std::uint32_t message) {
    return message & ((1u << 8 * (1 + midi::DataBytes(message & 0xFF))) - 1);
}

MidiResult OutputPort::Carry(std::uint32_t message) {
    const std::uint32_t status = message & 0xFF;
    // Without a status, or with that of a long message, nothing whole would arrive.
    if (status < 0x80 || status == 0xF0 || status == 0xF7) return MidiResult::Done;
    const std::uint32_t wire = OnTheWire(message);
    Sounding.Apply(wire);
    return Device->Send(wire);
}

MMRESULT OutputPort::Check() {
    if (Closed) return MMSYSERR_INVALHANDLE;
    // What has left fell silent, also if it was back at once.
    const unsigned moves = Device->Moves();
    if (std::exchange(Moves, moves) != moves) Sounding.Clear();
    return moves % 2 != 0 ? MMSYSERR_NODRIVER : MMSYSERR_NOERROR;
}

// Whoever plays a piece would show its user each failure: of a departure he is told once, and what
// he sends until the return goes nowhere. The device itself may know of it before it is announced.
MMRESULT OutputPort::Miss() {
    const unsigned departure = Moves / 2 + 1;
    return std::exchange(Told, departure) == departure ? MMSYSERR_NOERROR : MMSYSERR_NODRIVER;
}

MMRESULT OutputPort::Send(DWORD message) {
    const std::scoped_lock lock(Lock);
    MMRESULT error = Check();
    if (error == MMSYSERR_NOERROR) {
        Record(*Device, message & 0xFFFFFF, false);
        error = ErrorOf(Carry(ClampData(message)));
    }
    return error == MMSYSERR_NODRIVER ? Miss() : error;
}

// Releases every note that still sounds. Whoever holds a device that has gone gets rid of it.
MMRESULT OutputPort::Reset() {
    const std::scoped_lock lock(Lock);
    if (const MMRESULT error = Check())
        return error == MMSYSERR_NODRIVER ? MMSYSERR_NOERROR : error;
    Record(*Device, 0, true);
    Sounding.Release([this](std::uint32_t message) { Carry(message); });
    return MMSYSERR_NOERROR;
}

MMRESULT OutputPort::Close() {
    std::unique_lock lock(Lock);
    if (std::exchange(Closed, true)) return MMSYSERR_INVALHANDLE;
    Device->Close();
    lock.unlock();
    The<Ports>().Take(Handle);
    return MMSYSERR_NOERROR;
}

// Asks which channels have each patch, or adds those that are to have it.
MMRESULT OutputPort::Cache(WORD* patches, UINT flag) {
    const std::scoped_lock lock(Lock);
    if (const MMRESULT error = Check()) return error;
    if (!(Device->Support() & MIDICAPS_CACHE)) return MMSYSERR_NOTSUPPORTED;
    for (WORD& cached : Patches) {
        WORD& asked = *patches++;
        if (flag == MIDI_CACHE_QUERY)
            asked = cached;
        else
            cached = static_cast<WORD>(cached | asked);
    }
    return MMSYSERR_NOERROR;
}

std::vector<WORD> OutputPort::Cached() {
    const std::scoped_lock lock(Lock);
    return {Patches.begin(), Patches.end()};
}

// As every call of an open port, but lets the driver run first, which may close it.
template <class Operation>
MMRESULT WithPort(Call call, HMIDIOUT handle, Operation operation) {
    return On(call, The<Ports>(), handle, [call, operation](OutputPort& port) {
        RunDriver(*port.Device, call);
        return operation(port);
    });
}

std::shared_ptr<MidiDevice> DeviceAt(UINT number) {
    return number == MIDI_MAPPER ? DefaultMidiOutput() : MidiDeviceAt(MidiWay::Out, number);
}

} // namespace

void InsideMidiOut(std::function<void(Call call, int device)> driver) {
    auto program = driver ? std::make_shared<const Driver>(std::move(driver)) : nullptr;
    const std::scoped_lock lock(The<Steering>().Lock);
    The<Steering>().Program.swap(program);
}

void RecordSentMidi(bool on) { The<Steering>().Recording = on; }

std::vector<SentMidi> TakeSentMidi() {
    const std::scoped_lock lock(The<Steering>().Lock);
    return std::exchange(The<Steering>().Sent, {});
}

int OpenMidiOutputs() { return The<Ports>().Count(); }

std::vector<std::uint16_t> CachedPatches(int output) {
    const auto port = PortOn(The<Ports>(), MidiWay::Out, output);
    return port ? port->Cached() : std::vector<std::uint16_t>{};
}

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT midiOutGetNumDevs() { return NumberOf(MidiWay::Out, nullptr); }

MMRESULT midiOutGetDevCapsA(UINT_PTR number, MIDIOUTCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::midiOutGetDevCapsA}) return failure;
    const auto device = DeviceAt(static_cast<UINT>(number));
    if (!device) return MMSYSERR_BADDEVICEID;
    CopyName(caps->szPname,
             static_cast<UINT>(number) == MIDI_MAPPER ? "MIDI Mapper" : device->Name);
    caps->dwSupport = device->Support();
    return MMSYSERR_NOERROR;
}

MMRESULT midiOutOpen(HMIDIOUT* handle, UINT number, DWORD_PTR /*callback*/, DWORD_PTR /*instance*/,
                     DWORD /*flags*/) {
    if (const Failure failure{Call::midiOutOpen}) return failure;
    auto device = DeviceAt(number);
    if (!device) return MMSYSERR_BADDEVICEID;
    const auto port = std::make_shared<OutputPort>(std::move(device));
    return OpenPort(The<Ports>(), port, nullptr, handle);
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
