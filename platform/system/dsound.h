// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// DirectSound capture. Nothing here is linked: a caller loads "DSOUND.DLL" and looks up the two
// entry points by name. This machine has the module only if a test offers it (machine/modules.h).
#pragma once

#include "platform/system/types.h"
#include "platform/system/wave.h"

namespace zorsystem {

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
    friend bool operator==(const GUID&, const GUID&) = default;
};
using REFIID = const GUID&;
using LPGUID = GUID*;
using LPCGUID = const GUID*;

struct IUnknown {
    virtual HRESULT QueryInterface(REFIID id, void** object) = 0;
    virtual DWORD AddRef() = 0;
    virtual DWORD Release() = 0;

protected:
    ~IUnknown() = default;
};
using LPUNKNOWN = IUnknown*;

constexpr HRESULT DS_OK = 0;
constexpr HRESULT DSERR_ALLOCATED = static_cast<HRESULT>(0x8878000Au);
constexpr HRESULT DSERR_BADFORMAT = static_cast<HRESULT>(0x88780064u);
constexpr HRESULT DSERR_NODRIVER = static_cast<HRESULT>(0x88780078u);
constexpr HRESULT DSERR_INVALIDPARAM = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT DSERR_GENERIC = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr bool SUCCEEDED(HRESULT result) { return result >= 0; }
constexpr bool FAILED(HRESULT result) { return result < 0; }

constexpr DWORD DSCBSTART_LOOPING = 1;
struct DSCBUFFERDESC1 {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwBufferBytes;
    DWORD dwReserved;
    WAVEFORMATEX* lpwfxFormat;
};
// The system's record has more members since; dwSize shows which form a caller uses.
struct DSCBUFFERDESC : DSCBUFFERDESC1 {};
struct DSBPOSITIONNOTIFY {
    DWORD dwOffset;
    HANDLE hEventNotify;
};

struct IDirectSoundCaptureBuffer : IUnknown {
    virtual HRESULT GetCurrentPosition(DWORD* captured, DWORD* readable) = 0;
    virtual HRESULT Lock(DWORD offset, DWORD bytes, void** first, DWORD* firstBytes, void** second,
                         DWORD* secondBytes, DWORD flags) = 0;
    virtual HRESULT Start(DWORD flags) = 0;
    virtual HRESULT Stop() = 0;
    virtual HRESULT Unlock(void* first, DWORD firstBytes, void* second, DWORD secondBytes) = 0;

protected:
    ~IDirectSoundCaptureBuffer() = default;
};
struct IDirectSoundCapture : IUnknown {
    virtual HRESULT CreateCaptureBuffer(const DSCBUFFERDESC* desc,
                                        IDirectSoundCaptureBuffer** buffer, IUnknown* outer) = 0;

protected:
    ~IDirectSoundCapture() = default;
};
struct IDirectSoundNotify : IUnknown {
    virtual HRESULT SetNotificationPositions(DWORD count, const DSBPOSITIONNOTIFY* positions) = 0;

protected:
    ~IDirectSoundNotify() = default;
};

using LPDSENUMCALLBACKA = BOOL(CALLBACK*)(LPGUID guid, LPCSTR description, LPCSTR module,
                                          LPVOID context);

} // namespace zorsystem
