// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The module calls: the path and the resources of the library, and the one system module that it
// may load.
#include "platform/machine/modules.h"

#include "platform/calls/text_buffer.h"
#include "platform/common/immortal_singleton.h"
#include "platform/machine/faults.h"
#include "platform/machine/power.h"
#include "platform/system/kernel.h"
#include "platform/ui/template.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <mutex>
#include <pwd.h>
#include <strings.h>
#include <unistd.h>

namespace calls {
namespace {

struct Modules {
    std::mutex Lock;
    std::string Path;
    const char* SystemName = nullptr; // the system module's handle is the address of this member
    machine::ModuleFunction (*Find)(std::string_view function) = nullptr;
};
Modules& State() { return common::ImmortalSingleton<Modules>(); }

HMODULE SystemHandle() { return reinterpret_cast<HMODULE>(&State().SystemName); }

// $HOME. Without it, as in a service or a cron job, the folder in the password database; the root
// folder for a user who is not in the database.
std::filesystem::path HomeFolder() {
    const char* const home = std::getenv("HOME");
    if (home && *home) return home;
    std::array<char, 4096> text; // of the entry
    passwd entry{};
    passwd* found = nullptr;
    getpwuid_r(getuid(), &entry, text.data(), text.size(), &found);
    return found && *found->pw_dir ? found->pw_dir : "/";
}

const machine::AtPowerOn atPowerOn([] { machine::SetModulePath({}); });

} // namespace
} // namespace calls

namespace machine {

using namespace calls;

void SetModulePath(const std::string& path) {
    const std::scoped_lock lock(State().Lock);
    State().Path = path;
}

std::string ModulePath() {
    const std::scoped_lock lock(State().Lock);
    if (!State().Path.empty()) return State().Path;
    const char* config = std::getenv("XDG_CONFIG_HOME");
    const std::filesystem::path folder =
        config && *config == '/' ? std::filesystem::path(config) : HomeFolder() / ".config";
    return folder / "zormidi" / "libzormidi.so";
}

void OfferModule(const char* name, ModuleFunction (*find)(std::string_view function)) {
    const std::scoped_lock lock(State().Lock);
    State().SystemName = name;
    if (name) State().Find = find;
}

} // namespace machine

namespace zorsystem {

using namespace calls;
using namespace machine;

DWORD GetModuleFileNameA(HMODULE, LPSTR path, DWORD size) {
    const std::string file = ModulePath();
    const std::size_t length = CopyText(file, path, size);
    return length == file.size() ? static_cast<DWORD>(length) : size; // size means: cut
}

// The module of that address, which is never unloaded from now on.
BOOL GetModuleHandleExA(DWORD /*flags*/, LPCSTR address, HMODULE* module) {
    Dl_info found{};
    if (dladdr(address, &found) == 0) return FALSE;
    *module = reinterpret_cast<HMODULE>(found.dli_fbase);
    // Null for the program itself, which is never unloaded.
    if (void* const self = dlopen(found.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE))
        dlclose(self);
    return TRUE;
}

void _splitpath(const char* path, char* drive, char* directory, char* /*name*/,
                char* /*extension*/) {
    const std::string_view whole = path;
    CopyText({}, drive, _MAX_DRIVE);
    CopyText(whole.substr(0, whole.rfind('/') + 1), directory, _MAX_DIR);
}

HMODULE LoadLibraryA(LPCSTR name) {
    if (const Failure failure{Call::LoadLibraryA}) return failure;
    const std::scoped_lock lock(State().Lock);
    const char* const offered = State().SystemName;
    return offered && strcasecmp(offered, name) == 0 ? SystemHandle() : nullptr;
}

FARPROC GetProcAddress(HMODULE /*module*/, LPCSTR name) {
    if (const Failure failure{Call::GetProcAddress}) return failure;
    const std::scoped_lock lock(State().Lock);
    return State().Find(name);
}

BOOL FreeLibrary(HMODULE /*module*/) { return TRUE; }

int LoadStringA(HINSTANCE module, UINT id, LPSTR buffer, int size) {
    buffer[0] = '\0';
    for (const ui::StringResource& entry : ui::ResourcesOf(module).Strings)
        if (entry.Id == id)
            return static_cast<int>(CopyText(entry.Text, buffer, static_cast<std::size_t>(size)));
    return 0;
}

} // namespace zorsystem
