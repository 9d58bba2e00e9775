// The module's resources: its strings and its dialogs, as tables.
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

// Called by the module as it is loaded, with its handle: the address of something in it, from which
// GetModuleFileNameA finds its file. The tables stay the module's. Of two modules the later counts.
void AttachModule(HINSTANCE module, const Resources& resources);
// Called by the module as it is unloaded.
void DetachModule(HINSTANCE module);

// The resources of this module; empty tables if it is not attached.
Resources ResourcesOf(HINSTANCE module);

} // namespace machine
