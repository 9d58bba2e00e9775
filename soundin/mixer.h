// Finding a mixer's lines and controls, and reading and writing them.
#pragma once

#include "platform/platform.h"

namespace Sonorel {

// All of these run on the owner's thread.

// Finds the source line of a type at the destination of a type; the destination itself if it has no
// sources or sourceType is 0. Gives 0 for success, MIXERR_INVALLINE if the destination has sources
// but none of the type, otherwise the system's error.
MMRESULT GetMixerLine(HMIXER mixer, DWORD destinationType, DWORD sourceType, MIXERLINEA& line);

// Finds the line's control of a type. Gives 0 for success; control is zero otherwise.
MMRESULT GetMixerControl(HMIXER mixer, DWORD lineID, DWORD controlType, MIXERCONTROLA& control);

// The value of the first channel. 0 without a mixer, and where the mixer refuses.
DWORD GetControlUnsigned(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control);
DWORD GetControlBoolean(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control);

// Gives every channel the value. False without a mixer, and where the mixer refuses.
bool SetControlUnsigned(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control,
                        DWORD value);
bool SetControlBoolean(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control,
                       DWORD value);

} // namespace Sonorel
