// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The input level meter: bars from the bottom up, blue, then green, then red.
#include "setup/tonequill.h"

#include <algorithm>

namespace {

constexpr int Full = 128;            // number of levels over the whole height
constexpr int Loud = 110, Good = 35; // lowest levels of red and of green
constexpr COLORREF Red = 0x020000FF, Green = 0x02008000, Blue = 0x02FF0000;

// Converts levels to vertical positions in pixels.
struct Scale {
    explicit Scale(const RECT& area) : Top(static_cast<int>(area.top)) {
        Height = static_cast<int>(area.bottom - area.top);
    }
    int Y(int level) const { return Top + Height - level * Height / Full; }
    int Top, Height;
};

// Selects a drawing object for its lifetime, then deletes it.
class SelectedObject {
public:
    SelectedObject(HDC dc, HGDIOBJ object)
        : Dc(dc), Object(object), Previous(SelectObject(dc, object)) {}
    ~SelectedObject() {
        SelectObject(Dc, Previous);
        DeleteObject(Object);
    }
    SelectedObject(const SelectedObject&) = delete;
    SelectedObject& operator=(const SelectedObject&) = delete;

private:
    HDC Dc;
    HGDIOBJ Object, Previous;
};

void Blank(HDC dc, const RECT& area, int bottom) {
    const COLORREF face = GetSysColor(COLOR_BTNFACE);
    const SelectedObject brush(dc, CreateSolidBrush(face));
    const SelectedObject pen(dc, CreatePen(PS_NULL, 1, face));
    Rectangle(dc, static_cast<int>(area.left) + 1, static_cast<int>(area.top) + 1,
              static_cast<int>(area.right), bottom);
}

COLORREF BarColour(const Scale& scale, int bottom) {
    if (bottom <= scale.Y(Loud)) return Red;
    return bottom <= scale.Y(Good) ? Green : Blue;
}

void Paint(HDC dc, const RECT& area, int level) {
    const Scale scale(area);
    const int step = scale.Height * 4 / Full, bar = step * 3 / 4;
    const int top = scale.Y(level);
    Blank(dc, area, top);
    if (step < 1) return; // no room for bars
    for (int bottom = static_cast<int>(area.bottom); bottom > top; bottom -= step) {
        const SelectedObject brush(dc, CreateSolidBrush(BarColour(scale, bottom)));
        Rectangle(dc, static_cast<int>(area.left), bottom - bar, static_cast<int>(area.right),
                  bottom);
    }
}

} // namespace

void PaintMeter(HWND control, std::int32_t level) {
    const HDC dc = GetDC(control);
    if (!dc) return;
    RECT area = {};
    GetClientRect(control, &area);
    Paint(dc, area, std::clamp<int>(level, 0, Full - 1));
    ReleaseDC(control, dc);
}
