// Dialog templates, as a module registers them.
#pragma once

#include "platform/system/types.h"

#include <span>

namespace ui {

// Places are in dialog units: a quarter of the font's average width, an eighth of its height.
struct ControlTemplate {
    const char* Text;
    int Id; // -1 for one that nobody asks for
    const char* Class;
    DWORD Style;
    int X, Y, Width, Height;
};

struct DialogTemplate {
    int Id = 0;
    const char* Caption = "";
    DWORD Style = 0;
    int X = 0, Y = 0, Width = 0, Height = 0;
    int Points = 0; // of the font
    const char* Font = "";
    std::span<const ControlTemplate> Controls{}; // in the order of the Tab key
};

} // namespace ui
