// The message box of those who have no window of their own.
#pragma once

#include "platform/platform.h"
#include "support/text_string.h"

namespace Sonorel {

// Shows text under caption, without an owner, on top of everything even with the host in the
// background, and returns when the user has answered. flags: MB_ buttons and icon. Thread: the
// host's.
void ShowErrorBox(const TextString& text, const TextString& caption, UINT flags);

// Tells the user of a dialog that what was chosen lasts only until the dialog reads the settings
// again or the program ends, since file cannot be written. Thread: the host's.
void TellUnwritten(HWND dialog, const char* caption, const char* file);

} // namespace Sonorel
