// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/backends/fltk/window.h"
#include "platform/backends/fltk/widgets.h"

#include <algorithm>

namespace ui {
namespace {

// caption: the text of the label before it.
Fl_Widget* NewWidget(Control& control, const std::string& caption) {
    switch (control.Type) {
    case Kind::PushButton:
    case Kind::CheckBox:
    case Kind::RadioButton:
        return NewButton(control);
    case Kind::List:
        return NewList(control, caption);
    case Kind::Slider:
        return NewSlider(control, caption);
    case Kind::Edit:
        return NewField(control, caption);
    default:
        return NewStaticWidget(control);
    }
}

} // namespace

DialogWindow::DialogWindow(Dialog& dialog)
    : Fl_Double_Window(std::max(dialog.Place.Width, 1), std::max(dialog.Place.Height, 1)),
      Model(dialog) {
    copy_label(dialog.Title.c_str());
    xclass("zormidi");
    box(FL_FLAT_BOX);
    color(look::Ground);
    AddParts(true); // first, so that all others are drawn above them
    AddParts(false);
    end();
    callback([](Fl_Widget* window, void*) { static_cast<DialogWindow*>(window)->Model.Close(); });
    int left = 0, top = 0, width = 0, height = 0;
    Fl::screen_work_area(left, top, width, height);
    position(left + std::max((width - w()) / 2, 0), top + std::max((height - h()) / 3, 0));
    size_range(w(), h(), w(), h());
    set_modal();
}

void DialogWindow::AddParts(bool groups) {
    std::string caption;
    for (const auto& control : Model.Controls) {
        if (control->Is(Kind::GroupBox) == groups)
            Parts.push_back({control.get(), NewWidget(*control, caption), {}});
        caption = control->Is(Kind::Label) ? control->Text : "";
    }
}

void DialogWindow::Sync() {
    if (Model.Ended) return;
    SyncSize();
    for (Part& part : Parts) SyncPart(part);
    SyncFocus();
}

void DialogWindow::SyncPart(Part& part) {
    if (part.Last == *part.Model) return;
    part.Last = *part.Model;
    part.Model->Visible ? part.Widget->show() : part.Widget->hide();
    part.Model->Enabled ? part.Widget->activate() : part.Widget->deactivate();
    // A control without a background of its own needs the window redrawn.
    part.Model->TakesFocus() || part.Model->Is(Kind::Frame) ? part.Widget->redraw() : redraw();
}

void DialogWindow::SyncSize() {
    if (Model.Place.Width == w() && Model.Place.Height == h()) return;
    size_range(1, 1, 0, 0);
    size(Model.Place.Width, Model.Place.Height);
    size_range(w(), h(), w(), h());
    redraw();
}

void DialogWindow::SyncFocus() {
    const auto part = std::ranges::find(Parts, Model.Focus, &Part::Model);
    Fl_Widget* widget = part == Parts.end() ? this : part->Widget;
    if (!visible() || Fl::focus() == widget) return;
    Fl::focus(widget);
    widget->redraw();
}

// The user may move the window, but only the program resizes the dialog.
void DialogWindow::resize(int x, int y, int w, int h) {
    Fl_Double_Window::resize(x, y, w, h);
    Model.Place.Left = x;
    Model.Place.Top = y;
}

int DialogWindow::handle(int event) {
    // If no control has the focus, Tab goes to the first.
    const bool tab = event == FL_KEYBOARD && Fl::event_key() == FL_Tab && Fl::focus() == this;
    if (event == FL_FOCUS) SyncFocus();
    if (event == FL_FOCUS || event == FL_UNFOCUS) return 1;
    return Fl_Double_Window::handle(tab ? FL_FOCUS : event);
}

} // namespace ui
