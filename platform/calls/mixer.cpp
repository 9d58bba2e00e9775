// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The mixer calls that the library uses. Each capture device with levels has a mixer, opened by the
// number of the mixer or of the device; all other calls use the handle.
#include "platform/system/mixer.h"

#include "platform/api/capture.h"
#include "platform/calls/handles.h"
#include "platform/calls/text_buffer.h"
#include "platform/machine/capture.h"
#include "platform/machine/faults.h"
#include "platform/machine/power.h"

namespace calls {

using namespace device;
using namespace machine;

namespace {

static_assert(SpeakersLine == MIXERLINE_COMPONENTTYPE_DST_SPEAKERS &&
              RecordingLine == MIXERLINE_COMPONENTTYPE_DST_WAVEIN &&
              MicrophoneLine == MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE &&
              VolumeControl == MIXERCONTROL_CONTROLTYPE_VOLUME &&
              MuteControl == MIXERCONTROL_CONTROLTYPE_MUTE);

CaptureDeviceList Mixers() {
    CaptureDeviceList devices = CaptureDevices();
    std::erase_if(devices, [](const auto& device) { return device->Levels().empty(); });
    return devices;
}

Handles<CaptureDevice>& OpenHandles() { return ImmortalSingleton<Handles<CaptureDevice>>(); }
const AtPowerOn atPowerOn([] { OpenHandles().RemoveAll(); });

// Counts the call and runs the operation on the controls of the handle.
template <class Operation>
MMRESULT WithMixer(Call call, HMIXEROBJ handle, Operation operation) {
    if (const Failure failure{call}) return failure;
    const auto mixer = OpenHandles().Find(handle);
    if (!mixer) return MMSYSERR_INVALHANDLE;
    return mixer->IsGone() ? MMSYSERR_NODRIVER : operation(mixer->Levels());
}

// The ID of a line holds the type of its destination and its own type, 0 for the destination
// itself. The ID of a control is its place among all controls, from 1 on.
DWORD LineOf(const ControlPlace& place) { return place.Destination << 16 | place.Source; }

// The types of a destination's sources.
std::vector<DWORD> SourcesOf(const LevelList& levels, DWORD destination) {
    std::vector<DWORD> sources;
    for (const auto& level : levels)
        if (level->Place.Destination == destination && level->Place.Source != 0 &&
            std::ranges::count(sources, level->Place.Source) == 0)
            sources.push_back(level->Place.Source);
    return sources;
}

DWORD ChannelsOf(const LevelList& levels, DWORD line) {
    std::size_t channels = 0;
    for (const auto& level : levels)
        if (LineOf(level->Place) == line) channels = std::max(channels, level->Values);
    return static_cast<DWORD>(channels);
}

// Runs the operation on the control that a record names and on the values in the record.
template <class Operation>
MMRESULT WithLevel(Call call, HMIXEROBJ handle, const MIXERCONTROLDETAILS& details,
                   Operation operation) {
    return WithMixer(call, handle, [&](const LevelList& levels) {
        const DWORD place = details.dwControlID - 1;
        if (place >= levels.size()) return MIXERR_INVALCONTROL;
        if (details.cChannels != levels[place]->Values) return MMSYSERR_INVALPARAM;
        const std::span values(static_cast<DWORD*>(details.paDetails), details.cChannels);
        return operation(*levels[place], values) ? MMSYSERR_NOERROR : MMSYSERR_NOTSUPPORTED;
    });
}

} // namespace
} // namespace calls

int machine::OpenMixers() { return calls::OpenHandles().Count(); }

namespace zorsystem {

using namespace calls;

UINT mixerGetNumDevs() { return static_cast<UINT>(Mixers().size()); }

MMRESULT mixerGetDevCapsA(UINT_PTR number, MIXERCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::mixerGetDevCapsA}) return failure;
    const CaptureDeviceList mixers = Mixers();
    if (number >= mixers.size()) return MMSYSERR_BADDEVICEID;
    CopyName(caps->szPname, mixers[number]->Name());
    return MMSYSERR_NOERROR;
}

MMRESULT mixerOpen(HMIXER* handle, UINT number, DWORD_PTR, DWORD_PTR, DWORD flags) {
    if (const Failure failure{Call::mixerOpen}) return failure;
    const CaptureDeviceList devices = flags == MIXER_OBJECTF_WAVEIN ? CaptureDevices() : Mixers();
    if (number >= devices.size()) return MMSYSERR_BADDEVICEID;
    if (devices[number]->Levels().empty()) return MMSYSERR_NODRIVER;
    *handle = OpenHandles().Add<HMIXER>(devices[number]);
    return MMSYSERR_NOERROR;
}

MMRESULT mixerClose(HMIXER handle) {
    if (const Failure failure{Call::mixerClose}) return failure;
    return OpenHandles().Remove(handle) ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
}

// A destination by its type, or a source of one by its place.
MMRESULT mixerGetLineInfoA(HMIXEROBJ handle, MIXERLINEA* record, DWORD flags) {
    return WithMixer(Call::mixerGetLineInfoA, handle, [=](const LevelList& levels) {
        const bool source = flags == MIXER_GETLINEINFOF_SOURCE;
        ControlPlace line{source ? record->dwDestination : record->dwComponentType, 0, 0};
        const std::vector<DWORD> sources = SourcesOf(levels, line.Destination);
        if (source && record->dwSource >= sources.size()) return MIXERR_INVALLINE;
        if (source) line.Source = sources[record->dwSource];
        const DWORD channels = ChannelsOf(levels, LineOf(line));
        if (channels == 0 && sources.empty()) return MIXERR_INVALLINE;
        *record = {.cbStruct = sizeof *record,
                   .dwDestination = line.Destination,
                   .dwSource = record->dwSource,
                   .dwLineID = LineOf(line),
                   .dwComponentType = source ? line.Source : line.Destination,
                   .cChannels = channels,
                   .cConnections = source ? 0 : static_cast<DWORD>(sources.size())};
        return MMSYSERR_NOERROR;
    });
}

// The first control of a type.
MMRESULT mixerGetLineControlsA(HMIXEROBJ handle, MIXERLINECONTROLSA* query, DWORD /*flags*/) {
    return WithMixer(Call::mixerGetLineControlsA, handle, [=](const LevelList& levels) {
        const auto found = std::ranges::find_if(levels, [query](const auto& level) {
            return LineOf(level->Place) == query->dwLineID &&
                   level->Place.Control == query->dwControlType;
        });
        if (found == levels.end()) return MIXERR_INVALCONTROL;
        const Level& level = **found;
        MIXERCONTROLA& record = *query->pamxctrl;
        record = {};
        record.dwControlID = static_cast<DWORD>(found - levels.begin() + 1);
        record.dwControlType = level.Place.Control;
        if (level.Values < ChannelsOf(levels, query->dwLineID))
            record.fdwControl = MIXERCONTROL_CONTROLF_UNIFORM;
        record.Bounds.dwMaximum = level.Maximum;
        return MMSYSERR_NOERROR;
    });
}

MMRESULT mixerGetControlDetailsA(HMIXEROBJ handle, MIXERCONTROLDETAILS* details, DWORD) {
    return WithLevel(Call::mixerGetControlDetailsA, handle, *details,
                     [](Level& level, auto values) { return level.Read(values); });
}

MMRESULT mixerSetControlDetails(HMIXEROBJ handle, MIXERCONTROLDETAILS* details, DWORD) {
    return WithLevel(Call::mixerSetControlDetails, handle, *details,
                     [](Level& level, auto values) { return level.Write(values); });
}

} // namespace zorsystem
