// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Audio mixer lines and controls.
#pragma once

#include "platform/system/types.h"

namespace zorsystem {

PLATFORM_HANDLE(HMIXER);
PLATFORM_HANDLE(HMIXEROBJ);

// Records with only the members that the library uses.
struct MIXERCAPSA {
    char szPname[MAXPNAMELEN];
};
struct MIXERLINEA {
    DWORD cbStruct;
    DWORD dwDestination;
    DWORD dwSource;
    DWORD dwLineID;
    DWORD dwComponentType;
    DWORD cChannels;
    DWORD cConnections;
};
struct MIXERCONTROLA {
    DWORD dwControlID;
    DWORD dwControlType;
    DWORD fdwControl;
    struct {
        DWORD dwMaximum;
    } Bounds;
};
struct MIXERLINECONTROLSA {
    DWORD cbStruct;
    DWORD dwLineID;
    DWORD dwControlType;
    DWORD cControls;
    DWORD cbmxctrl;
    MIXERCONTROLA* pamxctrl;
};
struct MIXERCONTROLDETAILS {
    DWORD cbStruct;
    DWORD dwControlID;
    DWORD cChannels;
    DWORD cMultipleItems;
    DWORD cbDetails;
    LPVOID paDetails;
};

constexpr DWORD MIXERLINE_COMPONENTTYPE_DST_SPEAKERS = 4;
constexpr DWORD MIXERLINE_COMPONENTTYPE_DST_WAVEIN = 7;
constexpr DWORD MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE = 0x1003;
constexpr DWORD MIXERCONTROL_CONTROLTYPE_VOLUME = 0x50030001;
constexpr DWORD MIXERCONTROL_CONTROLTYPE_MUTE = 0x20010002;
constexpr DWORD MIXERCONTROL_CONTROLF_UNIFORM = 1;
constexpr DWORD MIXER_GETLINEINFOF_SOURCE = 1;
constexpr DWORD MIXER_GETLINEINFOF_COMPONENTTYPE = 3;
constexpr DWORD MIXER_GETLINECONTROLSF_ONEBYTYPE = 2;
constexpr DWORD MIXER_OBJECTF_WAVEIN = 0x20000000;
constexpr MMRESULT MIXERR_INVALLINE = 1024;
constexpr MMRESULT MIXERR_INVALCONTROL = 1025;

UINT mixerGetNumDevs();
MMRESULT mixerGetDevCapsA(UINT_PTR mixer, MIXERCAPSA* caps, UINT size);
MMRESULT mixerOpen(HMIXER* handle, UINT mixer, DWORD_PTR callback, DWORD_PTR instance, DWORD flags);
MMRESULT mixerClose(HMIXER handle);
MMRESULT mixerGetLineInfoA(HMIXEROBJ mixer, MIXERLINEA* line, DWORD flags);
MMRESULT mixerGetLineControlsA(HMIXEROBJ mixer, MIXERLINECONTROLSA* controls, DWORD flags);
MMRESULT mixerGetControlDetailsA(HMIXEROBJ mixer, MIXERCONTROLDETAILS* details, DWORD flags);
MMRESULT mixerSetControlDetails(HMIXEROBJ mixer, MIXERCONTROLDETAILS* details, DWORD flags);

} // namespace zorsystem
