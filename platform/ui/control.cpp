// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "platform/ui/control.h"

#include "platform/system/controls.h"
#include "platform/system/user.h"
#include "platform/ui/dialog.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

namespace ui {
namespace {

// The control kind for each window class of templates and the style bits that distinguish kinds.
// The first match counts.
struct Class {
    const char* Name;
    DWORD Mask, Style;
    Kind Type;
    Align Alignment = Align::Left;
};
constexpr Class Classes[] = {
    {"BUTTON", BS_TYPEMASK, BS_AUTOCHECKBOX, Kind::CheckBox},
    {"BUTTON", BS_TYPEMASK, BS_AUTORADIOBUTTON, Kind::RadioButton},
    {"BUTTON", BS_TYPEMASK, BS_GROUPBOX, Kind::GroupBox},
    {"BUTTON", 0, 0, Kind::PushButton},
    {"EDIT", 0, 0, Kind::Edit},
    {"COMBOBOX", 0, 0, Kind::List},
    {"msctls_trackbar32", 0, 0, Kind::Slider},
    {"STATIC", SS_TYPEMASK, SS_BLACKFRAME, Kind::Frame},
    {"STATIC", SS_TYPEMASK, SS_ICON, Kind::Icon},
    {"STATIC", SS_TYPEMASK, SS_CENTER, Kind::Label, Align::Centre},
    {"STATIC", SS_TYPEMASK, SS_RIGHT, Kind::Label, Align::Right},
    {"STATIC", 0, 0, Kind::Label},
};

bool ValidEntry(const Control& list, WPARAM index) { return index < list.Items.size(); }

bool SortsBefore(const Item& one, const Item& other) {
    return strcasecmp(one.Text.c_str(), other.Text.c_str()) < 0;
}

LRESULT AddEntry(Control& list, const char* text) {
    const Item item{text, 0};
    const auto at = list.Sorted
                        ? std::upper_bound(list.Items.begin(), list.Items.end(), item, SortsBefore)
                        : list.Items.end();
    const int index = static_cast<int>(at - list.Items.begin());
    list.Items.insert(at, item);
    if (list.Selection >= index) ++list.Selection;
    return index;
}

LRESULT CopyEntry(const Control& list, WPARAM index, char* buffer) {
    if (!ValidEntry(list, index)) return CB_ERR;
    const std::string& text = list.Items[index].Text;
    if (buffer) std::memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<LRESULT>(text.size());
}

LRESULT AnswerList(Control& list, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case CB_ADDSTRING:
        return AddEntry(list, reinterpret_cast<const char*>(second));
    case CB_GETCURSEL:
        return list.Selection;
    case CB_SETCURSEL:
        return list.Selection = ValidEntry(list, first) ? static_cast<int>(first) : -1;
    case CB_GETLBTEXT:
        return CopyEntry(list, first, reinterpret_cast<char*>(second));
    case CB_GETLBTEXTLEN:
        return CopyEntry(list, first, nullptr);
    case CB_GETITEMDATA:
        return ValidEntry(list, first) ? list.Items[first].Data : CB_ERR;
    case CB_FINDSTRING:
        return FindEntry(list, static_cast<int>(first), reinterpret_cast<const char*>(second));
    case CB_SETITEMDATA:
        if (!ValidEntry(list, first)) return CB_ERR;
        list.Items[first].Data = second;
        return 0;
    case CB_GETDROPPEDSTATE:
        return list.Dropped ? TRUE : FALSE;
    case CB_RESETCONTENT:
        list.Items.clear();
        list.Selection = -1;
        return 0;
    default:
        return 0;
    }
}

LRESULT AnswerSlider(Control& slider, UINT message, WPARAM first, LPARAM second) {
    const int value = static_cast<int>(second);
    if (message == TBM_GETPOS) return slider.Position;
    if (message == TBM_SETPOS) slider.Position = value;
    if (message == TBM_SETRANGEMIN) slider.Minimum = value;
    if (message == TBM_SETRANGEMAX) slider.Maximum = value;
    if (message == TBM_SETTICFREQ) slider.TickInterval = std::max(static_cast<int>(first), 1);
    slider.Maximum = std::max(slider.Minimum, slider.Maximum);
    slider.Position = std::clamp(slider.Position, slider.Minimum, slider.Maximum);
    return 0;
}

} // namespace

Canvas::Canvas(int width, int height)
    : Width(width), Height(height),
      Pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), Untouched) {}

void Canvas::Fill(int left, int top, int right, int bottom, COLORREF colour) {
    left = std::max(left, 0);
    right = std::min(right, Width);
    for (int y = std::max(top, 0); y < std::min(bottom, Height); ++y) {
        const auto row = Pixels.begin() + static_cast<std::ptrdiff_t>(y) * Width;
        if (left < right) std::fill(row + left, row + right, colour & 0x00FFFFFF);
    }
}

Control FromTemplate(const ControlTemplate& form) {
    const auto* found = std::ranges::find_if(Classes, [&](const Class& known) {
        return strcasecmp(form.Class, known.Name) == 0 && (form.Style & known.Mask) == known.Style;
    });
    Control control;
    control.Id = form.Id;
    control.Type = found->Type;
    control.Alignment = found->Alignment;
    control.Default = control.Is(Kind::PushButton) && (form.Style & BS_DEFPUSHBUTTON) != 0;
    control.Sorted = control.Is(Kind::List) && (form.Style & CBS_SORT) != 0;
    control.Text = form.Text;
    control.Visible = (form.Style & WS_VISIBLE) != 0;
    return control;
}

bool Control::TabStop() const {
    return TakesFocus() && Visible && Enabled && (!Is(Kind::RadioButton) || Checked);
}

bool Control::Reachable() const {
    return Visible && Enabled && Place.Left >= 0 && Place.Top >= 0 &&
           Place.Left < Owner->Place.Width && Place.Top < Owner->Place.Height;
}

LRESULT Answer(Control& control, UINT message, WPARAM first, LPARAM second) {
    if (control.Is(Kind::List)) return AnswerList(control, message, first, second);
    if (control.Is(Kind::Slider)) return AnswerSlider(control, message, first, second);
    return 0;
}

int FindEntry(const Control& list, int start, const std::string& text) {
    const int count = static_cast<int>(list.Items.size());
    for (int step = 1; step <= count; ++step) {
        const int index = (std::clamp(start, -1, count - 1) + step) % count;
        const std::string& entry = list.Items[static_cast<std::size_t>(index)].Text;
        if (strncasecmp(entry.c_str(), text.c_str(), text.size()) == 0) return index;
    }
    return -1;
}

} // namespace ui
