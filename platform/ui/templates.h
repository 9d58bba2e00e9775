// The dialogs that modules have registered.
#pragma once

#include "platform/ui/template.h"

namespace ui {

// Null if the module has no such dialog.
const DialogTemplate* FindTemplate(HINSTANCE module, unsigned id);

} // namespace ui
