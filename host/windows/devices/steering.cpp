// What platform/machine.h lets a host steer, as far as Windows itself can be steered: where the
// library lies, and the window that its dialogs belong to.
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

bool IsForOneRun(const fs::path& folder) {
    return folder.filename().string().starts_with("zorhost.");
}

// The library stays in memory until its process ends, and so its file in the folder of the settings
// that it was to read. The next run takes away what no process has any more.
void RemoveFormerCopies(const fs::path& place) {
    std::error_code failed;
    for (const fs::directory_entry& entry : fs::directory_iterator(place, failed)) {
        const fs::path library = entry.path() / LibraryName;
        if (!IsForOneRun(entry.path())) continue;
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

std::string ModulePath() { return (fs::path(ProgramPath()).parent_path() / LibraryName).string(); }

// The library reads the settings beside it, so it is loaded from there; into a folder for one run
// it is copied. All calls go to the one that is loaded first.
void SetModulePath(const std::string& path) {
    const fs::path folder = fs::path(path).parent_path();
    const fs::path library = folder / LibraryName;
    std::error_code failed;
    if (IsForOneRun(folder)) {
        RemoveFormerCopies(folder.parent_path());
        fs::copy_file(ModulePath(), library, failed);
    }
    if (LoadLibraryA(library.string().c_str())) return;
    const auto error = static_cast<int>(GetLastError());
    throw zorhost::HostError("\"" + library.string() +
                             "\" cannot be loaded: " + std::system_category().message(error) +
                             "\nThe library lies in one folder with its settings.");
}

// The timers' thread is the system's own.
bool AfterTimers(void (*)()) { return false; }

std::uint64_t Microseconds() { return std::uint64_t{timeGetTime()} * 1000; }

// Who has a device open, Windows does not tell.
std::vector<std::string> UsersOfMidiInput(int) { return {}; }
std::vector<std::string> UsersOfMidiOutput(int) { return {}; }

// Windows tells windows only, so it is asked.
void WatchMidiDevices(std::function<void()> watcher) {
    static std::jthread asking;
    asking = {};
    if (!watcher) return;
    asking = std::jthread([watcher = std::move(watcher)](const std::stop_token& done) {
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

// By another thread than the dialog's.
bool CloseDialog() { return hostWindow && EnumWindows(Cancel, 0); }

std::string DialogError() { return ""; }

} // namespace machine
