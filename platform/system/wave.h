// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Audio capture by the waveIn functions. Records have only the members that the library uses.
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

UINT waveInGetNumDevs();
MMRESULT waveInGetDevCapsA(UINT_PTR device, WAVEINCAPSA* caps, UINT size);
MMRESULT waveInOpen(HWAVEIN* handle, UINT device, const WAVEFORMATEX* format, DWORD_PTR callback,
                    DWORD_PTR instance, DWORD flags);
MMRESULT waveInClose(HWAVEIN handle);
MMRESULT waveInPrepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size);
MMRESULT waveInUnprepareHeader(HWAVEIN handle, WAVEHDR* header, UINT size);
MMRESULT waveInAddBuffer(HWAVEIN handle, WAVEHDR* header, UINT size);
MMRESULT waveInStart(HWAVEIN handle);
MMRESULT waveInStop(HWAVEIN handle);
MMRESULT waveInReset(HWAVEIN handle);
MMRESULT waveInGetPosition(HWAVEIN handle, MMTIME* time, UINT size);

} // namespace zorsystem
