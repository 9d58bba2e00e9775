// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The texts of the error codes that MIDI calls return.
#include "platform/machine/synthesizer.h"
#include "platform/system/midi.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace zorsystem {
namespace {

struct ErrorText {
    MMRESULT Code;
    const char* Text;
};
constexpr ErrorText Texts[] = {
    {MMSYSERR_ERROR, "Undefined external error."},
    {MMSYSERR_BADDEVICEID, "A device ID has been used that is out of range for your system."},
    {MMSYSERR_ALLOCATED, "The specified device is already in use.  Wait until it is free, and then "
                         "try again."},
    {MMSYSERR_INVALHANDLE, "The specified device handle is invalid."},
    {MMSYSERR_NODRIVER, "There is no driver installed on your system."},
    {MMSYSERR_NOMEM, "There is not enough memory available for this task.  Quit one or more "
                     "applications to increase available memory, and then try again."},
    {MMSYSERR_NOTSUPPORTED, "This function is not supported."},
    {MIDIERR_NOTREADY, "The port is transmitting data to the device.  Wait until the data has been "
                       "transmitted, and then try again."},
    {MIDIERR_NODEVICE, "No MIDI port was found."}};

} // namespace

MMRESULT midiOutGetErrorTextA(MMRESULT code, LPSTR text, UINT size) {
    if (code == MIDIERR_NOSOUND) {
        std::snprintf(text, size, "%s", machine::SynthesizerProblem().c_str());
        return MMSYSERR_NOERROR;
    }
    const auto* const found = std::ranges::find(Texts, code, &ErrorText::Code);
    const bool known = found != std::end(Texts);
    std::snprintf(text, size, "%s", known ? found->Text : "");
    return known ? MMSYSERR_NOERROR : MMSYSERR_BADERRNUM;
}

MMRESULT midiInGetErrorTextA(MMRESULT code, LPSTR text, UINT size) {
    return midiOutGetErrorTextA(code, text, size);
}

} // namespace zorsystem
