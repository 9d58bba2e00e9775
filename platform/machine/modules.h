// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Modules: the path that the library reports, and the system module that it can load. Thread: the
// steering one.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace machine {

// Sets the path that GetModuleFileNameA returns for the library, whose ini file is beside it.
// Empty, as at load: a path in the user's folder for settings, the same for every host: zormidi/ in
// $XDG_CONFIG_HOME if that is an absolute path, else in ~/.config, where ~ is $HOME or, without it,
// the user's home in the password database. The folder is created when a setting is stored.
void SetModulePath(const std::string& path);
// The path in use.
std::string ModulePath();

// Sets the one system module that the library can load: its name, compared without case, and a
// function that finds the module's functions by name, null for unknown ones. A null name: the
// module cannot be loaded any more; callers that have loaded it keep it. PowerOn does not reset
// this.
using ModuleFunction = std::intptr_t (*)();
void OfferModule(const char* name, ModuleFunction (*find)(std::string_view function));

} // namespace machine
