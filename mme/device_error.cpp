// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/library_instance.h"
#include "mme/ports.h"

void ReportMMEError(MMRESULT code, bool output) {
    if (code == MMSYSERR_NOERROR) return;
    char text[256];
    text[0] = '\0';
    if (output)
        midiOutGetErrorTextA(code, text, sizeof text);
    else
        midiInGetErrorTextA(code, text, sizeof text);
    char caption[30] = "";
    LoadStringA(ModuleInstance, MapperName, caption, sizeof caption);
    MessageBoxA(GetFocus(), text, caption, MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
}
