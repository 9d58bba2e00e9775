#include "platform/backends/fltk/window.h"
#include "platform/backends/fltk/widgets.h"

#include <algorithm>

namespace ui {
namespace {

// caption: of the label before it.
Fl_Widget* NewWidget(Control& control, const std::string& caption) {
    switch (control.What) {
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
        return NewStill(control);
    }
}

} // namespace

DialogWindow::DialogWindow(Dialog& dialog)
    : Fl_Double_Window(std::max(dialog.Place.Width, 1), std::max(dialog.Place.Height, 1)),
      Of(dialog) {
    copy_label(dialog.Title.c_str());
    xclass("zormidi");
    box(FL_FLAT_BOX);
    color(look::Ground);
    AddParts(true); // drawn below all others
    AddParts(false);
    end();
    callback([](Fl_Widget* window, void*) { static_cast<DialogWindow*>(window)->Of.Close(); });
    int left = 0, top = 0, width = 0, height = 0;
    Fl::screen_work_area(left, top, width, height);
    position(left + std::max((width - w()) / 2, 0), top + std::max((height - h()) / 3, 0));
    size_range(w(), h(), w(), h());
    set_modal();
}

void DialogWindow::AddParts(bool groups) {
    std::string caption;
    for (const auto& control : Of.Controls) {
        if (control->Is(Kind::GroupBox) == groups)
            Parts.push_back({control.get(), NewWidget(*control, caption), {}});
        caption = control->Is(Kind::Label) ? control->Text : "";
    }
}

void DialogWindow::Sync() {
    if (Of.Ended) return;
    SyncSize();
    for (Part& part : Parts) SyncPart(part);
    SyncFocus();
}

void DialogWindow::SyncPart(Part& part) {
    if (part.Last == *part.Of) return;
    part.Last = *part.Of;
    part.Of->Visible ? part.Widget->show() : part.Widget->hide();
    part.Of->Enabled ? part.Widget->activate() : part.Widget->deactivate();
    // What lies on the window itself leaves its ground to be drawn anew.
    part.Of->TakesFocus() || part.Of->Is(Kind::Frame) ? part.Widget->redraw() : redraw();
}

void DialogWindow::SyncSize() {
    if (Of.Place.Width == w() && Of.Place.Height == h()) return;
    size_range(1, 1, 0, 0);
    size(Of.Place.Width, Of.Place.Height);
    size_range(w(), h(), w(), h());
    redraw();
}

void DialogWindow::SyncFocus() {
    const auto part = std::ranges::find(Parts, Of.Focus, &Part::Of);
    Fl_Widget* widget = part == Parts.end() ? this : part->Widget;
    if (!visible() || Fl::focus() == widget) return;
    Fl::focus(widget);
    widget->redraw();
}

// The place of the window is the dialog's; its size is the dialog's own choice.
void DialogWindow::resize(int x, int y, int w, int h) {
    Fl_Double_Window::resize(x, y, w, h);
    Of.Place.Left = x;
    Of.Place.Top = y;
}

int DialogWindow::handle(int event) {
    // Once no control has the focus, Tab begins with the first.
    const bool tab = event == FL_KEYBOARD && Fl::event_key() == FL_Tab && Fl::focus() == this;
    if (event == FL_FOCUS) SyncFocus();
    if (event == FL_FOCUS || event == FL_UNFOCUS) return 1;
    return Fl_Double_Window::handle(tab ? FL_FOCUS : event);
}

} // namespace ui
