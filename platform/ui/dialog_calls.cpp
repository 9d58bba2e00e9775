// The system calls on dialogs, windows and controls.
#include "platform/calls/resources.h"
#include "platform/machine/fault_point.h"
#include "platform/system/controls.h"
#include "platform/system/user.h"
#include "platform/ui/dialog.h"
#include "platform/ui/handles.h"
#include "platform/ui/screen.h"
#include "platform/virtual/dialogs.h"

#include <atomic>
#include <charconv>
#include <cstring>
#include <string>
#include <string_view>

namespace zorsystem {

using namespace ui;

namespace {

// The one that is in front, null for none.
std::atomic<HWND> openDialog{nullptr};

// Null for a handle that is not a whole dialog's.
Dialog* DialogOf(HWND window) {
    const Target target = Resolve(window);
    return target.Item ? nullptr : target.Owner;
}

Control* ControlOf(HWND dialog, int id) {
    const Dialog* owner = DialogOf(dialog);
    return owner ? owner->Find(id) : nullptr;
}

HWND HandleOf(const Control* control) { return control ? control->Handle : nullptr; }

void SetText(Control& control, const std::string& text) {
    if (control.Text == text) return;
    control.Text = text;
    if (!control.Is(Kind::Edit)) return;
    for (const WORD code : {EN_UPDATE, EN_CHANGE})
        control.Owner->Send(WM_COMMAND, MAKEWPARAM(static_cast<WORD>(control.Id), code),
                            reinterpret_cast<LPARAM>(control.Handle));
}

// What an unsigned or signed 32-bit number makes of the beginning of the text.
template <typename Number>
bool ReadNumber(std::string_view text, Number& number) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
}

// Null if the module has no such dialog. The tables stay as long as the module does.
const DialogTemplate* FindTemplate(HINSTANCE module, unsigned id) {
    for (const DialogTemplate& dialog : machine::ResourcesOf(module).Dialogs)
        if (static_cast<unsigned>(dialog.Id) == id) return &dialog;
    return nullptr;
}

} // namespace

INT_PTR DialogBoxParamA(HINSTANCE module, LPCSTR resource, HWND parent, DLGPROC procedure,
                        LPARAM init) {
    if (const auto failure = machine::OrderedFailure(machine::Call::DialogBoxParamA))
        return *failure;
    const auto id = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(resource));
    const DialogTemplate* form = FindTemplate(module, id);
    Screen* screen = TheScreen();
    if (!form) SetDialogError("The module has no dialog " + std::to_string(id) + ".");
    if (!form || !screen) return -1;

    const ShowingDialog showing(*screen);
    Dialog dialog(*form, screen->Measure(), parent, procedure);
    const HWND around = openDialog.exchange(dialog.Handle);
    dialog.Start(init);
    if (!dialog.Ended) screen->Run(dialog);
    DispatchPosted();
    openDialog = around;
    return dialog.Result;
}

BOOL EndDialog(HWND dialog, INT_PTR result) {
    Dialog* owner = DialogOf(dialog);
    if (!owner) return FALSE;
    owner->End(result);
    return TRUE;
}

LRESULT SendMessageA(HWND window, UINT message, WPARAM first, LPARAM second) {
    const Target target = Resolve(window);
    if (target.Item) return Answer(*target.Item, message, first, second);
    if (!target.Owner || target.Owner->Ended) return 0;
    if (target.Owner->Send(message, first, second)) return 1;
    // What a dialog does by itself when it is closed.
    if (message == WM_CLOSE) target.Owner->CloseBox();
    return 0;
}

LRESULT SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM first, LPARAM second) {
    Control* control = ControlOf(dialog, id);
    return control ? Answer(*control, message, first, second) : 0;
}

BOOL PostMessageA(HWND window, UINT message, WPARAM first, LPARAM second) {
    return Post(window, message, first, second);
}

HWND GetDlgItem(HWND dialog, int id) { return HandleOf(ControlOf(dialog, id)); }

int GetDlgCtrlID(HWND control) {
    const Target target = Resolve(control);
    return target.Item ? target.Item->Id : 0;
}

HWND GetParent(HWND window) {
    const Target target = Resolve(window);
    if (!target.Owner) return nullptr;
    return target.Item ? target.Owner->Handle : target.Owner->Parent;
}

HWND GetWindow(HWND window, UINT relation) {
    const Target target = Resolve(window);
    if (!target.Owner) return nullptr;
    if (relation == GW_CHILD && !target.Item && !target.Owner->Controls.empty())
        return target.Owner->Controls.front()->Handle;
    if (relation == GW_HWNDNEXT && target.Item) return HandleOf(target.Owner->After(*target.Item));
    return nullptr;
}

BOOL SetDlgItemTextA(HWND dialog, int id, LPCSTR text) {
    Control* control = ControlOf(dialog, id);
    if (!control) return FALSE;
    SetText(*control, text ? text : "");
    return TRUE;
}

