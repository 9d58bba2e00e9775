// Message boxes, and what dialogs need.
#pragma once

#include "platform/system/types.h"

constexpr UINT MB_OK = 0;
constexpr UINT MB_ICONHAND = 0x10;
constexpr UINT MB_ICONEXCLAMATION = 0x30;
constexpr UINT MB_TASKMODAL = 0x2000;
constexpr UINT MB_SETFOREGROUND = 0x10000;
constexpr UINT MB_TOPMOST = 0x40000;
constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;

PLATFORM_API int MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT flags);
PLATFORM_API HWND GetFocus();
