// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Finds, reads and writes the lines and controls of a mixer device.
#pragma once

#include "platform/platform.h"

namespace Sonorel {

// Thread: the owner's, for all functions.

// Finds the first source line of type sourceType at the destination of type destinationType; the
// destination itself if it has no sources or sourceType is 0. Returns 0 for success,
// MIXERR_INVALLINE if no source has the type, otherwise the system's error.
MMRESULT GetMixerLine(HMIXER mixer, DWORD destinationType, DWORD sourceType, MIXERLINEA& line);

// Finds the line's control of type controlType. Returns 0 for success; otherwise control is zeroed.
MMRESULT GetMixerControl(HMIXER mixer, DWORD lineID, DWORD controlType, MIXERCONTROLA& control);

// Return the value of the first channel; 0 if mixer is null or refuses.
DWORD GetControlUnsigned(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control);
DWORD GetControlBoolean(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control);

// Set the value of every channel. Return false if mixer is null or refuses.
bool SetControlUnsigned(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control,
                        DWORD value);
bool SetControlBoolean(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control,
                       DWORD value);

} // namespace Sonorel
