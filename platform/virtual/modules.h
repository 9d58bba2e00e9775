// Modules: where a library seems to lie, and the resources that it carries.
#pragma once

#include "platform/system/types.h"

#include <span>
#include <string>

namespace machine {

// What GetModuleFileNameA answers for the library, so that its ini file lies in a folder of the
// caller's choice. Empty: where the library really lies.
void SetModulePath(const std::string& path);

struct StringResource {
    unsigned Id;
    const char* Text;
};
// Called by a module as it is loaded: its handle and its string table, which it keeps.
void RegisterStrings(HINSTANCE module, std::span<const StringResource> strings);

} // namespace machine
