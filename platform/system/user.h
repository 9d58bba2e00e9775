// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Windows, messages, dialogs and message boxes.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

constexpr UINT MB_OK = 0;
constexpr UINT MB_ICONHAND = 0x10;
constexpr UINT MB_ICONEXCLAMATION = 0x30;
constexpr UINT MB_TASKMODAL = 0x2000;
constexpr UINT MB_SETFOREGROUND = 0x10000;
constexpr UINT MB_TOPMOST = 0x40000;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;

int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT flags);
HWND GetFocus();
HWND SetFocus(HWND control); // of a dialog, from the thread that shows it

struct RECT {
    LONG left, top, right, bottom; // pixels; right and bottom are exclusive
};

constexpr WORD LOWORD(DWORD_PTR value) { return static_cast<WORD>(value); }
constexpr WORD HIWORD(DWORD_PTR value) { return static_cast<WORD>(value >> 16); }
constexpr WPARAM MAKEWPARAM(WORD low, WORD high) { return low | static_cast<WPARAM>(high) << 16; }
// Passes a resource's number where a name is expected.
inline LPSTR MAKEINTRESOURCEA(WORD id) { return reinterpret_cast<LPSTR>(std::uintptr_t{id}); }

constexpr UINT WM_CLOSE = 0x0010;
constexpr UINT WM_INITDIALOG = 0x0110;
constexpr UINT WM_COMMAND = 0x0111;
constexpr UINT WM_TIMER = 0x0113;
constexpr UINT WM_VSCROLL = 0x0115;
constexpr UINT WM_USER = 0x0400;

constexpr DWORD WS_VISIBLE = 0x10000000;
constexpr DWORD WS_BORDER = 0x00800000;
constexpr DWORD WS_VSCROLL = 0x00200000;
constexpr DWORD WS_GROUP = 0x00020000;
constexpr DWORD WS_TABSTOP = 0x00010000;

using DLGPROC = INT_PTR(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);

// Runs a modal dialog of the module's resources. Returns the argument of EndDialog; -1 if there is
// no such resource or no screen. Thread: the host's; blocks until the dialog has ended.
INT_PTR DialogBoxParamA(HINSTANCE module, LPCSTR resource, HWND parent, DLGPROC procedure,
                        LPARAM init);
BOOL EndDialog(HWND dialog, INT_PTR result);

// Only PostMessageA may be called by other threads than the dialog's. Its target is a dialog or a
// window of the host.
LRESULT SendMessageA(HWND control, UINT message, WPARAM first, LPARAM second);
LRESULT SendDlgItemMessageA(HWND dialog, int id, UINT message, WPARAM first, LPARAM second);
BOOL PostMessageA(HWND window, UINT message, WPARAM first, LPARAM second);

HWND GetDlgItem(HWND dialog, int id);
int GetDlgCtrlID(HWND control);
HWND GetParent(HWND dialog);
constexpr UINT GW_HWNDNEXT = 2; // of a control
constexpr UINT GW_CHILD = 5;    // of a dialog
HWND GetWindow(HWND window, UINT relation);

BOOL SetDlgItemTextA(HWND dialog, int id, LPCSTR text);
BOOL SetDlgItemInt(HWND dialog, int id, UINT value, BOOL isSigned);
// Reads the number at the beginning of the text, after blanks; 0 if there is none or it is out of
// range. translated must be null.
UINT GetDlgItemInt(HWND dialog, int id, BOOL* translated, BOOL isSigned);
BOOL CheckDlgButton(HWND dialog, int id, UINT check);
UINT IsDlgButtonChecked(HWND dialog, int id);

// GetWindowRect: in pixels of the screen. GetClientRect: relative to the window's top left corner.
BOOL GetWindowRect(HWND window, RECT* place);
BOOL GetClientRect(HWND window, RECT* area);
BOOL MoveWindow(HWND dialog, int x, int y, int width, int height, BOOL repaint);
BOOL IsWindowVisible(HWND control);
constexpr int SW_HIDE = 0;
constexpr int SW_SHOWNORMAL = 1;
constexpr int SW_SHOW = 5;
// Returns whether the control was visible before.
BOOL ShowWindow(HWND control, int command);
// Returns whether the control was disabled before.
BOOL EnableWindow(HWND control, BOOL enable);

// The dialog's user word.
constexpr int DWLP_USER = 2 * static_cast<int>(sizeof(LONG_PTR));
LONG_PTR SetWindowLongPtrA(HWND dialog, int index, LONG_PTR value);
LONG_PTR GetWindowLongPtrA(HWND dialog, int index);

// Sends WM_TIMER to a dialog at this interval until KillTimer or the dialog's end. A dialog has one
// timer; procedure must be null.
UINT_PTR SetTimer(HWND dialog, UINT_PTR id, UINT milliseconds, LPVOID procedure);
BOOL KillTimer(HWND dialog, UINT_PTR id);

// Starts a program. Returns a value above 32 for success. Supports only "sndvol32.exe", for
// recording or playing, which starts this system's own volume program.
HINSTANCE ShellExecuteA(HWND owner, LPCSTR verb, LPCSTR file, LPCSTR parameters, LPCSTR folder,
                        int show);

} // namespace zorsystem
