// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fltk/widgets.h"

#include <FL/Fl_Button.H>
#include <algorithm>

namespace ui {
namespace {

using look::Picture;

class Button : public InputWidget<Fl_Button> {
public:
    explicit Button(Control& control) : InputWidget(control, control.Text) {}
    void OnInput() override { Owner.Click(Model); }
    int handle(int event) override {
        // Enter presses the focused button rather than the default one.
        if (event == FL_KEYBOARD && IsEnter(Fl::event_key())) {
            Owner.Click(Model);
            return 1;
        }
        if (event == FL_SHORTCUT && Model.Default && IsEnter(Fl::event_key())) {
            Owner.PressEnter();
            return 1;
        }
        return InputWidget::handle(event);
    }
    void draw() override {
        look::Rgb fill = value() ? look::ButtonPressed
                         : Hover ? look::ButtonHover
                                 : look::ButtonTop;
        if (!Model.Enabled) fill = look::Ground;
        Picture picture(w(), h());
        picture.Panel(Focused(), fill, Border(Focused() || Model.Default));
        picture.Draw(x(), y());
        const int shift = value() ? look::Line() : 0;
        look::DrawLabel(Model.Text, {x(), y() + shift, w(), h()}, Align::Centre, false, Ink());
    }
};

// A check box or a radio button.
class CheckButton : public InputWidget<Fl_Button> {
public:
    explicit CheckButton(Control& control) : InputWidget(control, control.Text) {}
    void OnInput() override { Owner.Click(Model); }
    int handle(int event) override {
        if (event == FL_FOCUS && Model.Is(Kind::RadioButton) && Fl::event() == FL_KEYBOARD) {
            // Tab enters a group at its checked button; the arrow keys move and check within it.
            const bool within = Owner.Focus && Owner.Focus->Is(Kind::RadioButton);
            if (!Model.Checked && (!within || Fl::event_key() == FL_Tab)) return 0;
            if (!Model.Checked) Owner.Click(Model);
        }
        return InputWidget::handle(event);
    }
    void draw() override {
        const int side = std::min(look::Scaled(13), std::min(w(), h()));
        const int top = (h() - side) / 2;
        Picture picture(w(), h());
        if (Model.Is(Kind::RadioButton))
            DrawDisc(picture, side, top);
        else
            DrawBox(picture, side, top);
        picture.Draw(x(), y());
        if (Model.Text.find_first_not_of(' ') == std::string::npos) return;
        const int gap = side + look::Scaled(5);
        const Box text = {x() + gap, y(), w() - gap, h()};
        if (Focused()) DrawRing(text);
        look::DrawLabel(Model.Text, text, Align::Left, false, Ink());
    }

private:
    void DrawBox(Picture& picture, int side, int top) const {
        const double line = look::Line(), in = Focused() ? line : 0;
        const look::Rgb mark = Model.Enabled ? look::Accent : look::Ground;
        if (Focused()) picture.RoundBox(0, top, side, side, look::Radius * line, look::Halo);
        picture.Framed(in, top + in, side - 2 * in, side - 2 * in, 2 * line,
                       Model.Checked ? mark : Paper(),
                       Model.Checked && Model.Enabled ? mark : Border(Lit()), line);
        if (!Model.Checked) return;
        const double unit = side / 13.0, width = 1.8 * unit;
        const look::Rgb tick = Model.Enabled ? look::Paper : look::Dim;
        picture.Stroke(3.3 * unit, top + 6.8 * unit, 5.6 * unit, top + 9.1 * unit, width, tick);
        picture.Stroke(5.6 * unit, top + 9.1 * unit, 9.9 * unit, top + 4.1 * unit, width, tick);
    }
    void DrawDisc(Picture& picture, int side, int top) const {
        const double line = look::Line(), radius = side / 2.0, mid = top + radius;
        if (Focused()) picture.Disc(radius, mid, radius, look::Halo);
        const double outer = radius - (Focused() ? line : 0);
        picture.Disc(radius, mid, outer, Border(Lit()));
        picture.Disc(radius, mid, outer - line, Paper());
        if (Model.Checked)
            picture.Disc(radius, mid, radius * 0.45, Model.Enabled ? look::Accent : look::Dim);
    }
    // A ring around the text, which shows the focus.
    void DrawRing(const Box& text) const {
        const int width = std::min(text.Width, look::LabelWidth(Model.Text) + 2 * look::Scaled(3));
        const int height = std::min(h(), look::LineHeight() + 2);
        const double line = look::Line();
        Picture ring(width, height);
        ring.Framed(0, 0, width, height, look::Radius * line, look::Ground, look::Halo, line);
        ring.Draw(text.Left - look::Scaled(3), y() + (h() - height) / 2);
    }
};

} // namespace

Fl_Widget* NewButton(Control& control) {
    if (control.Is(Kind::PushButton)) return new Button(control);
    return new CheckButton(control);
}

} // namespace ui
