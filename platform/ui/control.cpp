#include "platform/ui/control.h"

#include "platform/system/controls.h"
#include "platform/system/user.h"
#include "platform/ui/dialog.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <strings.h>

namespace ui {
namespace {

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

Kind ButtonKind(DWORD style) {
    switch (style & BS_TYPEMASK) {
    case BS_AUTOCHECKBOX:
        return Kind::CheckBox;
    case BS_AUTORADIOBUTTON:
        return Kind::RadioButton;
    case BS_GROUPBOX:
        return Kind::GroupBox;
    default:
        return Kind::PushButton;
    }
}

bool ValidEntry(const Control& list, WPARAM index) { return index < list.Items.size(); }

LRESULT AddEntry(Control& list, const char* text) {
    const Item item{text, 0};
    auto at = list.Items.end();
    if (list.Style & CBS_SORT)
        at = std::upper_bound(
            list.Items.begin(), list.Items.end(), item,
            [](const Item& one, const Item& other) { return SortsBefore(one.Text, other.Text); });
    const int index = static_cast<int>(at - list.Items.begin());
    list.Items.insert(at, item);
    if (list.Selection >= index) ++list.Selection;
    return index;
}

LRESULT SelectEntry(Control& list, WPARAM index) {
    list.Selection = ValidEntry(list, index) ? static_cast<int>(index) : -1;
    return list.Selection;
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
    case CB_GETCOUNT:
        return static_cast<LRESULT>(list.Items.size());
    case CB_GETCURSEL:
        return list.Selection;
    case CB_SETCURSEL:
        return SelectEntry(list, first);
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
    case CB_RESETCONTENT:
        list.Items.clear();
        list.Selection = -1;
        return 0;
    default:
        return 0;
    }
}

void KeepInRange(Control& slider) {
    slider.Maximum = std::max(slider.Minimum, slider.Maximum);
    slider.Position = std::clamp(slider.Position, slider.Minimum, slider.Maximum);
}

LRESULT AnswerSlider(Control& slider, UINT message, WPARAM first, LPARAM second) {
    switch (message) {
    case TBM_GETPOS:
        return slider.Position;
    case TBM_SETPOS:
        slider.Position = static_cast<int>(second);
        break;
    case TBM_SETRANGEMIN:
        slider.Minimum = static_cast<int>(second);
        break;
    case TBM_SETRANGEMAX:
        slider.Maximum = static_cast<int>(second);
        break;
    case TBM_SETTICFREQ:
        slider.TickEvery = std::max(static_cast<int>(first), 1);
        break;
    case TBM_SETPAGESIZE: {
        const int before = slider.PageSize;
        slider.PageSize = static_cast<int>(second);
        return before;
    }
    default:
        return 0;
    }
    KeepInRange(slider);
    return 0;
}

} // namespace

Kind KindOf(const ControlTemplate& control) {
    if (strcasecmp(control.Class, "BUTTON") == 0) return ButtonKind(control.Style);
    if (strcasecmp(control.Class, "EDIT") == 0) return Kind::Edit;
    if (strcasecmp(control.Class, "COMBOBOX") == 0) return Kind::List;
    if (strcasecmp(control.Class, "msctls_trackbar32") == 0) return Kind::Slider;
    switch (control.Style & SS_TYPEMASK) {
    case SS_BLACKFRAME:
        return Kind::Frame;
    case SS_ICON:
        return Kind::Icon;
    default:
        return Kind::Label;
    }
}

bool Control::TakesFocus() const {
    return What != Kind::GroupBox && What != Kind::Label && What != Kind::Frame &&
           What != Kind::Icon;
}

bool Control::TabStop() const {
    return TakesFocus() && Visible && Enabled && (Style & WS_TABSTOP) != 0;
}

bool Control::Reachable() const {
    return Visible && Enabled && Place.Left >= 0 && Place.Top >= 0 &&
           Place.Left < Owner->Place.Width && Place.Top < Owner->Place.Height;
}

char Control::Mnemonic() const {
    const std::size_t mark = Text.find('&');
    return mark != std::string::npos && mark + 1 < Text.size() ? Lower(Text[mark + 1]) : '\0';
}

LRESULT Answer(Control& control, UINT message, WPARAM first, LPARAM second) {
    switch (control.What) {
    case Kind::List:
        return AnswerList(control, message, first, second);
    case Kind::Slider:
        return AnswerSlider(control, message, first, second);
    default:
        return 0;
    }
}

bool SortsBefore(const std::string& one, const std::string& other) {
    return std::lexicographical_compare(
        one.begin(), one.end(), other.begin(), other.end(), [](char a, char b) {
            return static_cast<unsigned char>(Lower(a)) < static_cast<unsigned char>(Lower(b));
        });
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
