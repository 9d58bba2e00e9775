// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/registry/shared_object.h"

#include <cstddef>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <memory>

namespace device {
namespace {

std::string PathOfThisLibrary() {
    Dl_info self{};
    const bool found = dladdr(reinterpret_cast<void*>(&LoadFunction), &self) != 0;
    return found && self.dli_fname ? self.dli_fname : "";
}

std::string PathOf(const char* backEnd) {
    const std::string self = PathOfThisLibrary();
    return self.substr(0, self.rfind('/') + 1) + "libzorbackend-" + backEnd +
           ".so." ZOR_BACK_END_VERSION;
}

} // namespace

void* LoadFunction(const char* backEnd, const char* function, std::string& reason) {
    void* const module = dlopen(PathOf(backEnd).c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    void* const found = module ? dlsym(module, function) : nullptr;
    if (!found) {
        reason = dlerror();
        return nullptr;
    }
    const auto* const version = static_cast<const char*>(dlsym(module, "ZorBackEndVersion"));
    if (version && std::strcmp(version, ZOR_VERSION_TEXT) == 0) return found;
    reason = "It was upgraded while this program ran. Start the program again.";
    return nullptr;
}

bool IsBackEndInstalled(const char* backEnd) {
    std::error_code ignored;
    return std::filesystem::exists(PathOf(backEnd), ignored);
}

bool IsLibraryInstalled(const char* library) {
    void* const self = dlopen(PathOfThisLibrary().c_str(), RTLD_LAZY | RTLD_NOLOAD);
    Dl_serinfo size{};
    if (!self || dlinfo(self, RTLD_DI_SERINFOSIZE, &size) != 0) return false;
    const auto memory = std::make_unique<std::byte[]>(size.dls_size);
    auto* const folders = reinterpret_cast<Dl_serinfo*>(memory.get());
    bool found = false;
    if (dlinfo(self, RTLD_DI_SERINFOSIZE, folders) == 0 &&
        dlinfo(self, RTLD_DI_SERINFO, folders) == 0) {
        for (unsigned i = 0; i < folders->dls_cnt && !found; ++i) {
            std::error_code ignored;
            const std::filesystem::path folder = folders->dls_serpath[i].dls_name;
            found = std::filesystem::exists(folder / library, ignored);
        }
    }
    dlclose(self);
    return found;
}

} // namespace device
