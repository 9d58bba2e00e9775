// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The look of all widgets: one font, a few colours, and antialiased shapes.
#pragma once

#include "platform/ui/dialog.h"

#include <FL/Enumerations.H>
#include <cstdint>
#include <vector>

namespace ui::look {

using Rgb = Fl_Color; // 0xRRGGBB00

constexpr Rgb Ground = FaceColour << 8; // a grey, so the byte order does not matter
constexpr Rgb Paper = 0xFFFFFF00;
constexpr Rgb Border = 0x8C919600;
constexpr Rgb Groove = 0xC4C8CC00;
constexpr Rgb Ink = 0x1B1D1F00;
constexpr Rgb Dim = 0x9A9FA400; // text of disabled controls
constexpr Rgb Accent = 0x2668B000;
constexpr Rgb Halo = 0xA9C6E800; // around the control that has the focus
constexpr Rgb ButtonTop = 0xFDFDFD00;
constexpr Rgb ButtonPressed = 0xD8DDE300;
constexpr Rgb ButtonHover = 0xE9F1FA00;
constexpr double Radius = 3; // of corners, in units of Line()

// Sets the font size for the display's resolution, and measures the font. points: size of the
// template's font.
Metrics Measure(int points);

// Selects the dialog font for drawing and measuring text.
void UseFont();
int FontPixels();
int LineHeight();
// Width of lines on this display in pixels, 1 at least.
int Line();
// Converts pixels of a display of 96 dots per inch to pixels of this one.
int Scaled(int pixels);

// Draws text with '&' before its underlined letter in a box. lines: wraps it and begins at the top,
// else draws one line, centred in the height.
void DrawLabel(const std::string& text, const Box& box, Align align, bool lines, Rgb ink);
int LabelWidth(const std::string& text); // without its '&'
// Draws text without underlined letters at the left of a box, clipped.
void DrawPlain(const std::string& text, const Box& box, Rgb ink);

// A small picture with antialiased edges, drawn onto the window in one step. Coordinates are
// relative to it, in pixels.
class Picture {
public:
    Picture(int width, int height); // filled with Ground

    void RoundBox(double left, double top, double width, double height, double radius, Rgb colour);
    // The same with a border of the given width inside it.
    void Framed(double left, double top, double width, double height, double radius, Rgb fill,
                Rgb border, double line);
    // Fills the picture with a panel: a border, and a halo around it if focused.
    void Panel(bool focused, Rgb fill, Rgb border);
    void Disc(double x, double y, double radius, Rgb colour) {
        Stroke(x, y, x, y, 2 * radius, colour);
    }
    void Stroke(double x1, double y1, double x2, double y2, double width, Rgb colour);
    void Fill(int left, int top, int width, int height, Rgb colour);
    void Draw(int x, int y) const;

    int Width, Height;

private:
    template <typename Distance>
    void Cover(Rgb colour, Distance distance);
    std::vector<std::uint8_t> Bytes; // red, green, blue, row by row
};

} // namespace ui::look
