// Dialogs, as a host that shows them steers them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace machine {

// Why the last dialog could not be shown; empty if it could. Thread: the dialog's.
std::string DialogError();

// Closes the dialog that is open, as by its close box, once it gets to it. False if there is none.
// Thread: any.
bool CloseDialog();

// A window of the host, for the parent of a dialog: hears what dialogs post to it, while one is
// open, on the thread that shows it. Thread: any.
using WindowProcedure =
    std::function<void(unsigned message, std::uintptr_t first, std::intptr_t second)>;
void* CreateHostWindow(WindowProcedure procedure);
void DestroyHostWindow(void* window);

} // namespace machine
