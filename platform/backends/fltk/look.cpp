// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fltk/look.h"

#include <FL/Fl.H>
#include <FL/fl_draw.H>
#include <FL/x.H>
#include <X11/Xresource.h>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace ui::look {
namespace {

constexpr Fl_Font DialogFont = FL_HELVETICA; // the display's sans serif
constexpr double OrdinaryDpi = 96;

int fontPixels = 11;
double scale = 1;

// The resolution set in the user's desktop, else that of the display if it is high: many displays
// report a low resolution that is wrong.
double DisplayDpi() {
    if (const char* setting = XGetDefault(fl_display, "Xft", "dpi"))
        if (const double dpi = std::atof(setting); dpi >= 48 && dpi <= 960) return dpi;
    float across = 0, down = 0;
    Fl::screen_dpi(across, down);
    return down >= 140 ? std::round(static_cast<double>(down) / OrdinaryDpi * 2) / 2 * OrdinaryDpi
                       : OrdinaryDpi;
}

void DrawText(const std::string& text, const Box& box, Fl_Align align, bool marked, Rgb ink) {
    UseFont();
    fl_color(ink);
    const char before = fl_draw_shortcut;
    fl_draw_shortcut = marked;
    fl_draw(text.c_str(), box.Left, box.Top, box.Width, box.Height, align | FL_ALIGN_INSIDE,
            nullptr, 0);
    fl_draw_shortcut = before;
}

} // namespace

Metrics Measure(int points) {
    const double dpi = DisplayDpi();
    scale = dpi / OrdinaryDpi;
    fontPixels = static_cast<int>(std::lround(points * dpi / 72));
    UseFont();
    const double letters = fl_width("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    Metrics metrics;
    metrics.BaseX = static_cast<int>((std::lround(letters) / 26 + 1) / 2);
    metrics.BaseY = LineHeight();
    return metrics;
}

void UseFont() { fl_font(DialogFont, fontPixels); }
int FontPixels() { return fontPixels; }

int LineHeight() {
    UseFont();
    return fl_height();
}

int Line() { return std::max(1, static_cast<int>(scale + 0.25)); }
int Scaled(int pixels) { return static_cast<int>(std::lround(pixels * scale)); }

void DrawLabel(const std::string& text, const Box& box, Align align, bool lines, Rgb ink) {
    constexpr Fl_Align sides[] = {FL_ALIGN_LEFT, FL_ALIGN_CENTER, FL_ALIGN_RIGHT};
    const Fl_Align how = lines ? FL_ALIGN_TOP | FL_ALIGN_WRAP : FL_ALIGN_CENTER;
    DrawText(text, box, sides[static_cast<int>(align)] | how, true, ink);
}

void DrawPlain(const std::string& text, const Box& box, Rgb ink) {
    DrawText(text, box, FL_ALIGN_LEFT | FL_ALIGN_CLIP, false, ink);
}

int LabelWidth(const std::string& text) {
    UseFont();
    std::string plain = text;
    if (const std::size_t mark = plain.find('&'); mark != std::string::npos) plain.erase(mark, 1);
    return static_cast<int>(std::ceil(fl_width(plain.c_str())));
}

Picture::Picture(int width, int height)
    : Width(std::max(width, 1)), Height(std::max(height, 1)),
      Bytes(static_cast<std::size_t>(Width) * static_cast<std::size_t>(Height) * 3) {
    Fill(0, 0, Width, Height, Ground);
}

void Picture::Fill(int left, int top, int width, int height, Rgb colour) {
    for (int y = std::max(top, 0); y < std::min(top + height, Height); ++y)
        for (int x = std::max(left, 0); x < std::min(left + width, Width); ++x)
            for (int part = 0; part < 3; ++part)
                Bytes[static_cast<std::size_t>(y * Width + x) * 3 +
                      static_cast<std::size_t>(part)] =
                    static_cast<std::uint8_t>(colour >> (24 - 8 * part));
}

// Blends the colour into each pixel by the signed distance of its centre from the shape's edge,
// negative inside.
template <typename Distance>
void Picture::Cover(Rgb colour, Distance distance) {
    for (int y = 0; y < Height; ++y)
        for (int x = 0; x < Width; ++x) {
            const double share = std::clamp(0.5 - distance(x + 0.5, y + 0.5), 0.0, 1.0);
            if (share <= 0) continue;
            std::uint8_t* pixel = &Bytes[static_cast<std::size_t>(y * Width + x) * 3];
            for (int part = 0; part < 3; ++part) {
                const double wanted = colour >> (24 - 8 * part) & 0xFF;
                pixel[part] = static_cast<std::uint8_t>(
                    std::lround(pixel[part] + share * (wanted - pixel[part])));
            }
        }
}

void Picture::RoundBox(double left, double top, double width, double height, double radius,
                       Rgb colour) {
    const double midX = left + width / 2, midY = top + height / 2;
    Cover(colour, [=](double x, double y) {
        const double outX = std::abs(x - midX) - width / 2 + radius;
        const double outY = std::abs(y - midY) - height / 2 + radius;
        return std::hypot(std::max(outX, 0.0), std::max(outY, 0.0)) +
               std::min(std::max(outX, outY), 0.0) - radius;
    });
}

void Picture::Framed(double left, double top, double width, double height, double radius, Rgb fill,
                     Rgb border, double line) {
    RoundBox(left, top, width, height, radius, border);
    RoundBox(left + line, top + line, width - 2 * line, height - 2 * line,
             std::max(radius - line, 0.0), fill);
}

void Picture::Panel(bool focused, Rgb fill, Rgb border) {
    const double line = Line();
    if (focused) RoundBox(0, 0, Width, Height, (Radius + 1) * line, Halo);
    Framed(line, line, Width - 2 * line, Height - 2 * line, Radius * line, fill, border, line);
}

void Picture::Stroke(double x1, double y1, double x2, double y2, double width, Rgb colour) {
    const double dx = x2 - x1, dy = y2 - y1, square = std::max(dx * dx + dy * dy, 1e-9);
    Cover(colour, [=](double x, double y) {
        const double along = std::clamp(((x - x1) * dx + (y - y1) * dy) / square, 0.0, 1.0);
        return std::hypot(x - x1 - along * dx, y - y1 - along * dy) - width / 2;
    });
}

void Picture::Draw(int x, int y) const { fl_draw_image(Bytes.data(), x, y, Width, Height, 3); }

} // namespace ui::look
