// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Widgets for the controls of a dialog. They behave as the toolkit's own, are drawn by look.h, and
// pass user input to the dialog. They read the model each time that they are drawn.
#pragma once

#include "platform/backends/fltk/look.h"
#include "platform/ui/dialog.h"

#include <FL/Fl.H>
#include <FL/Fl_Input.H>
#include <FL/Fl_Widget.H>

namespace ui {

// caption: holds "&" before the letter that, with Alt, moves the focus here. It is not drawn.
Fl_Widget* NewButton(Control& control); // push button, check box or radio button
Fl_Widget* NewList(Control& control, const std::string& caption);
Fl_Widget* NewSlider(Control& control, const std::string& caption);
Fl_Widget* NewField(Control& control, const std::string& caption);
// Group, label, frame or icon: takes no input.
Fl_Widget* NewStaticWidget(Control& control);

inline look::Rgb InkOf(const Control& control) { return control.Enabled ? look::Ink : look::Dim; }
inline bool IsEnter(int key) { return key == FL_Enter || key == FL_KP_Enter; }

// The base of widgets that take input.
template <class Stock>
class InputWidget : public Stock {
public:
    InputWidget(Control& control, const std::string& caption)
        : Stock(control.Place.Left, control.Place.Top, control.Place.Width, control.Place.Height),
          Model(control), Owner(*control.Owner) {
        this->copy_label(caption.c_str());
        this->align(FL_ALIGN_INSIDE); // not drawn by the toolkit
        this->callback(
            [](Fl_Widget* widget, void*) { static_cast<InputWidget*>(widget)->OnInput(); });
    }

    int handle(int event) override {
        switch (event) {
        case FL_ENTER:
        case FL_LEAVE:
            Hover = event == FL_ENTER;
            this->redraw();
            break;
        case FL_PUSH:
            if (Fl::event_button() != FL_LEFT_MOUSE || !Model.Reachable()) return 0;
            this->take_focus();
            break;
        case FL_FOCUS:
            Owner.MoveFocus(&Model);
            [[fallthrough]];
        case FL_UNFOCUS:
            this->redraw();
            Stock::handle(event);
            return 1;
        default:
            break;
        }
        return Stock::handle(event) || (Hover && event == FL_ENTER);
    }

protected:
    virtual void OnInput() {} // called by the toolkit when the user has changed the widget
    bool Focused() const { return Owner.Focus == &Model; }
    look::Rgb Ink() const { return InkOf(Model); }
    look::Rgb Paper() const { return Model.Enabled ? look::Paper : look::Ground; }
    look::Rgb Border(bool lit) const {
        if (!Model.Enabled) return look::Groove;
        return lit ? look::Accent : look::Border;
    }
    bool Lit() const { return Focused() || Hover; }

    Control& Model;
    Dialog& Owner;
    bool Hover = false;
};

} // namespace ui
