// Opening and closing the output ports.
#include "mme/ports.h"
#include "mme/transmit_lock.h"

namespace {

constexpr SIZE_T NoteCountsSize = PortChannels * 128;

// A zero-filled table that stays at one address, or null.
std::uint8_t* NewNoteCounts() {
    const HGLOBAL memory = GlobalAlloc(GMEM_ZEROINIT, NoteCountsSize);
    if (!memory) return nullptr;
    void* const address = GlobalLock(memory);
    if (!address) GlobalFree(memory);
    return static_cast<std::uint8_t*>(address);
}

void FreeNoteCounts(std::uint8_t* counts) {
    const HGLOBAL memory = GlobalHandle(counts);
    GlobalUnlock(memory);
    GlobalFree(memory);
}

// A port takes records only once it has its table, which therefore comes last.
MMRESULT OpenPort(MMEOutPort& port) {
    HMIDIOUT handle = nullptr;
    if (const MMRESULT code = midiOutOpen(&handle, static_cast<UINT>(port.DeviceID), 0, 0, 0))
        return code;
    if (!handle) return MMSYSERR_NOERROR;
    port.Handle = handle;
    if (const MMRESULT code = midiOutReset(handle)) return code;
    std::uint8_t* const counts = NewNoteCounts();
    if (!counts) return MMSYSERR_NOMEM;
    const TransmitLock lock;
    port.LastStatus = 0;
    port.NoteCounts = counts;
    return MMSYSERR_NOERROR;
}

// The lock keeps other threads from sending on a handle that is being closed.
MMRESULT ClosePort(MMEOutPort& port) {
    const TransmitLock lock;
    const HMIDIOUT handle = port.Handle;
    if (MidiOutReset) {
        if (const MMRESULT code = midiOutReset(handle)) return code;
    }
    if (const MMRESULT code = midiOutClose(handle)) return code;
    port.Handle = nullptr;
    if (port.NoteCounts) FreeNoteCounts(port.NoteCounts);
    port.NoteCounts = nullptr;
    return MMSYSERR_NOERROR;
}

} // namespace

MMRESULT OpenOutPorts() {
    if (const MMRESULT code = CloseOutPorts()) return code;
    for (MMEOutPort& port : OutPorts) {
        if (port.DeviceID == NoDevice) continue;
        if (const MMRESULT code = OpenPort(port)) return code;
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
