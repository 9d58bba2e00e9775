// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The back ends that reach the computer's devices are shared objects of their own beside this
// library, so that only programs that use such devices need the libraries that lead to them.
#pragma once

#include <string>

namespace device {

// Loads the shared object libzorbackend-NAME beside this library, for the life of the process since
// it may run threads, and returns its function of that name. Null, with the reason, if the object
// or a library that it needs is not installed, or if it is of another version than this library,
// after an upgrade. Thread: any. Real time: no.
void* LoadFunction(const char* backEnd, const char* function, std::string& reason);

// Whether the shared object libzorbackend-NAME stands beside this library.
bool IsBackEndInstalled(const char* backEnd);
// Whether a library of that file name stands in a folder in which the system looks for this
// library's own ones.
bool IsLibraryInstalled(const char* library);

} // namespace device
