// What a program has drawn into a control.
#pragma once

#include "platform/system/gdi.h"

#include <vector>

namespace ui {

struct Canvas {
    // A pixel that nobody has drawn shows what the control itself looks like there.
    static constexpr COLORREF Untouched = 0xFFFFFFFF;

    Canvas(int width, int height);
    // Clipped to the canvas; right and bottom lie outside. An empty area fills nothing.
    void Fill(int left, int top, int right, int bottom, COLORREF colour);

    int Width, Height;
    std::vector<COLORREF> Pixels; // row by row from the top, 0x00BBGGRR
    unsigned Version = 0;         // grows with each change
};

} // namespace ui
