// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Widgets that take no input: groups, labels, icons and frames.
#include "platform/backends/fltk/widgets.h"

#include <FL/Fl_Group.H>
#include <FL/fl_draw.H>
#include <algorithm>
#include <cstdlib>

namespace ui {
namespace {

using look::Picture;

class StaticWidget : public Fl_Widget {
public:
    StaticWidget(Control& control, void (*paint)(const Control&))
        : Fl_Widget(control.Place.Left, control.Place.Top, control.Place.Width,
                    control.Place.Height),
          Model(control), Paint(paint) {}
    void draw() override { Paint(Model); }

private:
    Control& Model;
    void (*Paint)(const Control&);
};

// Whether more than half of the label's height is beside the other control.
bool SameLine(const Box& label, const Box& other) {
    const int top = std::max(label.Top, other.Top);
    const int bottom = std::min(label.Top + label.Height, other.Top + other.Height);
    return bottom - top > label.Height / 2;
}

// The field or list to the right of a label, if any: their texts share a baseline.
const Control* FindPartner(const Control& label) {
    const Control* nearest = nullptr;
    const int right = label.Place.Left + label.Place.Width;
    for (const auto& control : label.Owner->Controls) {
        if (!control->Is(Kind::Edit) && !control->Is(Kind::List)) continue;
        const bool beside = control->Place.Left >= right && SameLine(label.Place, control->Place) &&
                            control->Place.Left - right < label.Place.Width;
        if (beside && (!nearest || control->Place.Left < nearest->Place.Left))
            nearest = control.get();
    }
    return nearest;
}

void PaintLabel(const Control& label) {
    const Control* partner = FindPartner(label);
    Box box = label.Place;
    if (partner) box.Top = partner->Place.Top;
    if (partner) box.Height = partner->Place.Height;
    look::DrawLabel(label.Text, box, label.Alignment, !partner, InkOf(label));
}

// The frame's upper line is at half the height of the title.
void PaintGroup(const Control& group) {
    const Box& box = group.Place;
    const int drop = look::LineHeight() / 2, line = look::Line();
    Picture frame(box.Width, box.Height - drop);
    frame.Framed(0, 0, box.Width, box.Height - drop, 4 * line, look::Ground, look::Groove, line);
    frame.Draw(box.Left, box.Top + drop);
    if (group.Text.empty()) return;
    const int indent = look::Scaled(8), pad = look::Scaled(3);
    const int width = look::LabelWidth(group.Text);
    fl_color(look::Ground);
    fl_rectf(box.Left + indent - pad, box.Top + drop, width + 2 * pad, line);
    look::DrawLabel(group.Text, {box.Left + indent, box.Top, width + pad, look::LineHeight()},
                    Align::Left, false, InkOf(group));
}

// An exclamation mark in a triangle.
void PaintIcon(const Control& icon) {
    const int side = std::min(icon.Place.Width, icon.Place.Height);
    Picture picture(side, side);
    const double unit = side / 32.0;
    constexpr look::Rgb amber = 0xF2B70500, dark = 0x40310A00;
    for (int line = 0; line <= 50; ++line) { // narrow at the top, wide at the bottom
        const double row = line / 50.0;
        picture.Stroke(16 * unit - 11.5 * unit * row, (5 + 21 * row) * unit,
                       16 * unit + 11.5 * unit * row, (5 + 21 * row) * unit, 4 * unit, amber);
    }
    picture.Stroke(16 * unit, 11.5 * unit, 16 * unit, 18.5 * unit, 3 * unit, dark);
    picture.Disc(16 * unit, 23.5 * unit, 1.9 * unit, dark);
    picture.Draw(icon.Place.Left, icon.Place.Top);
}

// Draws a frame and the program's picture in it.
void PaintFrame(const Control& frame) {
    Picture picture(frame.Place.Width, frame.Place.Height);
    picture.Framed(0, 0, picture.Width, picture.Height, 0, look::Ground, 0x000000, 1);
    const Canvas& drawn = frame.Picture;
    for (int row = 0; row < drawn.Height; ++row)
        for (int column = 0; column < drawn.Width; ++column) {
            const COLORREF bgr = drawn.Pixels[static_cast<std::size_t>(row * drawn.Width + column)];
            if (bgr == Canvas::Untouched) continue;
            const look::Rgb rgb = bgr << 24 | (bgr & 0xFF00) << 8 | (bgr >> 8 & 0xFF00);
            picture.Fill(column, row, 1, 1, rgb);
        }
    picture.Draw(frame.Place.Left, frame.Place.Top);
}

} // namespace

Fl_Widget* NewStaticWidget(Control& control) {
    if (control.Is(Kind::GroupBox)) return new StaticWidget(control, PaintGroup);
    if (control.Is(Kind::Icon)) return new StaticWidget(control, PaintIcon);
    if (control.Is(Kind::Frame)) return new StaticWidget(control, PaintFrame);
    return new StaticWidget(control, PaintLabel);
}

} // namespace ui
