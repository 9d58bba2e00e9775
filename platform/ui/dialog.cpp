// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/ui/dialog.h"

#include "platform/machine/clock.h"
#include "platform/system/controls.h"
#include "platform/ui/windows.h"

#include <algorithm>
#include <utility>

namespace ui {
namespace {

constexpr int ListHeight = 12; // of a closed list, in dialog units: the same as of a field

// Converts from dialog units.
Box Pixels(const Metrics& metrics, int x, int y, int width, int height) {
    const auto across = [&](int units) { return (units * metrics.BaseX + 2) / 4; };
    const auto down = [&](int units) { return (units * metrics.BaseY + 4) / 8; };
    return {across(x), down(y), across(width), down(height)};
}

auto IsControl(const Control& control) {
    return [&control](const auto& other) { return other.get() == &control; };
}

} // namespace

Dialog::Dialog(const DialogTemplate& form, const Metrics& metrics, HWND parent, DLGPROC procedure)
    : Handle(NewWindow({.Owner = this})), Parent(parent), Resource(form.Id), Title(form.Caption),
      Place(Pixels(metrics, form.X, form.Y, form.Width, form.Height)), Procedure(procedure) {
    for (const ControlTemplate& part : form.Controls) {
        Control& control = *Controls.emplace_back(std::make_unique<Control>(FromTemplate(part)));
        control.Owner = this;
        control.Handle = NewWindow({this, &control, nullptr});
        // The template's height of a list is that of the dropped-down list.
        const int height = control.Is(Kind::List) ? ListHeight : part.Height;
        control.Place = Pixels(metrics, part.X, part.Y, part.Width, height);
    }
}

Dialog::~Dialog() {
    for (const auto& control : Controls) DropWindow(control->Handle);
    DropWindow(Handle);
}

void Dialog::Start(LPARAM init) {
    const auto first = std::ranges::find_if(Controls, [](const auto& c) { return c->TabStop(); });
    Control* initial = first == Controls.end() ? nullptr : first->get();
    const INT_PTR setFocus =
        Send(WM_INITDIALOG, reinterpret_cast<WPARAM>(initial ? initial->Handle : nullptr), init);
    if (setFocus && initial && initial->TabStop()) MoveFocus(initial);
}

// Moves the focus to the dialog itself, so that a field that had it reports its loss.
void Dialog::End(INT_PTR result) {
    if (Ended) return;
    MoveFocus(nullptr);
    Result = result;
    Ended = true;
}

INT_PTR Dialog::Send(UINT message, WPARAM first, LPARAM second) {
    if (Procedure(Handle, message, first, second)) return 1;
    // The system's default.
    if (message == WM_CLOSE) Close();
    return 0;
}

void Dialog::Notify(Control& control, WORD code) {
    Send(WM_COMMAND, MAKEWPARAM(static_cast<WORD>(control.Id), code),
         reinterpret_cast<LPARAM>(control.Handle));
}

Control* Dialog::Find(int id) const {
    const auto at = std::ranges::find_if(Controls, [id](const auto& c) { return c->Id == id; });
    return at == Controls.end() ? nullptr : at->get();
}

Control* Dialog::After(const Control& control) const {
    const auto at = std::ranges::find_if(Controls, IsControl(control));
    return at == Controls.end() || at + 1 == Controls.end() ? nullptr : (at + 1)->get();
}

void Dialog::MoveFocus(Control* control) {
    if (Ended || control == Focus) return;
    Control* before = std::exchange(Focus, control);
    if (before && before->Is(Kind::Edit)) Notify(*before, EN_KILLFOCUS);
}

// A group is a run of adjacent radio buttons.
void Dialog::CheckRadio(Control& radio) {
    const auto other = [](const auto& control) { return !control->Is(Kind::RadioButton); };
    const auto at = std::ranges::find_if(Controls, IsControl(radio));
    const auto first = std::find_if(std::make_reverse_iterator(at), Controls.rend(), other).base();
    for (auto button = first; button != std::find_if(at, Controls.end(), other); ++button)
        (*button)->Checked = button == at;
}

void Dialog::Click(Control& button) {
    if (Ended || !button.Reachable()) return;
    MoveFocus(&button);
    if (Ended) return;
    if (button.Is(Kind::CheckBox)) button.Checked = !button.Checked;
    if (button.Is(Kind::RadioButton)) CheckRadio(button);
    Notify(button, BN_CLICKED);
}

void Dialog::PressEnter() {
    const auto at = std::ranges::find_if(Controls, [](const auto& c) { return c->Default; });
    if (!Ended && at != Controls.end() && (*at)->Enabled) Notify(**at, BN_CLICKED);
}

void Dialog::Type(Control& edit, const std::string& text) {
    if (Ended || !edit.Reachable() || edit.Text == text) return;
    edit.Text = text;
    Notify(edit, EN_CHANGE);
}

void Dialog::Choose(Control& list, int index) {
    const int count = static_cast<int>(list.Items.size());
    if (Ended || !list.Reachable() || index < 0 || index >= count || index == list.Selection)
        return;
    list.Selection = index;
    Notify(list, CBN_SELCHANGE);
}

void Dialog::Slide(Control& slider, int position) {
    if (Ended || !slider.Reachable()) return;
    slider.Position = std::clamp(position, slider.Minimum, slider.Maximum);
    Send(WM_VSCROLL, MAKEWPARAM(TB_THUMBTRACK, static_cast<WORD>(slider.Position)),
         reinterpret_cast<LPARAM>(slider.Handle));
}

void Dialog::Close() {
    if (!Ended) Send(WM_COMMAND, IDCANCEL, 0);
}

void Dialog::SetTimer(UINT_PTR id, UINT milliseconds) {
    TimerId = id;
    TimerPeriod = std::uint64_t{std::max(milliseconds, 10u)} * 1000;
    TimerDue = milliseconds ? machine::Microseconds() + TimerPeriod : ~std::uint64_t{0};
}

// A timer that is overdue by several periods sends one message.
void Dialog::Pump() {
    DispatchPosted();
    const std::uint64_t now = machine::Microseconds();
    if (Ended || TimerDue > now) return;
    TimerDue = std::max(TimerDue + TimerPeriod, now + 1);
    Send(WM_TIMER, TimerId, 0);
}

} // namespace ui
