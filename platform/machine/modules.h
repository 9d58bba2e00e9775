// Modules: where the library seems to lie, and what system modules there are. Thread: the one that
// steers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace machine {

// The file that the library seems to be, so that its ini file lies in a folder of the caller's
// choice. Empty, as at load: one in the user's folder for settings, where every host finds
// the same file: zormidi/ in $XDG_CONFIG_HOME if that is an absolute path, else in ~/.config, where
// ~ is $HOME or, without it, the user's home in the password database. The folder is made when
// something is stored.
void SetModulePath(const std::string& path);
// That answer.
std::string ModulePath();

// The one system module that the library can load, by its name without regard to case, and what
// finds its functions by theirs: null for one that it has not. A null name: there is none; whoever
// has it keeps it. PowerOn changes nothing here.
using ModuleFunction = std::intptr_t (*)();
void OfferModule(const char* name, ModuleFunction (*find)(std::string_view function));

} // namespace machine
