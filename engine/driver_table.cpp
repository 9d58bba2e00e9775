// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/driver_table.h"

// The slots are constant; only the flags change at run time.
constinit MIDIDriverEntry MIDIDrivers[DriverRows] = {
    {{0},
     {0},
     MMEInit,
     MMETerm,
     MMEOpen,
     MMEClose,
     MMEXmit,
     MMESync,
     MMEConfig,
     MMESilence,
     MMEReady,
     {0},
     1},
    {{0},
     {0},
     PRecInit,
     PRecTerm,
     PRecOpen,
     PRecClose,
     PRecXmit,
     PRecSync,
     PRecConfig,
     PRecSilence,
     PRecReady,
     {0},
     0},
};

// exchange: threads that call this at the same time do not return the same error twice.
int16_t ZORCALL ZorErrorMIDI(uint16_t* code) ZORNOEXCEPT {
    for (int row = 0; row < DriverRows; ++row) {
        if (!MIDIDrivers[row].Inited) continue;
        const std::uint16_t error = MIDIDrivers[row].Error.exchange(0);
        if (error == 0) continue;
        if (code) *code = error;
        return static_cast<std::int16_t>(row);
    }
    return -1;
}
