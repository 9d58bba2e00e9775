#include "platform/ui/fltk/window.h"
#include "platform/ui/fltk/faces.h"
#include "platform/ui/fltk/keys.h"
#include "platform/ui/fltk/look.h"
#include "platform/ui/handles.h"

#include <FL/Fl.H>
#include <FL/Fl_Menu_Button.H>
#include <FL/fl_draw.H>
#include <algorithm>

namespace ui {

DialogWindow::DialogWindow(Dialog& dialog)
    : Fl_Double_Window(std::max(dialog.Place.Width, 1), std::max(dialog.Place.Height, 1)),
      Of(dialog) {
    copy_label(dialog.Title.c_str());
    xclass("zormidi");
    box(FL_FLAT_BOX);
    Parts.reserve(dialog.Controls.size());
    for (const auto& control : dialog.Controls) AddPart(*control);
    end();
    callback([](Fl_Widget* widget, void*) {
        auto& window = *static_cast<DialogWindow*>(widget);
        window.Of.CloseBox();
        window.Sync();
    });
    int left = 0, top = 0, width = 0, height = 0;
    Fl::screen_work_area(left, top, width, height);
    position(left + std::max((width - w()) / 2, 0), top + std::max((height - h()) / 3, 0));
    size_range(w(), h(), w(), h());
    set_modal();
    Sync();
}

DialogWindow::~DialogWindow() = default;

void DialogWindow::AddPart(Control& control) {
    Fl_Widget* widget = nullptr;
    if (control.Is(Kind::Edit))
        widget = new Field(*this, control);
    else
        widget = MakeFace(*this, control);
    Parts.push_back({&control, widget, {}});
}

void DialogWindow::Sync() {
    if (Of.Ended) return;
    SyncSize();
    for (Part& part : Parts) SyncPart(part);
    SyncFocus();
}

void DialogWindow::SyncPart(Part& part) {
    Shown now = ShownOf(*part.Of);
    if (!part.Last.empty() && part.Last.front() == now) return;
    part.Last.assign(1, std::move(now));
    if (!part.Widget) return redraw();
    if (part.Of->Is(Kind::Edit)) static_cast<Field*>(part.Widget)->TakeText();
    if (part.Of->Visible != (part.Widget->visible() != 0))
        part.Of->Visible ? part.Widget->show() : part.Widget->hide();
    if (part.Of->Enabled != (part.Widget->active() != 0))
        part.Of->Enabled ? part.Widget->activate() : part.Widget->deactivate();
    part.Widget->redraw();
}

void DialogWindow::SyncSize() {
    if (Of.Place.Width == w() && Of.Place.Height == h()) return;
    size_range(1, 1, 0, 0);
    size(Of.Place.Width, Of.Place.Height);
    size_range(w(), h(), w(), h());
    redraw();
}

void DialogWindow::SyncFocus() {
    Fl_Widget* widget = WidgetOf(Of.Focus);
    if (!widget) widget = this;
    if (Fl::focus() != widget && visible()) Fl::focus(widget);
}

Fl_Widget* DialogWindow::WidgetOf(const Control* control) const {
    const auto part =
        std::ranges::find_if(Parts, [control](const Part& p) { return p.Of == control; });
    return part == Parts.end() ? nullptr : part->Widget;
}

void DialogWindow::Pump() {
    DispatchPosted();
    Of.RunTimers();
    Sync();
}

// The place of the window is the dialog's; its size is the dialog's own choice.
void DialogWindow::resize(int x, int y, int w, int h) {
    Fl_Double_Window::resize(x, y, w, h);
    Of.Place.Left = x;
    Of.Place.Top = y;
}

void DialogWindow::draw() {
    if (damage() & ~FL_DAMAGE_CHILD) {
        look::FillBox({0, 0, w(), h()}, look::Ground);
        for (const Part& part : Parts)
            if (part.Of->Visible && part.Of->Is(Kind::GroupBox)) DrawGroup(*part.Of, Of);
        for (const Part& part : Parts) {
            if (part.Of->Visible && part.Of->Is(Kind::Label)) DrawText(*part.Of, Of);
            if (part.Of->Visible && part.Of->Is(Kind::Icon)) DrawIcon(*part.Of);
        }
        for (const Part& part : Parts)
            if (part.Widget) draw_child(*part.Widget);
        return;
    }
    for (const Part& part : Parts)
        if (part.Widget) update_child(*part.Widget);
}

int DialogWindow::handle(int event) {
    switch (event) {
    case FL_FOCUS:
        SyncFocus();
        return 1;
    case FL_UNFOCUS:
        return 1;
    case FL_KEYBOARD:
    case FL_SHORTCUT:
        // Without a focused control, or for a letter that another control took no interest in.
        if (Fl::focus() == this && TakeKey(Of, nullptr)) {
            Sync();
            return 1;
        }
        // Escape closes by way of the dialog, never by FLTK's own rule.
        return event == FL_SHORTCUT && Fl::event_key() == FL_Escape;
    default:
        return Fl_Double_Window::handle(event);
    }
}

int DialogWindow::HandleKey(Control& control) {
    if (control.Is(Kind::List) && OpensList()) {
        DropDown(*static_cast<Face*>(WidgetOf(&control)));
        return 1;
    }
    const bool taken = TakeKey(Of, &control);
    if (taken) Sync();
    return taken;
}

namespace {

// Device names are no markup.
std::string Escaped(const std::string& text) {
    std::string plain;
    for (const char c : text) {
        if (c == '&' || c == '@') plain += c;
        plain += c;
    }
    return plain;
}

constexpr double PumpEvery = 0.05; // seconds, while a list is down
void PumpWindow(void* window) {
    static_cast<DialogWindow*>(window)->Pump();
    Fl::repeat_timeout(PumpEvery, &PumpWindow, window);
}

} // namespace

void DialogWindow::DropDown(Face& list) {
    Control& control = list.Of;
    if (control.Items.empty()) return;
    std::vector<std::string> texts;
    for (const Item& item : control.Items) texts.push_back(Escaped(item.Text));
    std::vector<Fl_Menu_Item> entries(texts.size() + 1, Fl_Menu_Item{});
    for (std::size_t row = 0; row < texts.size(); ++row) {
        entries[row].text = texts[row].c_str();
        entries[row].labelsize_ = look::FontPixels();
    }
    Fl_Group::current(nullptr);
    Fl_Menu_Button style(list.x(), list.y(), list.w(), list.h());
    style.box(FL_BORDER_BOX);
    style.color(FL_WHITE);
    style.selection_color(look::ColourOf(look::Accent));
    style.textsize(look::FontPixels());
    const Fl_Menu_Item* present =
        control.Selection >= 0 ? &entries[static_cast<std::size_t>(control.Selection)] : nullptr;

    Fl::add_timeout(PumpEvery, &PumpWindow, this);
    const Fl_Menu_Item* chosen =
        entries.data()->pulldown(list.x(), list.y(), list.w(), list.h(), present, &style);
    Fl::remove_timeout(&PumpWindow, this);
    if (chosen) Of.Choose(control, static_cast<int>(chosen - entries.data()));
    Sync();
}

} // namespace ui
