// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The functions of platform/machine.h that zorhost needs, implemented for Windows itself: the path
// of the library, device lists, and the parent window of its dialogs.
#include "host/terminal/host_error.h"
#include "platform/machine.h"
#include "platform/platform.h"

#include <filesystem>
#include <stop_token>
#include <system_error>
#include <thread>

namespace fs = std::filesystem;

namespace machine {

namespace {

constexpr char LibraryName[] = "ZORMIDI.DLL";

HWND hostWindow = nullptr;

std::string ProgramPath() {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    return path;
}

// True for the temporary folder of one session's settings.
bool IsSessionFolder(const fs::path& folder) {
    return folder.filename().string().starts_with("zorhost.");
}

// Removes session folders of processes that have ended. A process cannot remove its own, since the
// library stays loaded, and its file locked, until the process ends.
void RemoveFormerCopies(const fs::path& parent) {
    std::error_code failed;
    for (const fs::directory_entry& entry : fs::directory_iterator(parent, failed)) {
        const fs::path library = entry.path() / LibraryName;
        if (!IsSessionFolder(entry.path())) continue;
        if (fs::exists(library, failed) && fs::remove(library, failed))
            fs::remove_all(entry.path(), failed);
    }
}

LRESULT CALLBACK HostProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    const auto* const procedure =
        reinterpret_cast<const WindowProcedure*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (procedure && message >= WM_USER) (*procedure)(message, first, second);
    return DefWindowProcA(window, message, first, second);
}

BOOL CALLBACK Cancel(HWND window, LPARAM) {
    if (GetWindow(window, GW_OWNER) == hostWindow) PostMessageA(window, WM_COMMAND, IDCANCEL, 0);
    return TRUE;
}

} // namespace

// Windows has no call for the device that its mapper uses.
int FindDefaultMidiOutput() { return midiOutGetNumDevs() > 0 ? 0 : -1; }
bool HasSynthesizer() { return false; }
SynthesizerSettings ReadSynthesizerSettings() { return {}; }
std::string SynthesizerProblem() { return ""; }

std::string ModulePath() { return (fs::path(ProgramPath()).parent_path() / LibraryName).string(); }

// Loads the library from the folder of its settings, since it reads the settings beside its file.
// Into a session folder it is copied first. All calls go to the copy that is loaded first.
void SetModulePath(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    const fs::path library = folder / LibraryName;
    std::error_code failed;
    if (IsSessionFolder(folder)) {
        RemoveFormerCopies(folder.parent_path());
        fs::copy_file(ModulePath(), library, failed);
    }
    if (LoadLibraryA(library.string().c_str())) return;
    const auto error = static_cast<int>(GetLastError());
    throw zorhost::HostError("\"" + library.string() +
                             "\" cannot be loaded: " + std::system_category().message(error) +
                             "\nThe library must be in the folder of its settings.");
}

// Timer callbacks cannot be observed on Windows.
bool AfterTimers(void (*)()) { return false; }

std::uint64_t Microseconds() { return std::uint64_t{timeGetTime()} * 1000; }

// Windows does not report which programs use a device.
std::vector<std::string> UsersOfMidiInput(int) { return {}; }
std::vector<std::string> UsersOfMidiOutput(int) { return {}; }

// Polls every 300 ms, since Windows notifies only windows of device changes.
void WatchMidiDevices(std::function<void()> watcher) {
    static std::jthread polling;
    polling = {};
    if (!watcher) return;
    polling = std::jthread([watcher = std::move(watcher)](const std::stop_token& done) {
        for (; !done.stop_requested(); Sleep(300)) watcher();
    });
}

std::vector<FoundMicrophone> FindMicrophones() {
    std::vector<FoundMicrophone> found;
    const UINT count = waveInGetNumDevs();
    for (UINT i = 0; i < count; ++i) {
        WAVEINCAPSA about = {};
        if (waveInGetDevCapsA(i, &about, sizeof about) == MMSYSERR_NOERROR)
            found.push_back({about.szPname, about.szPname, false, 0});
    }
    return found;
}
std::string MicrophoneProblem() { return ""; }

void* CreateHostWindow(WindowProcedure procedure) {
    WNDCLASSA about = {};
    about.lpfnWndProc = HostProcedure;
    about.hInstance = GetModuleHandleA(nullptr);
    about.lpszClassName = "zorhost";
    RegisterClassA(&about);
    hostWindow = CreateWindowExA(0, about.lpszClassName, "zorhost", WS_OVERLAPPED, CW_USEDEFAULT,
                                 CW_USEDEFAULT, 0, 0, nullptr, nullptr, about.hInstance, nullptr);
    SetWindowLongPtrA(hostWindow, GWLP_USERDATA,
                      reinterpret_cast<LONG_PTR>(new WindowProcedure(std::move(procedure))));
    return hostWindow;
}

void DestroyHostWindow(void* window) {
    const auto handle = static_cast<HWND>(window);
    delete reinterpret_cast<WindowProcedure*>(SetWindowLongPtrA(handle, GWLP_USERDATA, 0));
    DestroyWindow(handle);
    hostWindow = nullptr;
}

// Called on another thread than the dialog's.
bool CloseDialog() { return hostWindow && EnumWindows(Cancel, 0); }

std::string DialogError() { return ""; }

} // namespace machine
