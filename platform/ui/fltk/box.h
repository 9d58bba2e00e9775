// Message boxes on the screen: dialogs of a sign, a text and an OK button.
#pragma once

#include "platform/ui/screen.h"

namespace ui {

int RunBox(Screen& screen, HWND owner, const char* text, const char* caption, UINT flags);

} // namespace ui
