// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// MIDI devices.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

PLATFORM_HANDLE(HMIDIIN);
PLATFORM_HANDLE(HMIDIOUT);

// Records with only the members that the library uses.
struct MIDIINCAPSA {
    char szPname[MAXPNAMELEN];
    DWORD dwSupport;
};
struct MIDIOUTCAPSA {
    char szPname[MAXPNAMELEN];
    DWORD dwSupport;
};

constexpr UINT MIDI_MAPPER = 0xFFFFFFFF;
constexpr DWORD MIDI_IO_STATUS = 0x20;
constexpr DWORD MIDICAPS_CACHE = 0x0004;
constexpr UINT MIDI_CACHE_BESTFIT = 2;
constexpr UINT MIDI_CACHE_QUERY = 3;
constexpr int MIDIPATCHSIZE = 128;
constexpr UINT MIM_OPEN = 961;
constexpr UINT MIM_CLOSE = 962;
constexpr UINT MIM_DATA = 963;
constexpr UINT MIM_LONGDATA = 964;
constexpr UINT MIM_ERROR = 965;
constexpr UINT MIM_LONGERROR = 966;
constexpr UINT MIM_MOREDATA = 972;
constexpr MMRESULT MIDIERR_NOTREADY = 67;
constexpr MMRESULT MIDIERR_NODEVICE = 68;
// This layer's own code, behind those of the system: the software synthesizer cannot be opened.
// Its text is the reason.
constexpr MMRESULT MIDIERR_NOSOUND = 71;

UINT midiInGetNumDevs();
MMRESULT midiInGetDevCapsA(UINT_PTR device, MIDIINCAPSA* caps, UINT size);
MMRESULT midiInOpen(HMIDIIN* handle, UINT device, DWORD_PTR callback, DWORD_PTR instance,
                    DWORD flags);
MMRESULT midiInStart(HMIDIIN handle);
MMRESULT midiInStop(HMIDIIN handle);
MMRESULT midiInReset(HMIDIIN handle);
MMRESULT midiInClose(HMIDIIN handle);
MMRESULT midiInGetErrorTextA(MMRESULT code, LPSTR text, UINT size);

UINT midiOutGetNumDevs();
MMRESULT midiOutGetDevCapsA(UINT_PTR device, MIDIOUTCAPSA* caps, UINT size);
MMRESULT midiOutOpen(HMIDIOUT* handle, UINT device, DWORD_PTR callback, DWORD_PTR instance,
                     DWORD flags);
MMRESULT midiOutReset(HMIDIOUT handle);
MMRESULT midiOutClose(HMIDIOUT handle);
MMRESULT midiOutShortMsg(HMIDIOUT handle, DWORD message);
MMRESULT midiOutCachePatches(HMIDIOUT handle, UINT bank, WORD* patches, UINT flag);
MMRESULT midiOutGetErrorTextA(MMRESULT code, LPSTR text, UINT size);

} // namespace zorsystem
