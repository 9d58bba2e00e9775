// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The system's basic types and calling convention.
#pragma once

#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK

namespace zorsystem {

using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = unsigned int;
using BOOL = int;
using LONG = std::int32_t;
using HRESULT = std::int32_t;
using DWORD_PTR = std::uintptr_t;
using UINT_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using WPARAM = UINT_PTR;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using INT_PTR = std::intptr_t;
using SIZE_T = std::size_t;
using HANDLE = void*;
using HGLOBAL = void*;
using LPVOID = void*;
using LPSTR = char*;
using LPCSTR = const char*;

// Handles are pointers to distinct types, so that the compiler rejects a wrong one.
#define PLATFORM_HANDLE(name)                                                                      \
    struct name##__;                                                                               \
    using name = name##__*
PLATFORM_HANDLE(HINSTANCE);
PLATFORM_HANDLE(HWND);
using HMODULE = HINSTANCE;

constexpr BOOL FALSE = 0;
constexpr BOOL TRUE = 1;
constexpr DWORD INFINITE = 0xFFFFFFFF;
constexpr int MAX_PATH = 260;

using MMRESULT = UINT;
constexpr MMRESULT MMSYSERR_NOERROR = 0;
constexpr MMRESULT MMSYSERR_ERROR = 1;
constexpr MMRESULT MMSYSERR_BADDEVICEID = 2;
constexpr MMRESULT MMSYSERR_ALLOCATED = 4;
constexpr MMRESULT MMSYSERR_INVALHANDLE = 5;
constexpr MMRESULT MMSYSERR_NODRIVER = 6;
constexpr MMRESULT MMSYSERR_NOMEM = 7;
constexpr MMRESULT MMSYSERR_NOTSUPPORTED = 8;
constexpr MMRESULT MMSYSERR_BADERRNUM = 9;
constexpr MMRESULT MMSYSERR_INVALPARAM = 11;
constexpr int MAXPNAMELEN = 32;
constexpr DWORD CALLBACK_NULL = 0;
constexpr DWORD CALLBACK_FUNCTION = 0x30000;

} // namespace zorsystem

// The folders calls/ and ui/ use the system's names unqualified, as the library does.
namespace calls {
using namespace zorsystem;
}
namespace ui {
using namespace zorsystem;
}
