// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The resources of a module: its strings and its dialog templates.
#pragma once

#include "platform/system/types.h"

#include <vector>

namespace ui {

// Positions and sizes are in dialog units: across a quarter of the font's average character width,
// down an eighth of its height.
struct ControlTemplate {
    const char* Text;
    int Id; // -1 for one that needs none
    const char* Class;
    DWORD Style;
    int X, Y, Width, Height;
};

struct DialogTemplate {
    int Id; // 0 for a message box
    const char* Caption;
    int X, Y, Width, Height;
    std::vector<ControlTemplate> Controls; // in the order of the Tab key
};

struct StringResource {
    UINT Id;
    const char* Text;
};

// A module's handle is the address of its resources.
struct Resources {
    std::vector<StringResource> Strings;
    std::vector<DialogTemplate> Dialogs;
};

inline const Resources& ResourcesOf(HINSTANCE module) {
    return *reinterpret_cast<const Resources*>(module);
}

} // namespace ui
