// Drawing into a control.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

PLATFORM_HANDLE(HDC);
PLATFORM_HANDLE(HBRUSH);
PLATFORM_HANDLE(HPEN);
using HGDIOBJ = void*;
using COLORREF = DWORD; // 0x00BBGGRR; a top byte of 2 asks for the nearest palette colour

constexpr int COLOR_BTNFACE = 15;
DWORD GetSysColor(int index);

// Null if the window is none of ours. Each DC starts with a white brush and a black pen.
HDC GetDC(HWND window);
int ReleaseDC(HWND window, HDC dc);
HBRUSH CreateSolidBrush(COLORREF colour);
constexpr int PS_SOLID = 0;
constexpr int PS_NULL = 5;
HPEN CreatePen(int style, int width, COLORREF colour);
// Gives the object of that kind that was selected before.
HGDIOBJ SelectObject(HDC dc, HGDIOBJ object);
// Not while it is selected into a DC.
BOOL DeleteObject(HGDIOBJ object);
// Outline in the pen, inside in the brush. right and bottom lie outside; with PS_NULL there is no
// outline, and one pixel less at the right and at the bottom.
BOOL Rectangle(HDC dc, int left, int top, int right, int bottom);

} // namespace zorsystem
