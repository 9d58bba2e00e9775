// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "engine/library_instance.h"

#include <cstddef>
#include <cstring>

HINSTANCE ModuleInstance = nullptr;
char IniPath[260] = "ZORMIDI.INI";

namespace {

// Appends the text to IniPath, cut at its size.
void Append(const char* text) {
    const std::size_t used = std::strlen(IniPath);
    std::strncat(IniPath, text, sizeof IniPath - used - 1);
}

} // namespace

void PinLibrary() {
    HMODULE library = nullptr;
    GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCSTR>(&ModuleInstance), &library);
}

void BuildIniPath() {
    char library[MAX_PATH] = "";
    char drive[_MAX_DRIVE] = "";
    char directory[_MAX_DIR] = "";
    GetModuleFileNameA(ModuleInstance, library, MAX_PATH);
    library[MAX_PATH - 1] = 0; // a path longer than the buffer may lack its terminator
    _splitpath(library, drive, directory, nullptr, nullptr);
    IniPath[0] = 0;
    Append(drive);
    Append(directory);
    Append("ZORMIDI.INI");
}
