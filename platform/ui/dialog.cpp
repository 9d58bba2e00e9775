#include "platform/ui/dialog.h"

#include "platform/machine/clock.h"
#include "platform/system/controls.h"
#include "platform/ui/handles.h"
#include "platform/virtual/boxes.h"

#include <algorithm>
#include <utility>

namespace ui {
namespace {

constexpr int ListHeight = 12; // of a closed list, dialog units: that of a field beside it

int Scale(int units, int base, int per) { return (units * base + per / 2) / per; }

// The group of a control reaches from the last WS_GROUP before it up to the next one.
std::pair<std::size_t, std::size_t> GroupOf(const Dialog& dialog, const Control& control) {
    const auto& all = dialog.Controls;
    std::size_t at = 0;
    while (at < all.size() && all[at].get() != &control) ++at;
    std::size_t first = at, last = at + 1;
    while (first > 0 && !(all[first]->Style & WS_GROUP)) --first;
    while (last < all.size() && !(all[last]->Style & WS_GROUP)) ++last;
    return {first, last};
}

} // namespace

Dialog::Dialog(const DialogTemplate& form, const Metrics& metrics, HWND parent, DLGPROC procedure)
    : Handle(NewHandle({this, nullptr})), Parent(parent), Resource(form.Id), Title(form.Caption),
      Look(metrics), Procedure(procedure) {
    Place = Pixels(form.X, form.Y, form.Width, form.Height);
    Controls.reserve(form.Controls.size());
    for (const ControlTemplate& control : form.Controls) AddControl(control);
}

Dialog::~Dialog() {
    for (const auto& control : Controls) DropHandle(control->Handle);
    DropHandle(Handle);
}

Box Dialog::Pixels(int x, int y, int width, int height) const {
    return {Scale(x, Look.BaseX, 4), Scale(y, Look.BaseY, 8), Scale(width, Look.BaseX, 4),
            Scale(height, Look.BaseY, 8)};
}

void Dialog::AddControl(const ControlTemplate& form) {
    auto control = std::make_unique<Control>();
    control->Owner = this;
    control->Handle = NewHandle({this, control.get()});
    control->Id = form.Id;
    control->What = KindOf(form);
    control->Style = form.Style;
    control->Visible = (form.Style & WS_VISIBLE) != 0;
    control->Place = Pixels(form.X, form.Y, form.Width, form.Height);
    control->Text = form.Text;
    // The template tells how far a list drops down.
    if (control->Is(Kind::List)) control->Place.Height = Scale(ListHeight, Look.BaseY, 8);
    Controls.push_back(std::move(control));
}

void Dialog::Start(LPARAM init) {
    const auto first = std::ranges::find_if(Controls, [](const auto& c) { return c->TabStop(); });
    Control* wished = first == Controls.end() ? nullptr : first->get();
    const INT_PTR takeIt =
        Send(WM_INITDIALOG, reinterpret_cast<WPARAM>(wished ? wished->Handle : nullptr), init);
    if (Ended) return;
    Visible = true;
    if (takeIt && wished && wished->TabStop()) MoveFocus(wished);
}

// The focus goes to the dialog itself, so that a field that had it is left.
void Dialog::End(INT_PTR result) {
    if (Ended) return;
    MoveFocus(nullptr);
    Result = result;
    Ended = true;
    Visible = false;
}

INT_PTR Dialog::Send(UINT message, WPARAM first, LPARAM second) {
    return Procedure(Handle, message, first, second);
}

void Dialog::Notify(Control& control, WORD code) {
    Send(WM_COMMAND, MAKEWPARAM(static_cast<WORD>(control.Id), code),
         reinterpret_cast<LPARAM>(control.Handle));
}

Control* Dialog::Find(int id) const {
    for (const auto& control : Controls)
        if (control->Id == id) return control.get();
    return nullptr;
}

Control* Dialog::After(const Control& control) const {
    const auto at =
        std::ranges::find_if(Controls, [&](const auto& c) { return c.get() == &control; });
    return at == Controls.end() || at + 1 == Controls.end() ? nullptr : (at + 1)->get();
}

void Dialog::NotifyFocus(Control& control, bool got) {
    if (control.Is(Kind::Edit)) Notify(control, got ? EN_SETFOCUS : EN_KILLFOCUS);
    if (control.Is(Kind::List)) Notify(control, got ? CBN_SETFOCUS : CBN_KILLFOCUS);
}

void Dialog::MoveFocus(Control* control) {
    if (Ended || control == Focus) return;
    Control* before = std::exchange(Focus, control);
    machine::SetFocusWindow(control ? control->Handle : nullptr);
    if (before) NotifyFocus(*before, false);
    if (control && Focus == control) NotifyFocus(*control, true);
}

Control* Dialog::NextInGroup(Control& control, int step) const {
    const auto [first, last] = GroupOf(*this, control);
    const std::size_t size = last - first;
    std::size_t at = first;
    while (Controls[at].get() != &control) ++at;
    for (std::size_t tried = 1; tried < size; ++tried) {
        const std::size_t move = step > 0 ? tried : size - tried;
        Control& next = *Controls[first + (at - first + move) % size];
        if (next.TakesFocus() && next.Visible && next.Enabled) return &next;
    }
    return nullptr;
}

void Dialog::StartTimer(UINT_PTR id, UINT milliseconds) {
    StopTimer(id);
    const std::uint64_t period = std::uint64_t{std::max(milliseconds, 10u)} * 1000;
    Timers.push_back({id, period, machine::Microseconds() + period});
}

bool Dialog::StopTimer(UINT_PTR id) {
    return std::erase_if(Timers, [id](const Timer& timer) { return timer.Id == id; }) > 0;
}

std::uint64_t Dialog::NextTimer() const {
    std::uint64_t next = ~std::uint64_t{0};
    for (const Timer& timer : Timers) next = std::min(next, timer.Due);
    return next;
}

// A timer that has been due more than once is told once. The procedure may stop any timer.
void Dialog::RunTimers() {
    const std::uint64_t now = machine::Microseconds();
    std::vector<UINT_PTR> due;
    for (Timer& timer : Timers) {
        if (timer.Due > now) continue;
        timer.Due = std::max(timer.Due + timer.Period, now + 1);
        due.push_back(timer.Id);
    }
    for (const UINT_PTR id : due) {
        const bool running =
            std::ranges::any_of(Timers, [id](const Timer& timer) { return timer.Id == id; });
        if (running && !Ended) Send(WM_TIMER, id, 0);
    }
}

void CheckRadio(Control& radio) {
    const auto [first, last] = GroupOf(*radio.Owner, radio);
    for (std::size_t i = first; i < last; ++i) {
        Control& other = *radio.Owner->Controls[i];
        if (!other.Is(Kind::RadioButton)) continue;
        other.Checked = &other == &radio;
        if (other.Checked)
            other.Style |= WS_TABSTOP;
        else
            other.Style &= ~WS_TABSTOP;
    }
}

} // namespace ui
