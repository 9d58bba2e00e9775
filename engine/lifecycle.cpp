// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The life of the library, from MIDISysInit to MIDISysTerm, and starting and stopping a session.
#include "engine/active_call.h"
#include "engine/driver_group.h"
#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "engine/library_state.h"
#include "engine/queues.h"
#include "engine/receive.h"
#include "engine/sections.h"
#include "engine/time_base.h"
#include "engine/timer.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t VersionWord = 0x04030401; // version of the interface
constexpr UINT NameString = 1;               // string resource of the library's name
constexpr int NameBytes = 30;                // including the terminator

// Initialises all drivers. Returns the last failure code, or DriverSuccess; anyRow: one succeeded.
std::uint16_t InitDrivers(bool& anyRow) {
    std::uint16_t failure = DriverSuccess;
    for (MIDIDriverEntry& row : MIDIDrivers) {
        const std::uint16_t code = row.Init();
        row.Inited = code == DriverSuccess;
        if (code == DriverSuccess) {
            anyRow = true;
        } else {
            failure = code;
        }
    }
    return failure;
}

// Ends drivers, queues and timer, in this order, then waits until no callback is in progress on
// another thread.
void ShutDown() {
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (row.Inited) row.Term();
    }
    FreeAllQueues();
    StopMIDITimer();
    SysInited = 0;
    AwaitCallbacks();
}

} // namespace

int16_t ZORCALL MIDISysInit(ZorBool reinit) ZORNOEXCEPT {
    if (LibraryIsUp()) {
        if (!reinit) return ZOR_ALREADY_INITIALISED;
        ShutDown();
    }
    // Before anything that causes callbacks. A kill in the last session has no effect on this one.
    PinLibrary();
    ResumeChain();
    FreeAllQueues();
    BuildIniPath();
    // Timer period in milliseconds. Negative values become 1.
    const UINT speed = GetPrivateProfileIntA("ZORMIDI", "MMESpeed", 4, IniPath);
    MMESpeed = std::max(static_cast<std::int32_t>(speed), 1);
    bool anyRow = false;
    const std::uint16_t failure = InitDrivers(anyRow);
    if (!anyRow) return static_cast<std::int16_t>(failure);
    SysInited = 1;
    return static_cast<std::int16_t>(DriverSuccess);
}

ZorBool ZORCALL MIDISysTerm(void) ZORNOEXCEPT {
    ShutDown();
    return 1;
}

ZorBool ZORCALL ZorSetupMIDI(uint32_t) ZORNOEXCEPT { return 1; }

// With echo on the drivers are open already, so only queues and time are reset.
ZorBool ZORCALL ZorStartMIDI(ZorBool startTimer) ZORNOEXCEPT {
    if (EchoIsOn()) {
        EmptyAllQueues();
        if (TimerRunning) {
            QueueSection section;
            ResetMIDITime();
        }
    } else if (!OpenMIDIDrivers()) {
        return 0;
    }
    if (startTimer) ZorStartTimer();
    return 1;
}

ZorBool ZORCALL ZorStopMIDI(void) ZORNOEXCEPT {
    StopMIDITimer();
    if (!EchoIsOn()) CloseMIDIDrivers();
    return 1;
}

void ZORCALL ZorMIDIStatus(uint8_t* driversOpen, uint8_t* timerRunning) ZORNOEXCEPT {
    if (driversOpen) *driversOpen = DriversOpen;
    if (timerRunning) *timerRunning = TimerRunning;
}

// The name is loaded into a buffer of known size first, since that of the caller is unknown.
uint32_t ZORCALL ZorMIDIDriverVersion(char* text) ZORNOEXCEPT {
    if (text) {
        char name[NameBytes] = "";
        LoadStringA(ModuleInstance, NameString, name, NameBytes);
        name[NameBytes - 1] = 0;
        std::memcpy(text, name, std::strlen(name) + 1);
    }
    return VersionWord;
}
