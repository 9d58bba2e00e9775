#include "engine/lifecycle.h"

#include "engine/active_call.h"
#include "engine/driver_group.h"
#include "engine/driver_table.h"
#include "engine/library_instance.h"
#include "engine/queues.h"
#include "engine/receive.h"
#include "engine/sections.h"
#include "engine/time_base.h"
#include "engine/timer.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t VersionWord = 0x04030401;
constexpr UINT NameString = 1;
constexpr int NameBytes = 30;

std::atomic<std::uint8_t> SysInited{0};

// Appends what fits of the text to IniPath.
void Append(const char* text) {
    const std::size_t used = std::strlen(IniPath);
    std::strncat(IniPath, text, sizeof IniPath - used - 1);
}

void BuildIniPath() {
    char module[MAX_PATH] = "";
    char drive[_MAX_DRIVE] = "";
    char directory[_MAX_DIR] = "";
    GetModuleFileNameA(ModuleInstance, module, MAX_PATH);
    module[MAX_PATH - 1] = 0; // a path that did not fit may come without its end
    _splitpath(module, drive, directory, nullptr, nullptr);
    IniPath[0] = 0;
    Append(drive);
    Append(directory);
    Append("ZORMIDI.INI");
}

// The last code of a row that did not come up; DriverSuccess if all did.
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

void TakeDown() {
    for (MIDIDriverEntry& row : MIDIDrivers) {
        if (row.Inited) row.Term();
    }
    FreeAllQueues();
    StopMIDITimer();
    SysInited = 0;
    AwaitCallbacks();
}

} // namespace

bool LibraryIsUp() { return SysInited.load(std::memory_order_acquire) != 0; }

int16_t ZORCALL MIDISysInit(ZorBool reinit) ZORNOEXCEPT {
    if (LibraryIsUp()) {
        if (!reinit) return ZOR_ALREADY_INITIALISED;
        TakeDown();
    }
    PinModule();
    ResumeChain();
    FreeAllQueues();
    BuildIniPath();
    const UINT speed = GetPrivateProfileIntA("ZORMIDI", "MMESpeed", 4, IniPath);
    MMESpeed = std::max(static_cast<std::int32_t>(speed), 1);
    bool anyRow = false;
    const std::uint16_t failure = InitDrivers(anyRow);
    if (!anyRow) return static_cast<std::int16_t>(failure);
    SysInited = 1;
    return static_cast<std::int16_t>(DriverSuccess);
}

ZorBool ZORCALL MIDISysTerm(void) ZORNOEXCEPT {
    TakeDown();
    return 1;
}

ZorBool ZORCALL ZorSetupMIDI(uint32_t) ZORNOEXCEPT { return 1; }

ZorBool ZORCALL ZorRestoreMIDI(void) ZORNOEXCEPT {
    CloseMIDIDrivers();
    return 1;
}

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

void ZORCALL ZorConfigMIDIDriver(void* parent, int16_t row) ZORNOEXCEPT {
    if (row < 0 || row >= DriverRows) return;
    // A bare file name would have the system look for the settings in a folder of its own.
    if (!LibraryIsUp()) BuildIniPath();
    RunDriverDialog(row, static_cast<HWND>(parent));
}

void ZORCALL ZorMIDIStatus(uint8_t* driversOpen, uint8_t* timerRunning) ZORNOEXCEPT {
    if (driversOpen) *driversOpen = DriversOpen;
    if (timerRunning) *timerRunning = TimerRunning;
}

uint32_t ZORCALL ZorMIDIDriverVersion(char* text) ZORNOEXCEPT {
    if (text) {
        char name[NameBytes] = "";
        LoadStringA(ModuleInstance, NameString, name, NameBytes);
        name[NameBytes - 1] = 0;
        std::memcpy(text, name, std::strlen(name) + 1);
    }
    return VersionWord;
}
