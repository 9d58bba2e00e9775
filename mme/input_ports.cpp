// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Opening, starting and closing the input ports.
#include "mme/ports_to_open.h"

namespace {

MMRESULT OpenPort(MMEInPort& port, std::int32_t device) {
    HMIDIIN handle = nullptr;
    const MMRESULT code = midiInOpen(&handle, static_cast<UINT>(device),
                                     reinterpret_cast<DWORD_PTR>(&MmeMidiInCallBack), 0,
                                     CALLBACK_FUNCTION | MIDI_IO_STATUS);
    if (code != MMSYSERR_NOERROR) return code;
    if (!handle) return MMSYSERR_NOERROR;
    port.Handle = handle;
    return midiInReset(handle);
}

} // namespace

MMRESULT OpenInPorts() {
    for (const PortToOpen& next : InputsToOpen())
        if (const MMRESULT code = OpenPort(InPorts[next.Row], next.Device)) return code;
    return MMSYSERR_NOERROR;
}

MMRESULT StartInPorts() {
    for (MMEInPort& port : InPorts) {
        const HMIDIIN handle = port.Handle;
        if (!handle) continue;
        port.StartTime = timeGetTime(); // for messages that arrive before midiInStart returns
        if (const MMRESULT code = midiInStart(handle)) return code;
        port.StartTime = timeGetTime();
    }
    return MMSYSERR_NOERROR;
}

MMRESULT CloseInPorts() {
    for (MMEInPort& port : InPorts) {
        const HMIDIIN handle = port.Handle;
        if (!handle) continue;
        if (const MMRESULT code = midiInReset(handle)) return code;
        if (const MMRESULT code = midiInClose(handle)) return code;
        port.Handle = nullptr;
    }
    return MMSYSERR_NOERROR;
}

void AbandonInPorts() {
    for (MMEInPort& port : InPorts) {
        const HMIDIIN handle = port.Handle;
        if (!handle) continue;
        midiInReset(handle);
        midiInClose(handle);
        port.Handle = nullptr;
    }
}
