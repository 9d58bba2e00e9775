// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

#include "soundin/mixer.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

namespace Sonorel {

namespace {

HMIXEROBJ Object(HMIXER mixer) { return reinterpret_cast<HMIXEROBJ>(mixer); }

// The values of a control, one per channel, with the record that passes them to the mixer. False
// when out of memory.
class ChannelValues {
public:
    ChannelValues(const MIXERLINEA& line, const MIXERCONTROLA& control, DWORD value)
        : channels((control.fdwControl & MIXERCONTROL_CONTROLF_UNIFORM) ? 1 : line.cChannels) {
        // At least one, since First reads it.
        const std::size_t count = std::max<std::size_t>(channels, 1);
        values.reset(new (std::nothrow) DWORD[count]);
        if (values) std::fill_n(values.get(), count, value);
        details.cbStruct = sizeof details;
        details.dwControlID = control.dwControlID;
        details.cChannels = channels;
        details.cMultipleItems = 0; // single values, not lists
        details.cbDetails = sizeof(DWORD);
        details.paDetails = values.get();
    }
    explicit operator bool() const { return values != nullptr; }
    MIXERCONTROLDETAILS* Details() { return &details; }
    DWORD First() const { return values[0]; }

private:
    DWORD channels;
    std::unique_ptr<DWORD[]> values;
    MIXERCONTROLDETAILS details{};
};

DWORD GetControl(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control) {
    if (!mixer) return 0;
    ChannelValues values(line, control, 0);
    if (!values) return 0;
    // A mixer that refuses may have changed some of the values.
    if (mixerGetControlDetailsA(Object(mixer), values.Details(), 0) != MMSYSERR_NOERROR) return 0;
    return values.First();
}

bool SetControl(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control, DWORD value) {
    if (!mixer) return false;
    ChannelValues values(line, control, value);
    return values && mixerSetControlDetails(Object(mixer), values.Details(), 0) == MMSYSERR_NOERROR;
}

} // namespace

MMRESULT GetMixerLine(HMIXER mixer, DWORD destinationType, DWORD sourceType, MIXERLINEA& line) {
    line = {};
    line.cbStruct = sizeof line;
    line.dwComponentType = destinationType;
    MMRESULT result = mixerGetLineInfoA(Object(mixer), &line, MIXER_GETLINEINFOF_COMPONENTTYPE);
    if (result != MMSYSERR_NOERROR) return result;
    const DWORD sources = line.cConnections;
    if (sources == 0 || sourceType == 0) return MMSYSERR_NOERROR;
    // dwDestination is the result of the first query.
    for (DWORD source = 0; source < sources; ++source) {
        line.dwSource = source;
        result = mixerGetLineInfoA(Object(mixer), &line, MIXER_GETLINEINFOF_SOURCE);
        if (result == MMSYSERR_NOERROR && line.dwComponentType == sourceType) return result;
    }
    return result == MMSYSERR_NOERROR ? MIXERR_INVALLINE : result;
}

MMRESULT GetMixerControl(HMIXER mixer, DWORD lineID, DWORD controlType, MIXERCONTROLA& control) {
    control = {};
    MIXERLINECONTROLSA query{};
    query.cbStruct = sizeof query;
    query.dwLineID = lineID;
    query.dwControlType = controlType;
    query.cControls = 1;
    query.cbmxctrl = sizeof control;
    query.pamxctrl = &control;
    return mixerGetLineControlsA(Object(mixer), &query, MIXER_GETLINECONTROLSF_ONEBYTYPE);
}

DWORD GetControlUnsigned(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control) {
    return GetControl(mixer, line, control);
}

DWORD GetControlBoolean(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control) {
    return GetControl(mixer, line, control);
}

bool SetControlUnsigned(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control,
                        DWORD value) {
    return SetControl(mixer, line, control, value);
}

bool SetControlBoolean(HMIXER mixer, const MIXERLINEA& line, const MIXERCONTROLA& control,
                       DWORD value) {
    return SetControl(mixer, line, control, value);
}

} // namespace Sonorel
