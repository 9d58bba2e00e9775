// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Called by the system when it loads the library. Must do little, since the loader lock is held.
#include "engine/library_instance.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) ModuleInstance = module;
    return TRUE;
}
