// Opening and closing the output ports.
#include "mme/ports_to_open.h"
#include "support/locked_memory.h"

#include <algorithm>
#include <utility>

namespace {

// Gives the port another table, or none, and returns the one it had. Waits for a message that
// another thread is just sending.
std::uint8_t* ExchangeNoteCounts(MMEOutPort& port, std::uint8_t* counts) {
    const LockScope gate(port.Gate);
    return std::exchange(port.NoteCounts, counts);
}

// A port takes records only while it has its table, which therefore comes last.
MMRESULT OpenPort(MMEOutPort& port, std::int32_t device) {
    HMIDIOUT handle = nullptr;
    if (const MMRESULT code = midiOutOpen(&handle, static_cast<UINT>(device), 0, 0, 0)) return code;
    if (!handle) return MMSYSERR_NOERROR;
    port.Handle = handle;
    if (const MMRESULT code = midiOutReset(handle)) return code;
    void* const counts = Sonorel::AllocateLocked(GMEM_ZEROINIT, PortKeys);
    if (!counts) return MMSYSERR_NOMEM;
    const LockScope gate(port.Gate);
    port.LastStatus = 0;
    port.NoteCounts = static_cast<std::uint8_t*>(counts);
    return MMSYSERR_NOERROR;
}

bool AnyOpen() {
    return std::ranges::any_of(OutPorts,
                               [](const MMEOutPort& port) { return port.Handle != nullptr; });
}

MMRESULT CloseDevice(HMIDIOUT handle) {
    if (MidiOutReset) {
        if (const MMRESULT code = midiOutReset(handle)) return code;
    }
    return midiOutClose(handle);
}

void MarkClosed(MMEOutPort& port, std::uint8_t* counts) {
    port.Handle = nullptr;
    Sonorel::FreeLocked(counts);
}

// Without its table nobody sends on the port any more, so that no lock has to be held while the
// device resets and closes: it may take its time over that, and call back. A device that refuses
// gets its port back as it was.
MMRESULT ClosePort(MMEOutPort& port) {
    std::uint8_t* const counts = ExchangeNoteCounts(port, nullptr);
    const MMRESULT code = CloseDevice(port.Handle);
    if (code == MMSYSERR_NOERROR)
        MarkClosed(port, counts);
    else
        ExchangeNoteCounts(port, counts);
    return code;
}

} // namespace

MMRESULT OpenOutPorts() {
    if (const MMRESULT code = CloseOutPorts()) return code;
    for (const PortToOpen& next : OutputsToOpen()) {
        const MMRESULT code = OpenPort(OutPorts[next.Row], next.Device);
        // Only the system knows which device is behind its default one: another row's, perhaps.
        if (code == MMSYSERR_ALLOCATED && !next.Named && AnyOpen()) continue;
        if (code != MMSYSERR_NOERROR) return code;
    }
    return MMSYSERR_NOERROR;
}

MMRESULT CloseOutPorts() {
    for (MMEOutPort& port : OutPorts) {
        if (!port.Handle) continue;
        if (const MMRESULT code = ClosePort(port)) return code;
    }
    return MMSYSERR_NOERROR;
}

void AbandonOutPorts() {
    for (MMEOutPort& port : OutPorts) {
        const HMIDIOUT handle = port.Handle;
        if (!handle) continue;
        std::uint8_t* const counts = ExchangeNoteCounts(port, nullptr);
        midiOutReset(handle);
        midiOutClose(handle);
        MarkClosed(port, counts);
    }
}
