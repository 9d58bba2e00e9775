// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Kernel services: critical sections, global memory, modules, private-profile files, events,
// waits and threads.
#pragma once

#include "platform/system/types.h"

#include <mutex>

namespace zorsystem {

// A recursive lock. Need not be deleted: it may be entered until the process ends.
struct CRITICAL_SECTION {
    std::recursive_mutex Mutex;
};
void InitializeCriticalSection(CRITICAL_SECTION* section);
void DeleteCriticalSection(CRITICAL_SECTION* section);
void EnterCriticalSection(CRITICAL_SECTION* section);
BOOL TryEnterCriticalSection(CRITICAL_SECTION* section);
void LeaveCriticalSection(CRITICAL_SECTION* section);

// A thread-local pointer under an index that all threads share; null until the thread sets it.
// Neither call allocates.
constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFF;
DWORD TlsAlloc();
LPVOID TlsGetValue(DWORD index);
BOOL TlsSetValue(DWORD index, LPVOID value);

constexpr UINT GMEM_MOVEABLE = 0x0002;
constexpr UINT GMEM_ZEROINIT = 0x0040;
constexpr UINT GMEM_SHARE = 0x2000;
constexpr UINT GPTR = 0x0040;
// Zero-filled, whatever the flags. Arguments of the other calls must come from GlobalAlloc and
// GlobalLock.
HGLOBAL GlobalAlloc(UINT flags, SIZE_T bytes);
LPVOID GlobalLock(HGLOBAL memory);
BOOL GlobalUnlock(HGLOBAL memory);
HGLOBAL GlobalHandle(const void* address);
HGLOBAL GlobalFree(HGLOBAL memory);

using FARPROC = INT_PTR(WINAPI*)();
DWORD GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size);
// Supports these two flags, and only together: the module that contains an address stays loaded
// until the process ends.
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_PIN = 1;
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 4;
BOOL GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module);
HMODULE LoadLibraryA(LPCSTR name);
FARPROC GetProcAddress(HMODULE module, LPCSTR name);
BOOL FreeLibrary(HMODULE module);
int LoadStringA(HINSTANCE module, UINT id, LPSTR buffer, int size);
// drive may be returned empty; directory ends in its separator. name and extension must be null.
void _splitpath(const char* path, char* drive, char* directory, char* name, char* extension);
constexpr int _MAX_DRIVE = 3;
constexpr int _MAX_DIR = 256;

// section, key, value and fallback must not be null. A change is on disk when the call returns.
DWORD GetPrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR fallback, LPSTR buffer,
                               DWORD size, LPCSTR file);
UINT GetPrivateProfileIntA(LPCSTR section, LPCSTR key, int fallback, LPCSTR file);
BOOL WritePrivateProfileStringA(LPCSTR section, LPCSTR key, LPCSTR value, LPCSTR file);

constexpr DWORD WAIT_OBJECT_0 = 0;
constexpr DWORD WAIT_TIMEOUT = 0x102;
constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;
HANDLE CreateEventA(void* security, BOOL manualReset, BOOL signalled, LPCSTR name);
BOOL SetEvent(HANDLE event);
BOOL ResetEvent(HANDLE event);
DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds);
// Waits until one of the objects is signalled: all must be FALSE.
DWORD WaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all, DWORD milliseconds);
BOOL CloseHandle(HANDLE handle);
// Returns a handle that is valid until CloseHandle; the start function ends the thread by
// returning. id is not written.
std::uintptr_t _beginthreadex(void* security, unsigned stackSize, unsigned(WINAPI* start)(void*),
                              void* argument, unsigned flags, unsigned* id);
void Sleep(DWORD milliseconds);

} // namespace zorsystem
