// The texts of the MIDI calls' error codes.
#include "platform/system/midi.h"

#include <cstdio>

namespace zorsystem {
namespace {

// The text of an error as the system has it; null for a number that means nothing.
const char* TextOf(MMRESULT code) {
    switch (code) {
    case MMSYSERR_NOERROR:
        return "The command was carried out.";
    case MMSYSERR_ERROR:
        return "Undefined external error.";
    case MMSYSERR_BADDEVICEID:
        return "A device ID has been used that is out of range for your system.";
    case MMSYSERR_ALLOCATED:
        return "The specified device is already in use.  Wait until it is free, and then try "
               "again.";
    case MMSYSERR_INVALHANDLE:
        return "The specified device handle is invalid.";
    case MMSYSERR_NODRIVER:
        return "There is no driver installed on your system.";
    case MMSYSERR_NOMEM:
        return "There is not enough memory available for this task.  Quit one or more "
               "applications to increase available memory, and then try again.";
    case MMSYSERR_NOTSUPPORTED:
        return "This function is not supported.";
    case MMSYSERR_INVALFLAG:
        return "An invalid flag was passed to a system function.";
    case MMSYSERR_INVALPARAM:
        return "An invalid parameter was passed to a system function.";
    case MIDIERR_STILLPLAYING:
        return "Cannot perform this operation while media data is still playing.  Reset the "
               "device, or wait until the data is finished playing.";
    case MIDIERR_NOTREADY:
        return "The port is transmitting data to the device.  Wait until the data has been "
               "transmitted, and then try again.";
    case MIDIERR_NODEVICE:
        return "No MIDI port was found.";
    default:
        return nullptr;
    }
}

MMRESULT GiveText(MMRESULT code, LPSTR text, UINT size) {
    if (!text) return MMSYSERR_INVALPARAM;
    const char* const found = TextOf(code);
    std::snprintf(text, size, "%s", found ? found : "");
    return found ? MMSYSERR_NOERROR : MMSYSERR_BADERRNUM;
}

} // namespace

MMRESULT midiInGetErrorTextA(MMRESULT code, LPSTR text, UINT size) {
    return GiveText(code, text, size);
}

MMRESULT midiOutGetErrorTextA(MMRESULT code, LPSTR text, UINT size) {
    return GiveText(code, text, size);
}

} // namespace zorsystem
