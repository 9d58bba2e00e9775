// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fltk/widgets.h"

namespace ui {
namespace {

class Field : public InputWidget<Fl_Input> {
public:
    Field(Control& control, const std::string& caption) : InputWidget(control, caption) {
        box(FL_FLAT_BOX); // draw() adds a border
        color(FL_WHITE);
        textcolor(look::Ink);
        textsize(look::FontPixels());
        selection_color(look::Accent);
        when(FL_WHEN_CHANGED);
    }
    void OnInput() override { Owner.Type(Model, value()); }
    int handle(int event) override {
        // Selects all text if the focus comes by the keyboard.
        if (event == FL_FOCUS && (Fl::event() == FL_KEYBOARD || Fl::event() == FL_SHORTCUT))
            position(size(), 0);
        return InputWidget::handle(event);
    }
    void draw() override {
        if (Model.Text != value()) value(Model.Text.c_str());
        look::Picture panel(w(), h());
        panel.Panel(Focused(), Paper(), Border(Focused()));
        panel.Draw(x(), y());
        const int border = 2 * look::Line();
        const int pad = look::Scaled(3); // the text adds some of its own
        drawtext(x() + pad, y() + border, w() - 2 * pad, h() - 2 * border);
    }
};

} // namespace

Fl_Widget* NewField(Control& control, const std::string& caption) {
    return new Field(control, caption);
}

} // namespace ui
