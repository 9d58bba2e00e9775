// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Opening and closing the output ports.
#include "mme/ports_to_open.h"
#include "support/locked_memory.h"

#include <algorithm>
#include <utility>

namespace {

// Replaces the port's table, possibly by null, and returns the old one. Waits until another thread
// has finished sending its message.
std::uint8_t* ExchangeNoteCounts(MMEOutPort& port, std::uint8_t* counts) {
    const LockScope lock(port.SendLock);
    return std::exchange(port.NoteCounts, counts);
}

// Sets NoteCounts last, since records are sent on the port from then on.
MMRESULT OpenPort(MMEOutPort& port, std::int32_t device) {
    HMIDIOUT handle = nullptr;
    if (const MMRESULT code = midiOutOpen(&handle, static_cast<UINT>(device), 0, 0, 0)) return code;
    if (!handle) return MMSYSERR_NOERROR;
    port.Handle = handle;
    if (const MMRESULT code = midiOutReset(handle)) return code;
    void* const counts = Sonorel::AllocateLocked(GMEM_ZEROINIT, PortKeys);
    if (!counts) return MMSYSERR_NOMEM;
    const LockScope lock(port.SendLock);
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

// Removes the table first, so that no thread sends on the port any more and no lock is held while
// the device resets and closes, which can take long and call back. If the device refuses, the port
// gets its table back and stays open.
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
        // Row 0 falls back on the default device, and that may be one which another row has opened.
        if (code == MMSYSERR_ALLOCATED && !next.HasRowsName && AnyOpen()) continue;
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
