// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/registry/shared_object.h"

#include <dlfcn.h>

namespace device {

void* LoadFunction(const char* backEnd, const char* function, std::string& reason) {
    Dl_info self{};
    std::string path;
    if (dladdr(reinterpret_cast<void*>(&LoadFunction), &self) != 0 && self.dli_fname)
        path = self.dli_fname;
    path = path.substr(0, path.rfind('/') + 1) + "libzorbackend-" + backEnd +
           ".so." ZOR_BACK_END_VERSION;
    void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    void* const found = module ? dlsym(module, function) : nullptr;
    if (!found) reason = dlerror();
    return found;
}

} // namespace device
