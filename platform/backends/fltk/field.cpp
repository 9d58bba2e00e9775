#include "platform/backends/fltk/widgets.h"

namespace ui {
namespace {

class Field : public Worked<Fl_Input> {
public:
    Field(Control& control, const std::string& caption) : Worked(control, caption) {
        box(FL_FLAT_BOX); // a border of our own lies round it
        color(FL_WHITE);
        textcolor(look::Ink);
        textsize(look::FontPixels());
        selection_color(look::Accent);
        when(FL_WHEN_CHANGED);
    }
    void Use() override { In.Type(Of, value()); }
    int handle(int event) override {
        // Entered by the keyboard, a field is ready to be typed over.
        if (event == FL_FOCUS && (Fl::event() == FL_KEYBOARD || Fl::event() == FL_SHORTCUT))
            position(size(), 0);
        return Worked::handle(event);
    }
    void draw() override {
        if (Of.Text != value()) value(Of.Text.c_str());
        look::Picture panel(w(), h());
        panel.Panel(Focused(), Paper(), Border(Focused()));
        panel.Draw(x(), y());
        const int around = 2 * look::Line();
        const int pad = look::Scaled(3); // to which the text adds a little of its own
        drawtext(x() + pad, y() + around, w() - 2 * pad, h() - 2 * around);
    }
};

} // namespace

Fl_Widget* NewField(Control& control, const std::string& caption) {
    return new Field(control, caption);
}

} // namespace ui
