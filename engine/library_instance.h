// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The loaded library itself: its handle, its ini file and its resources.
#pragma once

#include "platform/platform.h"

// The library's own handle, set when the system loads it; the strings and dialogs are loaded from
// it.
extern HINSTANCE ModuleInstance;

// Keeps the library's code loaded until the process ends, even if the host unloads it, since the
// system may have dispatched a callback that has not entered the library yet. Thread: host.
void PinLibrary();

// Full path of the ini file, in the library's folder. A bare file name until the first
// BuildIniPath.
extern char IniPath[260];
void BuildIniPath(); // Thread: host.

// The message that a dialog of the library posts to its parent when the user clicks Help, with the
// dialog's handle as second parameter. The dialog's user word (DWLP_USER) holds its resource
// number.
constexpr UINT HelpMessage = WM_USER;
