// Modules' resources: their strings and dialogs, as tables.
#pragma once

#include "platform/ui/template.h"

#include <span>

namespace machine {

struct StringResource {
    unsigned Id;
    const char* Text;
};

struct Resources {
    std::span<const StringResource> Strings;
    std::span<const ui::DialogTemplate> Dialogs;
};

// Called by a module as it is loaded, with its handle. The tables stay the module's.
void AttachModule(HINSTANCE module, const Resources& resources);
// Called as it is unloaded.
void DetachModule(HINSTANCE module);

// The resources of this module; empty tables if it is not attached.
Resources ResourcesOf(HINSTANCE module);

} // namespace machine
