// What every subsystem needs of the library's own module.
#pragma once

#include "platform/platform.h"

// The library's module handle, kept from the load notification: source of its strings and dialogs.
extern HINSTANCE ModuleInstance;

// Keeps the library's code where it is until the process ends, even if the host unloads it: a
// callback that the system has dispatched and not yet entered must find it. Thread: host.
void PinModule();

// Full path of the ini file, beside the library. The bare name before the first MIDISysInit.
extern char IniPath[260];

// What a dialog of the library posts to its parent for Help, with its own handle as second
// parameter. The dialog's user word, where its resource number stands, tells the host which it is.
constexpr UINT HelpMessage = WM_USER;
