// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The system calls on open dialogs and their controls. A call on any other window does nothing and
// returns 0.
#include "platform/ui/windows.h"
#include "platform/api/screen.h"
#include "platform/system/controls.h"
#include "platform/system/user.h"

#include <charconv>
#include <string_view>
#include <utility>

namespace zorsystem {

using namespace ui;

namespace {

// Null for a handle that is not a dialog's.
Dialog* DialogOf(HWND window) {
    const Window found = Resolve(window);
    return found.Item ? nullptr : found.Owner;
}

Control* ItemOf(HWND window) { return Resolve(window).Item; }

Control* ItemOf(HWND dialog, int id) {
    const Dialog* owner = DialogOf(dialog);
    return owner ? owner->Find(id) : nullptr;
}

HWND HandleOf(const Control* control) { return control ? control->Handle : nullptr; }

// Reads a number of this 32-bit type from the beginning of the text. False if there is none.
template <typename Number>
bool ReadNumber(std::string_view text, UINT& value) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    Number number{};
    const bool read = std::from_chars(text.begin(), text.end(), number).ec == std::errc();
    value = static_cast<UINT>(number);
    return read;
}

} // namespace

BOOL EndDialog(HWND dialog, INT_PTR result) {
    Dialog* owner = DialogOf(dialog);
    if (owner) owner->End(result);
    return owner != nullptr;
}

LRESULT SendMessageA(HWND control, UINT message, WPARAM first, LPARAM second) {
    Control* item = ItemOf(control);
    return item ? Answer(*item, message, first, second) : 0;
}

LRESULT SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM first, LPARAM second) {
    return SendMessageA(GetDlgItem(dialog, id), message, first, second);
}

BOOL PostMessageA(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (!Post(window, message, first, second)) return FALSE;
    device::WakeScreen();
    return TRUE;
}

HWND GetDlgItem(HWND dialog, int id) { return HandleOf(ItemOf(dialog, id)); }

int GetDlgCtrlID(HWND control) {
    const Control* item = ItemOf(control);
    return item ? item->Id : 0;
}

HWND GetParent(HWND dialog) {
    const Dialog* owner = DialogOf(dialog);
    return owner ? owner->Parent : nullptr;
}

HWND GetWindow(HWND window, UINT relation) {
    const Window found = Resolve(window);
    if (!found.Owner) return nullptr;
    if (relation == GW_CHILD) return HandleOf(found.Owner->Controls.front().get());
    return found.Item ? HandleOf(found.Owner->After(*found.Item)) : nullptr;
}

BOOL SetDlgItemTextA(HWND dialog, int id, LPCSTR text) {
    Control* control = ItemOf(dialog, id);
    if (control) control->Text = text;
    return control != nullptr;
}

BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned) {
    const std::string text =
        isSigned ? std::to_string(static_cast<int>(value)) : std::to_string(value);
    return SetDlgItemTextA(dialog, id, text.c_str());
}

UINT GetDlgItemInt(HWND dialog, int id, BOOL*, BOOL isSigned) {
    const Control* control = ItemOf(dialog, id);
    UINT value = 0;
    const auto reader = isSigned ? ReadNumber<int> : ReadNumber<UINT>;
    const bool read = control && reader(control->Text, value);
    return read ? value : 0;
}

BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
    Control* control = ItemOf(dialog, id);
    if (control) control->Checked = check == BST_CHECKED;
    return control != nullptr;
}

UINT IsDlgButtonChecked(HWND dialog, int id) {
    const Control* control = ItemOf(dialog, id);
    return control && control->Checked ? BST_CHECKED : BST_UNCHECKED;
}

HWND SetFocus(HWND control) {
    Control* item = ItemOf(control);
    if (!item) return nullptr;
    const HWND before = HandleOf(item->Owner->Focus);
    if (item->Reachable()) item->Owner->MoveFocus(item);
    return before;
}

BOOL GetWindowRect(HWND window, RECT* place) {
    const Window found = Resolve(window);
    if (!found.Owner) return FALSE;
    Box box = found.Owner->Place;
    if (found.Item) {
        const Box& inside = found.Item->Place;
        box = {box.Left + inside.Left, box.Top + inside.Top, inside.Width, inside.Height};
    }
    *place = {box.Left, box.Top, box.Left + box.Width, box.Top + box.Height};
    return TRUE;
}

BOOL GetClientRect(HWND window, RECT* area) {
    if (!GetWindowRect(window, area)) return FALSE;
    *area = {0, 0, area->right - area->left, area->bottom - area->top};
    return TRUE;
}

BOOL MoveWindow(HWND dialog, int x, int y, int width, int height, BOOL) {
    Dialog* owner = DialogOf(dialog);
    if (owner) owner->Place = {x, y, width, height};
    return owner != nullptr;
}

BOOL IsWindowVisible(HWND control) {
    const Control* item = ItemOf(control);
    return item && item->Visible;
}

BOOL ShowWindow(HWND control, int command) {
    Control* item = ItemOf(control);
    if (!item) return FALSE;
    const bool before = item->Visible;
    item->Visible = command != SW_HIDE;
    if (!item->Visible && item->Owner->Focus == item) item->Owner->MoveFocus(nullptr);
    return before;
}

BOOL EnableWindow(HWND control, BOOL enable) {
    Control* item = ItemOf(control);
    if (!item) return FALSE;
    const bool wasDisabled = !item->Enabled;
    item->Enabled = enable != FALSE;
    if (!enable && item->Owner->Focus == item) item->Owner->MoveFocus(nullptr);
    return wasDisabled;
}

LONG_PTR SetWindowLongPtrA(HWND dialog, int, LONG_PTR value) {
    Dialog* owner = DialogOf(dialog);
    return owner ? std::exchange(owner->UserWord, value) : 0;
}

LONG_PTR GetWindowLongPtrA(HWND dialog, int) {
    const Dialog* owner = DialogOf(dialog);
    return owner ? owner->UserWord : 0;
}

UINT_PTR SetTimer(HWND dialog, UINT_PTR id, UINT milliseconds, LPVOID) {
    Dialog* owner = DialogOf(dialog);
    if (!owner) return 0;
    owner->SetTimer(id, milliseconds);
    return id;
}

BOOL KillTimer(HWND dialog, UINT_PTR) {
    Dialog* owner = DialogOf(dialog);
    if (owner) owner->SetTimer(0, 0);
    return owner != nullptr;
}

void InitCommonControls() {}

} // namespace zorsystem
