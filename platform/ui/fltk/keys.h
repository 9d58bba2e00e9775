// From the display's keys to those of dialogs.
#pragma once

#include "platform/ui/dialog.h"

namespace ui {

// Gives the present key event to the dialog, whose focus is on the control (null: on none). False
// if it means nothing to it; a field then has it for itself.
bool TakeKey(Dialog& dialog, const Control* focus);

// Whether the present key event opens a list.
bool OpensList();

} // namespace ui
