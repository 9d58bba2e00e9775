// DirectSound capture. Nothing here is linked: a caller loads "DSOUND.DLL" and looks up the two
// entry points by name, and whether it is there is a setting of the machine.
#pragma once

#include "platform/system/types.h"
#include "platform/system/wave.h"

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
    friend bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);
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
constexpr HRESULT DSERR_INVALIDCALL = static_cast<HRESULT>(0x88780032u);
constexpr HRESULT DSERR_BADFORMAT = static_cast<HRESULT>(0x88780064u);
constexpr HRESULT DSERR_NODRIVER = static_cast<HRESULT>(0x88780078u);
constexpr HRESULT DSERR_INVALIDPARAM = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT DSERR_GENERIC = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT DSERR_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT DSERR_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
constexpr HRESULT DSERR_ALREADYINITIALIZED = static_cast<HRESULT>(0x88780082u);
constexpr HRESULT DSERR_UNSUPPORTED = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr bool SUCCEEDED(HRESULT result) { return result >= 0; }
constexpr bool FAILED(HRESULT result) { return result < 0; }

constexpr DWORD DSCBSTART_LOOPING = 1;
constexpr DWORD DSCBLOCK_ENTIREBUFFER = 1;
constexpr DWORD DSCBSTATUS_CAPTURING = 1;
constexpr DWORD DSCBSTATUS_LOOPING = 2;
// An offset for the event that tells the stop.
constexpr DWORD DSBPN_OFFSETSTOP = 0xFFFFFFFF;
constexpr GUID IID_IDirectSoundNotify = {
    0xb0210783, 0x89cd, 0x11d0, {0xaf, 0x08, 0x00, 0xa0, 0xc9, 0x25, 0xcd, 0x16}};

// The system's record has grown since; a caller that wants the first form sets dwSize to 20 (with
// 32-bit pointers) or DSCBUFFERDESC1's size.
struct DSCBUFFERDESC {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwBufferBytes;
    DWORD dwReserved;
    WAVEFORMATEX* lpwfxFormat;
    DWORD dwFXCount;
    void* lpDSCFXDesc;
};
struct DSCBUFFERDESC1 {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwBufferBytes;
    DWORD dwReserved;
    WAVEFORMATEX* lpwfxFormat;
};
struct DSBPOSITIONNOTIFY {
    DWORD dwOffset;
    HANDLE hEventNotify;
};
struct DSCCAPS {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwFormats;
    DWORD dwChannels;
};
struct DSCBCAPS {
    DWORD dwSize;
    DWORD dwFlags;
    DWORD dwBufferBytes;
    DWORD dwReserved;
};

struct IDirectSoundCaptureBuffer : IUnknown {
    virtual HRESULT GetCaps(DSCBCAPS* caps) = 0;
    virtual HRESULT GetCurrentPosition(DWORD* captured, DWORD* readable) = 0;
    virtual HRESULT GetFormat(WAVEFORMATEX* format, DWORD size, DWORD* written) = 0;
    virtual HRESULT GetStatus(DWORD* status) = 0;
    virtual HRESULT Initialize(struct IDirectSoundCapture* owner, const DSCBUFFERDESC* desc) = 0;
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
    virtual HRESULT GetCaps(DSCCAPS* caps) = 0;
    virtual HRESULT Initialize(const GUID* device) = 0;

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
