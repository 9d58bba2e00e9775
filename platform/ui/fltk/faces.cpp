#include "platform/ui/fltk/faces.h"
#include "platform/ui/fltk/look.h"
#include "platform/ui/fltk/window.h"

#include <FL/Fl.H>
#include <algorithm>

namespace ui {

using namespace look;

Shown ShownOf(const Control& control) {
    Shown shown;
    shown.Text = control.Text;
    shown.Place = control.Place;
    shown.Visible = control.Visible;
    shown.Enabled = control.Enabled;
    shown.Checked = control.Checked;
    shown.Focused = control.Owner->Focus == &control;
    if (control.Selection >= 0)
        shown.Entry = control.Items[static_cast<std::size_t>(control.Selection)].Text;
    shown.Position = control.Position;
    shown.Picture = control.Picture ? control.Picture->Version + 1 : 0;
    return shown;
}

Face::Face(DialogWindow& window, Control& control)
    : Fl_Widget(control.Place.Left, control.Place.Top, control.Place.Width, control.Place.Height),
      Of(control), In(window) {}

bool Face::Under() const { return Fl::event_inside(this) != 0; }
bool Face::Focused() const { return Of.Owner->Focus == &Of; }
Rgb Face::InkColour() const { return Of.Enabled ? Ink : Dim; }

// A list that the wheel happens to pass over must not change.
int Face::HandleWheel() {
    const bool wants = Of.Is(Kind::Slider) || (Of.Is(Kind::List) && Focused());
    if (!wants) return 0;
    Of.Owner->Wheel(Of, Fl::event_dy());
    In.Sync();
    return 1;
}

int Face::handle(int event) {
    switch (event) {
    case FL_ENTER:
    case FL_LEAVE:
        Hover = event == FL_ENTER;
        redraw();
        return 1;
    case FL_PUSH:
        if (Fl::event_button() != FL_LEFT_MOUSE || !Of.Reachable() || !Of.TakesFocus()) return 0;
        Down = true;
        Of.Owner->MoveFocus(&Of);
        Pressed();
        redraw();
        In.Sync();
        return 1;
    case FL_DRAG:
        if (!Down) return 0;
        Dragged();
        redraw();
        In.Sync();
        return 1;
    case FL_RELEASE:
        if (!Down) return 0;
        Down = false;
        Released();
        redraw();
        In.Sync();
        return 1;
    case FL_MOUSEWHEEL:
        return HandleWheel();
    case FL_FOCUS:
        return Of.TakesFocus();
    case FL_UNFOCUS:
        return 1;
    case FL_KEYBOARD:
        return In.HandleKey(Of);
    default:
        return Fl_Widget::handle(event);
    }
}

namespace {

constexpr double Radius = 3;

class ButtonFace : public Face {
public:
    using Face::Face;
    void draw() override {
        const bool pressed = Down && Under(), isDefault = IsDefault();
        Picture picture(w(), h(), look::Ground);
        const double line = Line(), radius = Radius * line;
        if (Focused()) picture.RoundBox(0, 0, w(), h(), radius + line, Halo);
        const double in = line;
        Rgb fill = !Of.Enabled ? look::Ground : pressed ? ButtonPressed : ButtonTop;
        if (Of.Enabled && Hover && !pressed) fill = ButtonHover;
        const Rgb border = !Of.Enabled ? Groove : isDefault || Focused() ? Accent : Border;
        picture.Framed(in, in, w() - 2 * in, h() - 2 * in, radius, fill, border, line);
        picture.Draw(x(), y());
        const int shift = pressed ? Line() : 0;
        DrawLabel(Of.Text, {x(), y() + shift, w(), h()}, Align::Centre, false, InkColour());
    }

private:
    bool IsDefault() const { return (Of.Style & 0xF) == 1; }
    void Released() override {
        if (Under()) Of.Owner->Click(Of);
    }
};

// A box or a disc to check, with its text beside it.
class CheckFace : public Face {
public:
    using Face::Face;
    void draw() override {
        const int side = std::min(Scaled(13), std::min(w(), h()));
        const int top = (h() - side) / 2;
        Picture picture(w(), h(), look::Ground);
        const double line = Line();
        const Rgb border = !Of.Enabled ? Groove : Focused() || Hover ? Accent : Border;
        const Rgb fill = !Of.Enabled ? look::Ground : Of.Checked ? Accent : look::Paper;
        if (Of.Is(Kind::RadioButton))
            DrawDisc(picture, side, top, border, line);
        else
            DrawBox(picture, side, top, fill, Of.Checked && Of.Enabled ? Accent : border, line);
        picture.Draw(x(), y());
        if (Of.Text.find_first_not_of(' ') == std::string::npos) return;
        const int gap = side + Scaled(5);
        const Box text = {x() + gap, y(), w() - gap, h()};
        if (Focused()) DrawRing(text);
        DrawLabel(Of.Text, text, Align::Left, false, InkColour());
    }

private:
    void DrawBox(Picture& picture, int side, int top, Rgb fill, Rgb border, double line) const {
        if (Focused()) picture.RoundBox(0, top, side, side, Radius * line, Halo);
        const double in = Focused() ? line : 0;
        picture.Framed(in, top + in, side - 2 * in, side - 2 * in, 2 * line, fill, border, line);
        if (!Of.Checked) return;
        const double unit = side / 13.0, width = 1.8 * unit;
        const Rgb mark = Of.Enabled ? look::Paper : Dim;
        picture.Stroke(3.3 * unit, top + 6.8 * unit, 5.6 * unit, top + 9.1 * unit, width, mark);
        picture.Stroke(5.6 * unit, top + 9.1 * unit, 9.9 * unit, top + 4.1 * unit, width, mark);
    }
    void DrawDisc(Picture& picture, int side, int top, Rgb border, double line) const {
        const double radius = side / 2.0, mid = top + radius;
        if (Focused()) picture.Disc(radius, mid, radius, Halo);
        const double outer = radius - (Focused() ? line : 0);
        picture.Disc(radius, mid, outer, border);
        picture.Disc(radius, mid, outer - line, Of.Enabled ? look::Paper : look::Ground);
        if (Of.Checked) picture.Disc(radius, mid, radius * 0.45, Of.Enabled ? Accent : Dim);
    }
    // Round the text, so that the focus is seen beside the box too.
    void DrawRing(const Box& text) const {
        UseFont();
        const int width = std::min(text.Width, LabelWidth(Of.Text) + 2 * Scaled(3));
        const int height = std::min(h(), LineHeight() + 2);
        Picture ring(width, height, look::Ground);
        ring.Framed(0, 0, width, height, Radius * Line(), look::Ground, Halo, Line());
        ring.Draw(text.Left - Scaled(3), y() + (h() - height) / 2);
    }
    void Released() override {
        if (Under()) Of.Owner->Click(Of);
    }
};

// A closed list.
class ListFace : public Face {
public:
    using Face::Face;
    void draw() override {
        Picture picture(w(), h(), look::Ground);
        const double line = Line(), radius = Radius * line;
        if (Focused()) picture.RoundBox(0, 0, w(), h(), radius + line, Halo);
        const Rgb border = !Of.Enabled ? Groove : Focused() || Hover ? Accent : Border;
        picture.Framed(line, line, w() - 2 * line, h() - 2 * line, radius,
                       Of.Enabled ? look::Paper : look::Ground, border, line);
        DrawArrow(picture);
        picture.Draw(x(), y());
        const int pad = Scaled(6);
        DrawPlain(ShownOf(Of).Entry, {x() + pad, y(), w() - pad - ArrowRoom(), h()}, InkColour());
    }

private:
    int ArrowRoom() const { return Scaled(20); }
    void DrawArrow(Picture& picture) const {
        const double unit = Scaled(4), mid = h() / 2.0, at = w() - ArrowRoom() / 2.0 - Line();
        const Rgb ink = InkColour();
        picture.Stroke(at - unit, mid - unit / 2, at, mid + unit / 2, 1.5 * Line(), ink);
        picture.Stroke(at, mid + unit / 2, at + unit, mid - unit / 2, 1.5 * Line(), ink);
    }
    void Pressed() override {
        Down = false; // the list that drops down takes the mouse
        In.DropDown(*this);
    }
};

class SliderFace : public Face {
public:
    using Face::Face;
    void draw() override {
        Picture picture(w(), h(), look::Ground);
        const double line = Line();
        DrawTicks(picture);
        const double mid = w() / 2.0, track = 2 * line;
        picture.Framed(mid - track, Inset(), 2 * track, h() - 2 * Inset(), track, Groove, Border,
                       line / 2);
        const double half = ThumbHeight() / 2.0, wide = ThumbWidth();
        const double at = PlaceOf(Of.Position);
        if (Focused())
            picture.RoundBox(mid - wide / 2 - line, at - half - line, wide + 2 * line,
                             2 * half + 2 * line, (Radius + 1) * line, Halo);
        const Rgb border = !Of.Enabled ? Groove : Focused() || Hover ? Accent : Border;
        picture.Framed(mid - wide / 2, at - half, wide, 2 * half, Radius * line,
                       Down ? ButtonPressed : ButtonTop, border, line);
        picture.Draw(x(), y());
    }

private:
    int ThumbHeight() const { return Scaled(11); }
    double ThumbWidth() const { return std::min(w() * 0.48, static_cast<double>(Scaled(22))); }
    int Inset() const { return ThumbHeight() / 2 + Line(); }
    int Range() const { return std::max(Of.Maximum - Of.Minimum, 1); }
    double PlaceOf(int position) const {
        const double room = h() - 2 * Inset();
        return Inset() + room * (position - Of.Minimum) / Range();
    }
    void DrawTicks(Picture& picture) const {
        const int length = Scaled(4);
        const int reach = static_cast<int>(ThumbWidth() / 2) + Scaled(3);
        for (int at = Of.Minimum; at <= Of.Maximum; at += Of.TickEvery) {
            const int row = static_cast<int>(PlaceOf(at));
            picture.Fill(w() / 2 - reach - length, row, length, Line(), Border);
            picture.Fill(w() / 2 + reach, row, length, Line(), Border);
        }
    }
    // Where it is taken, the slider stays under the mouse; a click beside it brings it there.
    void Pressed() override {
        const double at = PlaceOf(Of.Position) - (Fl::event_y() - y());
        Grip = std::abs(at) <= ThumbHeight() / 2.0 ? at : 0;
        if (Grip == 0) Dragged();
    }
    void Dragged() override {
        const double room = std::max(h() - 2 * Inset(), 1);
        const double share = (Fl::event_y() - y() + Grip - Inset()) / room;
        const int position = Of.Minimum + static_cast<int>(share * Range() + 0.5);
        Of.Owner->Slide(Of, std::clamp(position, Of.Minimum, Of.Maximum));
    }
    double Grip = 0;
};

// A frame that a program draws into.
class FrameFace : public Face {
public:
    using Face::Face;
    void draw() override {
        Picture picture(w(), h(), look::Ground);
        picture.Framed(0, 0, w(), h(), 0, look::Ground, 0x000000, 1);
        if (Of.Picture)
            for (int row = 0; row < Of.Picture->Height; ++row)
                for (int column = 0; column < Of.Picture->Width; ++column)
                    Copy(picture, column, row);
        picture.Draw(x(), y());
    }

private:
    void Copy(Picture& picture, int column, int row) const {
        const Canvas& canvas = *Of.Picture;
        const COLORREF colour =
            canvas.Pixels[static_cast<std::size_t>(row * canvas.Width + column)];
        if (colour == Canvas::Untouched) return;
        picture.Set(column, row, (colour & 0xFF) << 16 | (colour & 0xFF00) | (colour >> 16 & 0xFF));
    }
};

} // namespace

Face* MakeFace(DialogWindow& window, Control& control) {
    switch (control.What) {
    case Kind::PushButton:
        return new ButtonFace(window, control);
    case Kind::CheckBox:
    case Kind::RadioButton:
        return new CheckFace(window, control);
    case Kind::List:
        return new ListFace(window, control);
    case Kind::Slider:
        return new SliderFace(window, control);
    case Kind::Frame:
        return new FrameFace(window, control);
    default:
        return nullptr;
    }
}

} // namespace ui
