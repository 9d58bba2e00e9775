// The driver's slots for starting, stopping and sync, and the callback of its input devices.
#include "engine/driver_table.h"
#include "engine/errand.h"
#include "mme/ports.h"

namespace {

std::uint8_t MMEInited = 0;

// One message at a time goes on to the engine, whichever ports they come from.
std::atomic<std::uint8_t> MidiInBusy{0};

// From a successful opening to the next closing.
bool PortsInUse = false;
bool LastOpeningFailed = false;

// All or nothing: what is open is closed again.
std::uint8_t GiveUpOpening(MMRESULT code, bool output) {
    ReportMMEError(code, output);
    MMEClose();
    LastOpeningFailed = true;
    return 0;
}

} // namespace

// A device that cannot be closed, such as one that was pulled out, is reported, and its port stays
// open. The next opening tries it again, and fails if that is refused too. Were that all, one dead
// handle would keep every device away until the process ends. So the opening after a failed one
// gives such ports up, and so do Init and the dialog, which begin anew anyway.
void AbandonPortsLeftOpen() {
    if (PortsInUse) return;
    AbandonOutPorts();
    AbandonInPorts();
}

std::uint16_t MMEInit() {
    if (!MMEInited) {
        AbandonPortsLeftOpen();
        LoadMMEConfig();
        MMEInited = 1;
    }
    return DriverSuccess;
}

std::uint8_t MMETerm() {
    MMEInited = 0;
    return 1;
}

std::uint8_t MMEReady() { return 1; }

// Inputs are all open before the first of them starts.
std::uint8_t MMEOpen() {
    if (LastOpeningFailed) AbandonPortsLeftOpen();
    LastOpeningFailed = false;
    if (const MMRESULT code = OpenOutPorts()) return GiveUpOpening(code, true);
    if (const MMRESULT code = CloseInPorts()) return GiveUpOpening(code, false);
    if (const MMRESULT code = OpenInPorts()) return GiveUpOpening(code, false);
    if (const MMRESULT code = StartInPorts()) return GiveUpOpening(code, false);
    PortsInUse = true;
    return 1;
}

std::uint8_t MMEClose() {
    PortsInUse = false;
    for (MMEInPort& port : InPorts) {
        const HMIDIIN handle = port.Handle;
        if (handle) ReportMMEError(midiInStop(handle), false);
    }
    ReportMMEError(CloseOutPorts(), true);
    ReportMMEError(CloseInPorts(), false);
    return 1;
}

void MMESync(std::int16_t mode) { SyncEnabled = mode == ZOR_SYNC_EXTERNAL; }

void ZORCALL MmeMidiInCallBack(void* handle, std::uint32_t message, std::uintptr_t,
                               std::uintptr_t first, std::uintptr_t second) noexcept {
    const Errand errand(Errand::Kind::Input);
    // Acquire and release order one message's work before the next one's.
    if (MidiInBusy.exchange(1, std::memory_order_acquire)) return;
    if (message == MIM_DATA || message == MIM_MOREDATA)
        ParseMidiIn(static_cast<HMIDIIN>(handle), static_cast<std::uint32_t>(first),
                    static_cast<std::uint32_t>(second));
    MidiInBusy.store(0, std::memory_order_release);
}
