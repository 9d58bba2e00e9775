// Modules: where the library seems to lie, and what system modules there are.
#pragma once

#include "platform/system/kernel.h"

#include <span>
#include <string>

namespace machine {

// What GetModuleFileNameA answers for the library, so that its ini file lies in a folder of the
// caller's choice. Empty, as at load: one in the user's folder for settings, where every host finds
// the same file: zormidi/ in $XDG_CONFIG_HOME if that is an absolute path, else in ~/.config. The
// folder is made when something is stored.
void SetModulePath(const std::string& path);
// That answer.
std::string ModulePath();

struct ModuleExport {
    const char* Name;
    FARPROC Address;
};
// The one system module that LoadLibraryA finds, by its name without regard to case, and what
// GetProcAddress finds in it. Null: there is none; whoever has it keeps it. The exports stay the
// caller's. PowerOn changes nothing here.
void OfferModule(const char* name, std::span<const ModuleExport> exports);

} // namespace machine
