#include "platform/backends/fltk/widgets.h"

#include <FL/Fl_Button.H>
#include <algorithm>

namespace ui {
namespace {

using look::Picture;

class Button : public Worked<Fl_Button> {
public:
    explicit Button(Control& control) : Worked(control, control.Text) {}
    void Use() override { In.Click(Of); }
    int handle(int event) override {
        // The focused button goes before the default one.
        if (event == FL_KEYBOARD && IsEnter(Fl::event_key())) {
            In.Click(Of);
            return 1;
        }
        if (event == FL_SHORTCUT && Of.Default && IsEnter(Fl::event_key())) {
            In.PressEnter();
            return 1;
        }
        return Worked::handle(event);
    }
    void draw() override {
        look::Rgb fill = value() ? look::ButtonPressed
                         : Hover ? look::ButtonHover
                                 : look::ButtonTop;
        if (!Of.Enabled) fill = look::Ground;
        Picture picture(w(), h());
        picture.Panel(Focused(), fill, Border(Focused() || Of.Default));
        picture.Draw(x(), y());
        const int shift = value() ? look::Line() : 0;
        look::DrawLabel(Of.Text, {x(), y() + shift, w(), h()}, Align::Centre, false, Ink());
    }
};

// A box or a disc to check, with its text beside it.
class CheckButton : public Button {
public:
    using Button::Button;
    int handle(int event) override {
        if (event == FL_FOCUS && Of.Is(Kind::RadioButton) && Fl::event() == FL_KEYBOARD) {
            // The group is one stop of the Tab key; its arrows choose.
            const bool within = In.Focus && In.Focus->Is(Kind::RadioButton);
            if (!Of.Checked && (!within || Fl::event_key() == FL_Tab)) return 0;
            if (!Of.Checked) In.Click(Of);
        }
        return Worked::handle(event);
    }
    void draw() override {
        const int side = std::min(look::Scaled(13), std::min(w(), h()));
        const int top = (h() - side) / 2;
        Picture picture(w(), h());
        if (Of.Is(Kind::RadioButton))
            DrawDisc(picture, side, top);
        else
            DrawBox(picture, side, top);
        picture.Draw(x(), y());
        if (Of.Text.find_first_not_of(' ') == std::string::npos) return;
        const int gap = side + look::Scaled(5);
        const Box text = {x() + gap, y(), w() - gap, h()};
        if (Focused()) DrawRing(text);
        look::DrawLabel(Of.Text, text, Align::Left, false, Ink());
    }

private:
    void DrawBox(Picture& picture, int side, int top) const {
        const double line = look::Line(), in = Focused() ? line : 0;
        const look::Rgb mark = Of.Enabled ? look::Accent : look::Ground;
        if (Focused()) picture.RoundBox(0, top, side, side, look::Radius * line, look::Halo);
        picture.Framed(in, top + in, side - 2 * in, side - 2 * in, 2 * line,
                       Of.Checked ? mark : Paper(), Of.Checked && Of.Enabled ? mark : Border(Lit()),
                       line);
        if (!Of.Checked) return;
        const double unit = side / 13.0, width = 1.8 * unit;
        const look::Rgb tick = Of.Enabled ? look::Paper : look::Dim;
        picture.Stroke(3.3 * unit, top + 6.8 * unit, 5.6 * unit, top + 9.1 * unit, width, tick);
        picture.Stroke(5.6 * unit, top + 9.1 * unit, 9.9 * unit, top + 4.1 * unit, width, tick);
    }
    void DrawDisc(Picture& picture, int side, int top) const {
        const double line = look::Line(), radius = side / 2.0, mid = top + radius;
        if (Focused()) picture.Disc(radius, mid, radius, look::Halo);
        const double outer = radius - (Focused() ? line : 0);
        picture.Disc(radius, mid, outer, Border(Lit()));
        picture.Disc(radius, mid, outer - line, Paper());
        if (Of.Checked)
            picture.Disc(radius, mid, radius * 0.45, Of.Enabled ? look::Accent : look::Dim);
    }
    // Round the text, so that the focus is seen beside the box too.
    void DrawRing(const Box& text) const {
        const int width = std::min(text.Width, look::LabelWidth(Of.Text) + 2 * look::Scaled(3));
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