UINT GetDlgItemTextA(HWND dialog, int id, LPSTR buffer, int size) {
    const Control* control = ControlOf(dialog, id);
    if (!buffer || size < 1) return 0;
    const std::string text = control ? control->Text : std::string();
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<UINT>(length);
}

BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned) {
    const std::string text =
        isSigned ? std::to_string(static_cast<int>(value)) : std::to_string(value);
    return SetDlgItemTextA(dialog, id, text.c_str());
}

UINT GetDlgItemInt(HWND dialog, int id, BOOL* translated, BOOL isSigned) {
    const Control* control = ControlOf(dialog, id);
    UINT value = 0;
    int signedValue = 0;
    bool read = control && (isSigned ? ReadNumber(control->Text, signedValue)
                                     : ReadNumber(control->Text, value));
    if (translated) *translated = read;
    if (!read) return 0;
    return isSigned ? static_cast<UINT>(signedValue) : value;
}

BOOL CheckDlgButton(HWND dialog, int id, UINT check) {
    Control* control = ControlOf(dialog, id);
    if (!control) return FALSE;
    control->Checked = check == BST_CHECKED;
    if (control->Is(Kind::RadioButton) && control->Checked)
        control->Style |= WS_TABSTOP;
    else if (control->Is(Kind::RadioButton))
        control->Style &= ~WS_TABSTOP;
    return TRUE;
}

UINT IsDlgButtonChecked(HWND dialog, int id) {
    const Control* control = ControlOf(dialog, id);
    return control && control->Checked ? BST_CHECKED : BST_UNCHECKED;
}

HWND SetFocus(HWND window) {
    const Target target = Resolve(window);
    if (!target.Item) return nullptr;
    const HWND before = HandleOf(target.Owner->Focus);
    if (target.Item->Reachable()) target.Owner->MoveFocus(target.Item);
    return before;
}

BOOL GetWindowRect(HWND window, RECT* place) {
    const Target target = Resolve(window);
    if (!target.Owner || !place) return FALSE;
    Box box = target.Owner->Place;
    if (target.Item) {
        const Box& inside = target.Item->Place;
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

BOOL MoveWindow(HWND window, int x, int y, int width, int height, BOOL) {
    const Target target = Resolve(window);
    if (!target.Owner) return FALSE;
    (target.Item ? target.Item->Place : target.Owner->Place) = {x, y, width, height};
    return TRUE;
}

BOOL IsWindowVisible(HWND window) {
    const Target target = Resolve(window);
    if (!target.Owner || !target.Owner->Visible) return FALSE;
    return !target.Item || target.Item->Visible;
}

BOOL ShowWindow(HWND window, int command) {
    const Target target = Resolve(window);
    if (!target.Owner) return FALSE;
    bool& visible = target.Item ? target.Item->Visible : target.Owner->Visible;
    const bool before = visible;
    visible = command != SW_HIDE;
    if (!visible && target.Item && target.Owner->Focus == target.Item)
        target.Owner->MoveFocus(nullptr);
    return before;
}

BOOL EnableWindow(HWND window, BOOL enable) {
    const Target target = Resolve(window);
    if (!target.Item) return FALSE;
    const bool wasDisabled = !target.Item->Enabled;
    target.Item->Enabled = enable != FALSE;
    if (!enable && target.Owner->Focus == target.Item) target.Owner->MoveFocus(nullptr);
    return wasDisabled;
}

BOOL IsWindowEnabled(HWND window) {
    const Target target = Resolve(window);
    if (!target.Owner) return FALSE;
    return !target.Item || target.Item->Enabled;
}

LONG_PTR SetWindowLongPtrA(HWND window, int index, LONG_PTR value) {
    Dialog* owner = DialogOf(window);
    if (!owner || index != DWLP_USER) return 0;
    const LONG_PTR before = owner->UserWord;
    owner->UserWord = value;
    return before;
}

LONG_PTR GetWindowLongPtrA(HWND window, int index) {
    const Dialog* owner = DialogOf(window);
    return owner && index == DWLP_USER ? owner->UserWord : 0;
}

UINT_PTR SetTimer(HWND window, UINT_PTR id, UINT milliseconds, TIMERPROC procedure) {
    Dialog* owner = DialogOf(window);
    if (!owner || procedure) return 0;
    owner->StartTimer(id, milliseconds);
    return id;
}

BOOL KillTimer(HWND window, UINT_PTR id) {
    Dialog* owner = DialogOf(window);
    return owner && owner->StopTimer(id);
}

void InitCommonControls() {}

} // namespace zorsystem

namespace machine {

HWND CreateHostWindow(WindowProcedure procedure) {
    return ui::NewHostHandle([heard = std::move(procedure)](UINT message, WPARAM first, LPARAM second) {
        if (heard) heard(message, first, second);
    });
}

bool CloseDialog() { return ui::Post(zorsystem::openDialog, WM_CLOSE, 0, 0); }

void DestroyHostWindow(HWND window) { ui::DropHandle(window); }

} // namespace machine
