// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fltk/widgets.h"

#include <FL/Fl_Slider.H>
#include <algorithm>

namespace ui {
namespace {

class Slider : public InputWidget<Fl_Slider> {
public:
    Slider(Control& control, const std::string& caption) : InputWidget(control, caption) {
        step(1);
    }
    void OnInput() override { Owner.Slide(Model, static_cast<int>(value())); }
    int handle(int event) override {
        constexpr int wheelSteps = 3;
        bounds(Model.Minimum, Model.Maximum);
        value(Model.Position);
        const int track = h() - 2 * look::Line();
        slider_size(static_cast<double>(ThumbHeight()) / std::max(track, 1));
        const int key = event == FL_KEYBOARD ? Fl::event_key() : 0;
        if (event == FL_SHORTCUT && Fl_Widget::test_shortcut()) return take_focus();
        if (event == FL_MOUSEWHEEL) return MoveTo(Model.Position + wheelSteps * Fl::event_dy());
        if (key == FL_Home) return MoveTo(Model.Minimum);
        if (key == FL_End) return MoveTo(Model.Maximum);
        if (key == FL_Left) return MoveTo(Model.Position - 1);
        if (key == FL_Right) return MoveTo(Model.Position + 1);
        return InputWidget::handle(event);
    }
    void draw() override {
        look::Picture picture(w(), h());
        const double line = look::Line(), mid = w() / 2.0, track = 2 * line;
        DrawTicks(picture);
        picture.Framed(mid - track, Inset(), 2 * track, h() - 2 * Inset(), track, look::Groove,
                       look::Border, line / 2);
        const double half = ThumbHeight() / 2.0, wide = ThumbWidth();
        const double centre = PlaceOf(Model.Position);
        if (Focused())
            picture.RoundBox(mid - wide / 2 - line, centre - half - line, wide + 2 * line,
                             2 * half + 2 * line, (look::Radius + 1) * line, look::Halo);
        const bool down = Fl::pushed() == this;
        picture.Framed(mid - wide / 2, centre - half, wide, 2 * half, look::Radius * line,
                       down ? look::ButtonPressed : look::ButtonTop, Border(Lit()), line);
        picture.Draw(x(), y());
    }

private:
    int MoveTo(int position) {
        Owner.Slide(Model, position);
        return 1;
    }
    static int ThumbHeight() { return look::Scaled(11); }
    static int Inset() { return ThumbHeight() / 2 + look::Line(); }
    double ThumbWidth() const {
        return std::min(w() * 0.48, static_cast<double>(look::Scaled(22)));
    }
    double PlaceOf(int position) const {
        const double room = h() - 2 * Inset();
        return Inset() +
               room * (position - Model.Minimum) / std::max(Model.Maximum - Model.Minimum, 1);
    }
    void DrawTicks(look::Picture& picture) const {
        const int length = look::Scaled(4);
        const int reach = static_cast<int>(ThumbWidth() / 2) + look::Scaled(3);
        for (int tick = Model.Minimum; tick <= Model.Maximum; tick += Model.TickInterval) {
            const int row = static_cast<int>(PlaceOf(tick));
            for (const int left : {w() / 2 - reach - length, w() / 2 + reach})
                picture.Fill(left, row, length, look::Line(), look::Border);
        }
    }
};

} // namespace

Fl_Widget* NewSlider(Control& control, const std::string& caption) {
    return new Slider(control, caption);
}

} // namespace ui
