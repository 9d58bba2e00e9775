#include "platform/ui/canvas.h"

#include <algorithm>
#include <cstddef>

namespace ui {

Canvas::Canvas(int width, int height)
    : Width(std::max(width, 0)), Height(std::max(height, 0)),
      Pixels(static_cast<std::size_t>(Width) * static_cast<std::size_t>(Height), Untouched) {}

void Canvas::Fill(int left, int top, int right, int bottom, COLORREF colour) {
    left = std::max(left, 0);
    right = std::min(right, Width);
    for (int y = std::max(top, 0); y < std::min(bottom, Height); ++y) {
        const auto row = Pixels.begin() + static_cast<std::ptrdiff_t>(y) * Width;
        if (left < right) std::fill(row + left, row + right, colour & 0x00FFFFFF);
    }
    ++Version;
}

} // namespace ui
