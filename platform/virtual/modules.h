// Modules: where a library seems to lie, and the resources that it carries.
#pragma once

#include "platform/system/kernel.h"

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
// Called by a module as it is loaded, with its handle and its string table, and without strings as
// it is unloaded. The texts stay the module's. A module's handle is the address of something in it,
// from which GetModuleFileNameA finds its file.
void RegisterStrings(HINSTANCE module, std::span<const StringResource> strings);

// A system module that LoadLibraryA finds by name, without regard to case, and what GetProcAddress
// finds in it. Withdrawn, it cannot be loaded any more; whoever has it keeps it. Offering it again
// replaces its exports. PowerOn changes nothing here but drops all loads.
struct ModuleExport {
    const char* Name;
    FARPROC Address;
};
void OfferModule(const std::string& name, std::span<const ModuleExport> exports);
void WithdrawModule(const std::string& name);

} // namespace machine
