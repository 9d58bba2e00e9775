// What stands on the window itself: groups, labels and signs.
#include "platform/system/controls.h"
#include "platform/ui/fltk/faces.h"
#include "platform/ui/fltk/look.h"

#include <FL/fl_draw.H>
#include <algorithm>
#include <cstdlib>

namespace ui {

using namespace look;

namespace {

Align AlignOf(const Control& label) {
    switch (label.Style & SS_TYPEMASK) {
    case SS_CENTER:
        return Align::Centre;
    case SS_RIGHT:
        return Align::Right;
    default:
        return Align::Left;
    }
}

// Most of the label's height lies beside the other.
bool SameLine(const Box& label, const Box& other) {
    const int top = std::max(label.Top, other.Top);
    const int bottom = std::min(label.Top + label.Height, other.Top + other.Height);
    return bottom - top > label.Height / 2;
}

// The field or list that a label stands before: their texts are to share a baseline.
const Control* Beside(const Control& label, const Dialog& dialog) {
    const Control* nearest = nullptr;
    const int right = label.Place.Left + label.Place.Width;
    for (const auto& control : dialog.Controls) {
        if (!control->Is(Kind::Edit) && !control->Is(Kind::List)) continue;
        const bool beside = control->Place.Left >= right && SameLine(label.Place, control->Place) &&
                            control->Place.Left - right < label.Place.Width;
        if (beside && (!nearest || control->Place.Left < nearest->Place.Left))
            nearest = control.get();
    }
    return nearest;
}

} // namespace

void DrawText(const Control& label, const Dialog& dialog) {
    const Rgb ink = label.Enabled ? Ink : Dim;
    if (const Control* partner = Beside(label, dialog)) {
        Box box = label.Place;
        box.Top = partner->Place.Top;
        box.Height = partner->Place.Height;
        return DrawLabel(label.Text, box, AlignOf(label), false, ink);
    }
    DrawLabel(label.Text, label.Place, AlignOf(label), true, ink);
}

// The frame's upper line runs through the middle of the title.
void DrawGroup(const Control& group, const Dialog&) {
    const Box& box = group.Place;
    const int drop = LineHeight() / 2, line = Line();
    Picture frame(box.Width, box.Height - drop, look::Ground);
    frame.Framed(0, 0, box.Width, box.Height - drop, 4 * line, look::Ground, Groove, line);
    frame.Draw(box.Left, box.Top + drop);
    if (group.Text.empty()) return;
    const int indent = Scaled(8), pad = Scaled(3), width = LabelWidth(group.Text);
    FillBox({box.Left + indent - pad, box.Top + drop, width + 2 * pad, line}, look::Ground);
    DrawLabel(group.Text, {box.Left + indent, box.Top, width + pad, LineHeight()}, Align::Left,
              false, group.Enabled ? Ink : Dim);
}

// An exclamation mark in a triangle.
void DrawIcon(const Control& icon) {
    const int side = std::min(icon.Place.Width, icon.Place.Height);
    Picture picture(side, side, look::Ground);
    const double unit = side / 32.0;
    constexpr Rgb amber = 0xF2B705, dark = 0x40310A;
    for (double row = 0; row <= 1; row += 0.02) // narrow at the top, wide at the bottom
        picture.Stroke(16 * unit - 11.5 * unit * row, (5 + 21 * row) * unit,
                       16 * unit + 11.5 * unit * row, (5 + 21 * row) * unit, 4 * unit, amber);
    picture.Stroke(16 * unit, 11.5 * unit, 16 * unit, 18.5 * unit, 3 * unit, dark);
    picture.Disc(16 * unit, 23.5 * unit, 1.9 * unit, dark);
    picture.Draw(icon.Place.Left, icon.Place.Top);
}

} // namespace ui
