// Drawing: device contexts on the canvases of controls, brushes and pens.
#include "platform/system/gdi.h"

#include "platform/machine/fault_point.h"
#include "platform/ui/dialog.h"
#include "platform/ui/handles.h"
#include "platform/virtual/dialogs.h"

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

namespace zorsystem {

namespace {

struct Object {
    enum { Brush, Pen } What;
    int Style; // of a pen
    COLORREF Colour;
    int Selections = 0; // device contexts that have it
};

struct Context {
    HWND Window;
    Object* Brush;
    Object* Pen;
};

// What every context begins with. Never deleted.
Object whiteBrush{Object::Brush, 0, 0x00FFFFFF};
Object blackPen{Object::Pen, PS_SOLID, 0};

// Dialogs draw on the thread that shows them.
thread_local std::map<const void*, std::unique_ptr<Object>> objects;
thread_local std::map<const void*, std::unique_ptr<Context>> contexts;

Object* ObjectOf(const void* handle) {
    if (handle == &whiteBrush) return &whiteBrush;
    if (handle == &blackPen) return &blackPen;
    const auto found = objects.find(handle);
    return found == objects.end() ? nullptr : found->second.get();
}

Context* ContextOf(HDC dc) {
    const auto found = contexts.find(dc);
    return found == contexts.end() ? nullptr : found->second.get();
}

template <typename Handle>
Handle Keep(std::unique_ptr<Object> object) {
    Object* key = object.get();
    objects.emplace(key, std::move(object));
    return reinterpret_cast<Handle>(key);
}

COLORREF faceColour = ui::Metrics().Face;

ui::Canvas& CanvasOf(ui::Control& control) {
    if (!control.Picture)
        control.Picture = std::make_unique<ui::Canvas>(control.Place.Width, control.Place.Height);
    return *control.Picture;
}

} // namespace

DWORD GetSysColor(int index) { return index == COLOR_BTNFACE ? faceColour : 0; }

HDC GetDC(HWND window) {
    if (const auto failure = machine::OrderedFailure(machine::Call::GetDC))
        return reinterpret_cast<HDC>(*failure);
    const ui::Target target = ui::Resolve(window);
    if (!target.Item) return nullptr;
    faceColour = target.Owner->Look.Face;
    auto context = std::make_unique<Context>(Context{window, &whiteBrush, &blackPen});
    Context* key = context.get();
    contexts.emplace(key, std::move(context));
    return reinterpret_cast<HDC>(key);
}

int ReleaseDC(HWND, HDC dc) {
    Context* context = ContextOf(dc);
    if (!context) return 0;
    --context->Brush->Selections;
    --context->Pen->Selections;
    contexts.erase(dc);
    return 1;
}

HBRUSH CreateSolidBrush(COLORREF colour) {
    return Keep<HBRUSH>(std::make_unique<Object>(Object{Object::Brush, 0, colour}));
}

HPEN CreatePen(int style, int, COLORREF colour) {
    return Keep<HPEN>(std::make_unique<Object>(Object{Object::Pen, style, colour}));
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ handle) {
    Context* context = ContextOf(dc);
    Object* object = ObjectOf(handle);
    if (!context || !object) return nullptr;
    Object*& slot = object->What == Object::Brush ? context->Brush : context->Pen;
    --slot->Selections;
    ++object->Selections;
    return std::exchange(slot, object);
}

BOOL DeleteObject(HGDIOBJ handle) {
    const auto found = objects.find(handle);
    if (found == objects.end() || found->second->Selections > 0) return FALSE;
    objects.erase(found);
    return TRUE;
}

BOOL Rectangle(HDC dc, int left, int top, int right, int bottom) {
    const Context* context = ContextOf(dc);
    const ui::Target target = context ? ui::Resolve(context->Window) : ui::Target();
    if (!target.Item) return FALSE;
    ui::Canvas& canvas = CanvasOf(*target.Item);
    if (left > right) std::swap(left, right);
    if (top > bottom) std::swap(top, bottom);
    if (left == right || top == bottom) return TRUE;
    if (context->Pen->Style == PS_NULL) {
        canvas.Fill(left, top, right - 1, bottom - 1, context->Brush->Colour);
        return TRUE;
    }
    canvas.Fill(left, top, right, bottom, context->Pen->Colour);
    canvas.Fill(left + 1, top + 1, right - 1, bottom - 1, context->Brush->Colour);
    return TRUE;
}

} // namespace zorsystem

int machine::DrawingObjects() { return static_cast<int>(objects.size() + contexts.size()); }
