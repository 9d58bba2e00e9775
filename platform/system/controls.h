// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The controls of dialogs: styles, messages and notifications.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

constexpr DWORD BS_PUSHBUTTON = 0;
constexpr DWORD BS_DEFPUSHBUTTON = 1;
constexpr DWORD BS_AUTOCHECKBOX = 3;
constexpr DWORD BS_GROUPBOX = 7;
constexpr DWORD BS_AUTORADIOBUTTON = 9;
constexpr DWORD BS_TYPEMASK = 0xF;
constexpr WORD BN_CLICKED = 0;
constexpr UINT BST_UNCHECKED = 0;
constexpr UINT BST_CHECKED = 1;

constexpr DWORD SS_LEFT = 0;
constexpr DWORD SS_CENTER = 1;
constexpr DWORD SS_RIGHT = 2;
constexpr DWORD SS_ICON = 3;
constexpr DWORD SS_BLACKFRAME = 7;
constexpr DWORD SS_TYPEMASK = 0x1F;

constexpr DWORD ES_AUTOHSCROLL = 0x80;
constexpr WORD EN_KILLFOCUS = 0x0200;
constexpr WORD EN_CHANGE = 0x0300;

constexpr DWORD CBS_DROPDOWNLIST = 0x3;
constexpr DWORD CBS_SORT = 0x100;
constexpr UINT CB_ADDSTRING = 0x0143;
constexpr UINT CB_GETCURSEL = 0x0147;
constexpr UINT CB_GETLBTEXT = 0x0148;
constexpr UINT CB_GETLBTEXTLEN = 0x0149;
constexpr UINT CB_RESETCONTENT = 0x014B;
constexpr UINT CB_FINDSTRING = 0x014C;
constexpr UINT CB_SETCURSEL = 0x014E;
constexpr UINT CB_GETITEMDATA = 0x0150;
constexpr UINT CB_SETITEMDATA = 0x0151;
constexpr UINT CB_GETDROPPEDSTATE = 0x0157;
constexpr LRESULT CB_ERR = -1;
constexpr WORD CBN_SELCHANGE = 1;

// The trackbar, of class "msctls_trackbar32". It reports by WM_VSCROLL with its handle.
constexpr DWORD TBS_AUTOTICKS = 0x1;
constexpr DWORD TBS_VERT = 0x2;
constexpr DWORD TBS_BOTH = 0x8;
constexpr UINT TBM_GETPOS = 0x0400;
constexpr UINT TBM_SETPOS = 0x0405;      // second parameter the position; first: repaint
constexpr UINT TBM_SETRANGEMIN = 0x0407; // as TBM_SETPOS
constexpr UINT TBM_SETRANGEMAX = 0x0408; // as TBM_SETPOS
constexpr UINT TBM_SETTICFREQ = 0x0414;
constexpr UINT TBM_SETPAGESIZE = 0x0415; // pages have no size here
constexpr WORD TB_THUMBTRACK = 5;

// Does nothing: the trackbar is always available here. The system requires the call.
void InitCommonControls();

} // namespace zorsystem
