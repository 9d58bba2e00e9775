// What a user does to a dialog, as messages for its procedure.
#include "platform/system/controls.h"
#include "platform/ui/dialog.h"

#include <algorithm>
#include <cctype>

namespace ui {
namespace {

constexpr int WheelLines = 3; // slider positions for each notch

bool IsButton(const Control& control) {
    return control.Is(Kind::PushButton) || control.Is(Kind::CheckBox) ||
           control.Is(Kind::RadioButton);
}

} // namespace

void Dialog::Click(Control& button) {
    if (Ended || !button.Reachable() || !IsButton(button)) return;
    MoveFocus(&button);
    if (Ended) return;
    if (button.Is(Kind::CheckBox)) button.Checked = !button.Checked;
    if (button.Is(Kind::RadioButton)) CheckRadio(button);
    Notify(button, BN_CLICKED);
}

void Dialog::Type(Control& edit, const std::string& text) {
    if (Ended || !edit.Reachable() || !edit.Is(Kind::Edit) || edit.Text == text) return;
    edit.Text = text;
    Notify(edit, EN_UPDATE);
    Notify(edit, EN_CHANGE);
}

void Dialog::Choose(Control& list, int index) {
    const int count = static_cast<int>(list.Items.size());
    if (Ended || !list.Reachable() || index < 0 || index >= count || index == list.Selection)
        return;
    list.Selection = index;
    Notify(list, CBN_SELCHANGE);
}

void Dialog::SlideBy(Control& slider, int position, WORD code) {
    if (Ended || !slider.Reachable()) return;
    slider.Position = std::clamp(position, slider.Minimum, slider.Maximum);
    const auto place = static_cast<WORD>(code == TB_THUMBTRACK ? slider.Position : 0);
    const auto from = reinterpret_cast<LPARAM>(slider.Handle);
    Send(WM_VSCROLL, MAKEWPARAM(code, place), from);
    Send(WM_VSCROLL, MAKEWPARAM(TB_ENDTRACK, 0), from);
}

void Dialog::Slide(Control& slider, int position) { SlideBy(slider, position, TB_THUMBTRACK); }

void Dialog::Wheel(Control& control, int notches) {
    if (control.Is(Kind::List)) {
        const int last = static_cast<int>(control.Items.size()) - 1;
        Choose(control, std::clamp(control.Selection + notches, 0, std::max(last, 0)));
    }
    if (control.Is(Kind::Slider))
        SlideBy(control, control.Position + notches * WheelLines,
                notches > 0 ? TB_LINEDOWN : TB_LINEUP);
}

void Dialog::CloseBox() { Send(WM_COMMAND, IDCANCEL, 0); }

bool Dialog::Press(const KeyPress& key) {
    if (Ended) return false;
    switch (key.What) {
    case Key::Tab:
        Tab(key.Shift);
        return true;
    case Key::Enter:
        return PressEnter();
    case Key::Escape:
        return PressEscape();
    case Key::Space:
        if (!Focus || !IsButton(*Focus)) return false;
        Click(*Focus);
        return true;
    default:
        return PressArrow(key.What);
    }
}

// The focused push button, else the dialog's default one, which gets no focus by this: a field that
// is being edited is not left.
bool Dialog::PressEnter() {
    if (Focus && Focus->Is(Kind::PushButton)) {
        Click(*Focus);
        return true;
    }
    for (const auto& control : Controls) {
        const bool isDefault =
            control->Is(Kind::PushButton) && (control->Style & BS_TYPEMASK) == BS_DEFPUSHBUTTON;
        if (!isDefault) continue;
        if (control->Enabled) Notify(*control, BN_CLICKED);
        return true;
    }
    return false;
}

bool Dialog::PressEscape() {
    const Control* cancel = Find(IDCANCEL);
    if (cancel && !cancel->Enabled) return false;
    CloseBox();
    return true;
}

void Dialog::Tab(bool backward) {
    const std::size_t count = Controls.size();
    std::size_t at = backward ? 0 : count - 1;
    for (std::size_t i = 0; i < count; ++i)
        if (Controls[i].get() == Focus) at = i;
    for (std::size_t step = 1; step <= count; ++step) {
        Control& next = *Controls[(at + (backward ? count - step : step)) % count];
        if (next.TabStop()) return MoveFocus(&next);
    }
}

bool Dialog::PressArrow(Key key) {
    if (!Focus || !Focus->Reachable()) return false;
    if (Focus->Is(Kind::List)) return ArrowInList(*Focus, key);
    if (Focus->Is(Kind::Slider)) return ArrowInSlider(*Focus, key);
    return IsButton(*Focus) && ArrowInGroup(*Focus, key);
}

bool Dialog::ArrowInList(Control& list, Key key) {
    constexpr int page = 5;
    const int last = static_cast<int>(list.Items.size()) - 1;
    int to = list.Selection;
    switch (key) {
    case Key::Up:
    case Key::Left:
        to -= 1;
        break;
    case Key::Down:
    case Key::Right:
        to += 1;
        break;
    case Key::PageUp:
        to -= page;
        break;
    case Key::PageDown:
        to += page;
        break;
    case Key::Home:
        to = 0;
        break;
    case Key::End:
        to = last;
        break;
    default:
        return false;
    }
    if (last >= 0) Choose(list, std::clamp(to, 0, last));
    return true;
}

// Down is towards the end of the range, as the slider's lower end is.
bool Dialog::ArrowInSlider(Control& slider, Key key) {
    const int at = slider.Position;
    switch (key) {
    case Key::Up:
    case Key::Left:
        SlideBy(slider, at - 1, TB_LINEUP);
        return true;
    case Key::Down:
    case Key::Right:
        SlideBy(slider, at + 1, TB_LINEDOWN);
        return true;
    case Key::PageUp:
        SlideBy(slider, at - slider.PageSize, TB_PAGEUP);
        return true;
    case Key::PageDown:
        SlideBy(slider, at + slider.PageSize, TB_PAGEDOWN);
        return true;
    case Key::Home:
        SlideBy(slider, slider.Minimum, TB_TOP);
        return true;
    case Key::End:
        SlideBy(slider, slider.Maximum, TB_BOTTOM);
        return true;
    default:
        return false;
    }
}

bool Dialog::ArrowInGroup(Control& button, Key key) {
    const bool back = key == Key::Up || key == Key::Left;
    if (!back && key != Key::Down && key != Key::Right) return false;
    Control* next = NextInGroup(button, back ? -1 : 1);
    if (!next) return true;
    if (next->Is(Kind::RadioButton))
        Click(*next);
    else
        MoveFocus(next);
    return true;
}

bool Dialog::PressLetter(char letter, bool alt) {
    if (Ended) return false;
    const char wanted = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    if (!alt && Focus && Focus->Is(Kind::List)) {
        Choose(*Focus, FindEntry(*Focus, Focus->Selection, std::string(1, letter)));
        return true;
    }
    if (!alt && Focus && Focus->Is(Kind::Edit)) return false;
    // Begins behind the focus, so that a letter that stands twice goes round.
    const std::size_t count = Controls.size();
    std::size_t at = count - 1;
    for (std::size_t i = 0; i < count; ++i)
        if (Controls[i].get() == Focus) at = i;
    for (std::size_t step = 1; step <= count; ++step) {
        Control& control = *Controls[(at + step) % count];
        if (control.Mnemonic() == wanted && control.Reachable()) return UseMnemonic(control);
    }
    return false;
}

// A label's letter belongs to the control behind it.
bool Dialog::UseMnemonic(Control& control) {
    if (IsButton(control)) {
        Click(control);
        return true;
    }
    for (Control* next = &control; next; next = After(*next)) {
        if (!next->TabStop()) continue;
        MoveFocus(next);
        return true;
    }
    return false;
}

} // namespace ui
