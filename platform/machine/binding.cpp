// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// What bindings of other languages need beside the library's own functions, in C. Not in a header:
// python/zormidi/_libraries.py declares it.
#include "platform/machine.h"
#include "platform/system/midi.h"

#include <cstring>

// Writes the name of a MIDI device, inputs and outputs counted from 0, into 32 bytes. Returns 1, or
// 0 if there is no such device. Thread: any.
extern "C" int ZorMachineDeviceName(int isOutput, int index, char* name) {
    const auto device = static_cast<unsigned>(index);
    zorsystem::MIDIINCAPSA input = {};
    zorsystem::MIDIOUTCAPSA output = {};
    if (index < 0) return 0;
    if (isOutput ? zorsystem::midiOutGetDevCapsA(device, &output, sizeof output) != 0
                 : zorsystem::midiInGetDevCapsA(device, &input, sizeof input) != 0)
        return 0;
    std::strcpy(name, isOutput ? output.szPname : input.szPname);
    return 1;
}

// The library reads its settings from ZORMIDI.INI in that folder; null or empty: the user's own.
// Thread: any, while the library is closed.
extern "C" void ZorMachineSettings(const char* folder) {
    machine::SetModulePath(folder && *folder ? std::string(folder) + "/libzormidi.so" : "");
}
