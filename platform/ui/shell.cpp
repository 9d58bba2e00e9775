// Starting the system's volume program.
#include "platform/system/shell.h"

#include "platform/machine/power.h"
#include "platform/ui/screen.h"
#include "platform/virtual/dialogs.h"

#include <spawn.h>
#include <string>
#include <strings.h>
#include <sys/wait.h>
#include <thread>
#include <utility>
#include <vector>

extern char** environ;

namespace zorsystem {

namespace {

std::vector<machine::StartedProgram> started;

void Reset() { started.clear(); }
const machine::AtPowerOn atPowerOn(Reset);

constexpr std::intptr_t Started = 42; // any number above 32
constexpr std::intptr_t FileNotFound = 2;

bool Spawn(std::vector<const char*> arguments) {
    arguments.push_back(nullptr);
    pid_t child = 0;
    auto** given = const_cast<char**>(arguments.data());
    if (posix_spawnp(&child, given[0], nullptr, nullptr, given, environ) != 0) return false;
    std::thread([child] { waitpid(child, nullptr, 0); }).detach();
    return true;
}

// The programs that people have for this, the likeliest first.
bool StartVolumeProgram(bool recording) {
    if (Spawn({"pavucontrol", recording ? "--tab=4" : "--tab=3"})) return true;
    if (Spawn({"gnome-control-center", "sound"})) return true;
    return Spawn({"x-terminal-emulator", "-e", recording ? "alsamixer -V capture" : "alsamixer"});
}

} // namespace

HINSTANCE ShellExecuteA(HWND, LPCSTR, LPCSTR file, LPCSTR parameters, LPCSTR, int) {
    const std::string arguments = parameters ? parameters : "";
    bool found = false;
    if (ui::Scripted()) {
        started.push_back({file ? file : "", arguments});
        found = true;
    } else if (file && strcasecmp(file, "sndvol32.exe") == 0) {
        found = StartVolumeProgram(arguments.find("/r") != std::string::npos);
    }
    return reinterpret_cast<HINSTANCE>(found ? Started : FileNotFound);
}

} // namespace zorsystem

std::vector<machine::StartedProgram> machine::TakeStartedPrograms() {
    return std::exchange(started, {});
}
