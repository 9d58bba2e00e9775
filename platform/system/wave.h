// Audio capture by the waveIn functions. Of the system's records just the members in use.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

PLATFORM_HANDLE(HWAVEIN);

struct WAVEFORMATEX {
    WORD wFormatTag;
    WORD nChannels;
    DWORD nSamplesPerSec;
    DWORD nAvgBytesPerSec;
    WORD nBlockAlign;
    WORD wBitsPerSample;
    WORD cbSize;
};
struct WAVEHDR {
    char* lpData;
    DWORD dwBufferLength;
    DWORD dwBytesRecorded;
    DWORD_PTR dwUser;
    DWORD dwFlags;
};
struct WAVEINCAPSA {
    char szPname[MAXPNAMELEN];
    DWORD dwFormats;
    WORD wChannels;
};
struct MMTIME {
    UINT wType;
    union {
        DWORD ms;
        DWORD sample;
        DWORD cb;
    } u;
};

constexpr WORD WAVE_FORMAT_PCM = 1;
constexpr UINT WIM_OPEN = 0x3BE;
constexpr UINT WIM_CLOSE = 0x3BF;
constexpr UINT WIM_DATA = 0x3C0;
constexpr DWORD WHDR_DONE = 1;
constexpr DWORD WHDR_PREPARED = 2;
constexpr DWORD WHDR_INQUEUE = 0x10;
constexpr UINT TIME_MS = 1;
constexpr UINT TIME_SAMPLES = 2;
constexpr UINT TIME_BYTES = 4;
constexpr UINT TIME_SMPTE = 8;
constexpr MMRESULT WAVERR_BADFORMAT = 32;
constexpr MMRESULT WAVERR_STILLPLAYING = 33;
constexpr MMRESULT WAVERR_UNPREPARED = 34;

PLATFORM_API UINT waveInGetNumDevs();
PLATFORM_API MMRESULT waveInGetDevCapsA(UINT_PTR device, WAVEINCAPSA* caps, UINT size);
PLATFORM_API MMRESULT waveInOpen(HWAVEIN* handle, UINT device, const WAVEFORMATEX* format,
                                 DWORD_PTR callback, DWORD_PTR instance, DWORD flags);
PLATFORM_API MMRESULT waveInClose(HWAVEIN handle);
PLATFORM_API MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size);
PLATFORM_API MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size);
PLATFORM_API MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT size);
PLATFORM_API MMRESULT waveInStart(HWAVEIN handle);
PLATFORM_API MMRESULT waveInStop(HWAVEIN handle);
PLATFORM_API MMRESULT waveInReset(HWAVEIN handle);
PLATFORM_API MMRESULT waveInGetPosition(HWAVEIN handle, MMTIME* time, UINT size);

} // namespace zorsystem
