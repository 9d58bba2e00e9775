// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Drawing into a control.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

PLATFORM_HANDLE(HDC);
PLATFORM_HANDLE(HBRUSH);
PLATFORM_HANDLE(HPEN);
using HGDIOBJ = void*;
using COLORREF = DWORD; // 0x00BBGGRR; a top byte of 2 means the nearest palette colour

constexpr int COLOR_BTNFACE = 15;
DWORD GetSysColor(int index);

// Null if the window does not exist. Each DC starts with a white brush and a black pen.
HDC GetDC(HWND window);
int ReleaseDC(HWND window, HDC dc);
HBRUSH CreateSolidBrush(COLORREF colour);
constexpr int PS_SOLID = 0;
constexpr int PS_NULL = 5;
HPEN CreatePen(int style, int width, COLORREF colour);
// Returns the object of that kind that was selected before.
HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
// Must not be called while the object is selected into a DC.
BOOL DeleteObject(HGDIOBJ object);
// Draws the outline with the pen and fills the inside with the brush. right and bottom are
// exclusive; with PS_NULL there is no outline, and the area is one pixel smaller at the right and
// the bottom.
BOOL Rectangle(HDC dc, int left, int top, int right, int bottom);

} // namespace zorsystem
