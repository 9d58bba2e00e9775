// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Drawing into controls. A handle is the object itself.
#include "platform/machine/faults.h"
#include "platform/system/gdi.h"
#include "platform/ui/control.h"
#include "platform/ui/windows.h"

#include <utility>

namespace zorsystem {

namespace {

struct Object {
    enum { Brush, Pen } Type;
    int Style; // of a pen
    COLORREF Colour;
};

// Every context begins with these.
Object whiteBrush{Object::Brush, 0, 0x00FFFFFF};
Object blackPen{Object::Pen, PS_SOLID, 0};

struct Context {
    ui::Canvas& Picture;
    Object* Brush = &whiteBrush;
    Object* Pen = &blackPen;
};

Context& ContextOf(HDC dc) { return *reinterpret_cast<Context*>(dc); }

} // namespace

DWORD GetSysColor(int index) { return index == COLOR_BTNFACE ? ui::FaceColour : 0; }

HDC GetDC(HWND window) {
    if (const machine::Failure failure{machine::Call::GetDC}) return failure;
    ui::Control* control = ui::Resolve(window).Item;
    if (!control) return nullptr;
    ui::Canvas& picture = control->Picture;
    if (picture.Width == 0) picture = ui::Canvas(control->Place.Width, control->Place.Height);
    return reinterpret_cast<HDC>(new Context{picture});
}

int ReleaseDC(HWND, HDC dc) {
    delete &ContextOf(dc);
    return 1;
}

HBRUSH CreateSolidBrush(COLORREF colour) {
    return reinterpret_cast<HBRUSH>(new Object{Object::Brush, 0, colour});
}
HPEN CreatePen(int style, int, COLORREF colour) {
    return reinterpret_cast<HPEN>(new Object{Object::Pen, style, colour});
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ handle) {
    auto* object = static_cast<Object*>(handle);
    return std::exchange(object->Type == Object::Brush ? ContextOf(dc).Brush : ContextOf(dc).Pen,
                         object);
}

BOOL DeleteObject(HGDIOBJ handle) {
    delete static_cast<Object*>(handle);
    return TRUE;
}

BOOL Rectangle(HDC dc, int left, int top, int right, int bottom) {
    const Context& context = ContextOf(dc);
    const int line = context.Pen->Style == PS_NULL ? 0 : 1;
    if (line) context.Picture.Fill(left, top, right, bottom, context.Pen->Colour);
    context.Picture.Fill(left + line, top + line, right - 1, bottom - 1, context.Brush->Colour);
    return TRUE;
}

} // namespace zorsystem
