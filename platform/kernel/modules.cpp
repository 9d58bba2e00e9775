// Modules: where they lie, what they export and the strings that they carry.
#include "platform/virtual/modules.h"

#include "platform/system/kernel.h"
#include "platform/virtual/fault_point.h"
#include "platform/virtual/kernel.h"
#include "platform/virtual/power.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <strings.h>
#include <sys/auxv.h>
#include <vector>

namespace machine {
namespace {

struct OfferedModule {
    std::string Name;
    std::vector<ModuleExport> Exports;
    bool Offered; // can be loaded; one that is loaded already stays so without
    int Loads;
};

struct Modules {
    std::mutex Lock;
    std::string Path;
    std::map<HINSTANCE, std::vector<StringResource>> Strings;
    // Kept for the life of the process, since handles point here.
    std::vector<std::unique_ptr<OfferedModule>> Offered;
};

Modules& The() {
    static Modules& modules = *new Modules;
    return modules;
}

OfferedModule* FindByName(const Modules& modules, const char* name) {
    for (const auto& module : modules.Offered)
        if (strcasecmp(module->Name.c_str(), name) == 0) return module.get();
    return nullptr;
}

OfferedModule* FindByHandle(const Modules& modules, HMODULE handle) {
    for (const auto& module : modules.Offered)
        if (reinterpret_cast<HMODULE>(module.get()) == handle && module->Loads > 0)
            return module.get();
    return nullptr;
}

// The file that the given address was loaded from; null stands for the program itself.
std::string FileOf(const void* address) {
    std::error_code failed;
    const std::string program = std::filesystem::read_symlink("/proc/self/exe", failed).string();
    Dl_info module{}, self{};
    if (!address || dladdr(address, &module) == 0 || !module.dli_fname) return program;
    // The loader knows the program only by the name that it was called by.
    const auto entry = reinterpret_cast<const void*>(getauxval(AT_ENTRY));
    if (dladdr(entry, &self) != 0 && self.dli_fbase == module.dli_fbase) return program;
    const auto full = std::filesystem::canonical(module.dli_fname, failed);
    return failed ? module.dli_fname : full.string();
}

void Reset() {
    std::lock_guard lock(The().Lock);
    The().Path.clear();
    for (const auto& module : The().Offered) module->Loads = 0;
}
const AtPowerOn atPowerOn(Reset);

} // namespace

void SetModulePath(const std::string& path) {
    std::lock_guard lock(The().Lock);
    The().Path = path;
}

void RegisterStrings(HINSTANCE module, std::span<const StringResource> strings) {
    std::lock_guard lock(The().Lock);
    if (strings.empty())
        The().Strings.erase(module);
    else
        The().Strings[module].assign(strings.begin(), strings.end());
}

void OfferModule(const std::string& name, std::span<const ModuleExport> exports) {
    std::lock_guard lock(The().Lock);
    OfferedModule* module = FindByName(The(), name.c_str());
    if (!module) {
        The().Offered.push_back(std::make_unique<OfferedModule>());
        module = The().Offered.back().get();
        module->Name = name;
    }
    module->Exports.assign(exports.begin(), exports.end());
    module->Offered = true;
}

void WithdrawModule(const std::string& name) {
    std::lock_guard lock(The().Lock);
    if (OfferedModule* module = FindByName(The(), name.c_str())) module->Offered = false;
}

int LoadedModules() {
    std::lock_guard lock(The().Lock);
    int loads = 0;
    for (const auto& module : The().Offered) loads += module->Loads;
    return loads;
}

} // namespace machine

using namespace machine;

DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size) {
    if (!path || size == 0) return 0;
    std::string file;
    {
        std::lock_guard lock(The().Lock);
        file = The().Path;
    }
    if (file.empty()) file = FileOf(module);
    const auto length = std::min<std::size_t>(file.size(), size - 1);
    std::memcpy(path, file.data(), length);
    path[length] = '\0';
    return static_cast<DWORD>(file.size() < size ? length : size); // size itself tells of a cut
}

BOOL GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module) {
    constexpr DWORD known = GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS;
    Dl_info found{};
    if (flags != known || !module || dladdr(address, &found) == 0) return FALSE;
    *module = reinterpret_cast<HMODULE>(found.dli_fbase);
    // Null for the program itself, which is never unloaded.
    if (void* const self = dlopen(found.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE))
        dlclose(self);
    return TRUE;
}

HMODULE LoadLibraryA(LPCSTR name) {
    if (const auto failure = OrderedFailure(Call::LoadLibraryA))
        return reinterpret_cast<HMODULE>(*failure);
    if (!name) return nullptr;
    std::lock_guard lock(The().Lock);
    OfferedModule* const module = FindByName(The(), name);
    if (!module || (!module->Offered && module->Loads == 0)) return nullptr;
    ++module->Loads;
    return reinterpret_cast<HMODULE>(module);
}

FARPROC GetProcAddress(HMODULE handle, LPCSTR name) {
    if (const auto failure = OrderedFailure(Call::GetProcAddress))
        return reinterpret_cast<FARPROC>(*failure);
    if (!name) return nullptr;
    std::lock_guard lock(The().Lock);
    const OfferedModule* const module = FindByHandle(The(), handle);
    if (!module) return nullptr;
    for (const ModuleExport& entry : module->Exports)
        if (std::strcmp(entry.Name, name) == 0) return entry.Address;
    return nullptr;
}

BOOL FreeLibrary(HMODULE handle) {
    std::lock_guard lock(The().Lock);
    OfferedModule* const module = FindByHandle(The(), handle);
    if (!module) return FALSE;
    --module->Loads;
    return TRUE;
}

int LoadStringA(HINSTANCE module, UINT id, LPSTR buffer, int size) {
    if (!buffer || size <= 0) return 0;
    buffer[0] = '\0';
    std::lock_guard lock(The().Lock);
    const auto strings = The().Strings.find(module);
    if (strings == The().Strings.end()) return 0;
    for (const StringResource& entry : strings->second) {
        if (entry.Id != id) continue;
        const std::size_t length =
            std::min(std::strlen(entry.Text), static_cast<std::size_t>(size - 1));
        std::memcpy(buffer, entry.Text, length);
        buffer[length] = '\0';
        return static_cast<int>(length);
    }
    return 0;
}
