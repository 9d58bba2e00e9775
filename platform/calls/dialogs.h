// The dialog that a thread is showing.
#pragma once

#include "platform/api/screen.h"

namespace machine {

// Shows a dialog on the screen until it ends. Thread: the dialog's.
INT_PTR RunDialog(Screen& screen, ui::Dialog& dialog, LPARAM init);

// The screen that the calling thread is showing a dialog on; null if it shows none.
Screen* ScreenHere();

} // namespace machine
