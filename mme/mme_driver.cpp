// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The driver's slots for starting, stopping and sync, and the callback of its input devices.
#include "engine/active_call.h"
#include "engine/driver_table.h"
#include "mme/ports.h"

namespace {

std::uint8_t MMEInited = 0;

// 1 while a message is passed to the engine. A message that arrives meanwhile, on any port, is
// lost.
std::atomic<std::uint8_t> MidiInBusy{0};

// True from a successful opening to the next closing.
bool PortsInUse = false;
bool LastOpeningFailed = false;

// Reports the error and closes the ports that are open already.
std::uint8_t FailOpening(MMRESULT code, bool output) {
    ReportMMEError(code, output);
    MMEClose();
    LastOpeningFailed = true;
    return 0;
}

} // namespace

// If a device cannot be closed, because it was unplugged for example, an error is reported and its
// port stays open. The next opening tries to close it again and fails if the system still refuses.
// One dead handle would thus block every device until the process ends, so the opening after a
// failed one abandons such ports. Init and the dialog, which reread the tables, do so too.
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

// Opens all inputs before it starts the first of them.
std::uint8_t MMEOpen() {
    if (LastOpeningFailed) AbandonPortsLeftOpen();
    LastOpeningFailed = false;
    if (const MMRESULT code = OpenOutPorts()) return FailOpening(code, true);
    if (const MMRESULT code = CloseInPorts()) return FailOpening(code, false);
    if (const MMRESULT code = OpenInPorts()) return FailOpening(code, false);
    if (const MMRESULT code = StartInPorts()) return FailOpening(code, false);
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
    const ActiveCall call(CallKind::InputCallback);
    // Acquire and release order the processing of one message before that of the next.
    if (MidiInBusy.exchange(1, std::memory_order_acquire)) return;
    if (message == MIM_DATA || message == MIM_MOREDATA)
        ParseMidiIn(static_cast<HMIDIIN>(handle), static_cast<std::uint32_t>(first),
                    static_cast<std::uint32_t>(second));
    MidiInBusy.store(0, std::memory_order_release);
}
