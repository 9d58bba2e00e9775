// Modules: where the library seems to lie, and what system modules there are. Thread: the one that
// steers.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace machine {

// The file that the library seems to be, so that its ini file lies in a folder of the caller's
// choice. Empty, as at load: one in the user's folder for settings, where every host finds
// the same file: zormidi/ in $XDG_CONFIG_HOME if that is an absolute path, else in ~/.config. The
// folder is made when something is stored.
void SetModulePath(const std::string& path);
// That answer.
std::string ModulePath();

struct ModuleExport {
    const char* Name;
    std::intptr_t (*Address)();
};
// The one system module that the library can load, by its name without regard to case, and the
// functions that it finds in it. Null: there is none; whoever has it keeps it. The exports stay the
// caller's. PowerOn changes nothing here.
void OfferModule(const char* name, std::span<const ModuleExport> exports);

} // namespace machine
