// The mixer calls, as far as they are made: a mixer is that of a capture device, opened by its own
// number or by the device's, and everything else goes by the handle.
#include "platform/system/mixer.h"

#include "platform/calls/handles.h"
#include "platform/calls/names.h"
#include "platform/api/capture.h"
#include "platform/machine/faults.h"
#include "platform/machine/power.h"

namespace machine {
namespace {

static_assert(SpeakersLine == MIXERLINE_COMPONENTTYPE_DST_SPEAKERS &&
              RecordingLine == MIXERLINE_COMPONENTTYPE_DST_WAVEIN &&
              MicrophoneLine == MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE &&
              VolumeControl == MIXERCONTROL_CONTROLTYPE_VOLUME &&
              MuteControl == MIXERCONTROL_CONTROLTYPE_MUTE);

using Devices = std::vector<std::shared_ptr<CaptureDevice>>;

Devices Mixers() {
    Devices devices = CaptureDevices();
    std::erase_if(devices, [](const auto& device) { return device->Levels().empty(); });
    return devices;
}

using Open = Handles<CaptureDevice>;
const AtPowerOn atPowerOn([] { The<Open>().TakeAll(); });

// Counts the call and goes on with the controls of the handle.
template <class Operation>
MMRESULT WithMixer(Call call, HMIXEROBJ handle, Operation operation) {
    if (const Failure failure{call}) return failure;
    const auto mixer = The<Open>().Find(handle);
    if (!mixer) return MMSYSERR_INVALHANDLE;
    return mixer->Gone() ? MMSYSERR_NODRIVER : operation(mixer->Levels());
}

// A line's id is made of its destination's type and its own among the sources, 0 for the
// destination itself; a control's id is its place among all, from 1 on.
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

// Goes on with the control of a record and the values in it.
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

int OpenMixers() { return The<Open>().Count(); }

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT mixerGetNumDevs() { return static_cast<UINT>(Mixers().size()); }

MMRESULT mixerGetDevCapsA(UINT_PTR number, MIXERCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::mixerGetDevCapsA}) return failure;
    const Devices mixers = Mixers();
    if (number >= mixers.size()) return MMSYSERR_BADDEVICEID;
    CopyName(caps->szPname, mixers[number]->Name());
    return MMSYSERR_NOERROR;
}

MMRESULT mixerOpen(HMIXER* handle, UINT number, DWORD_PTR, DWORD_PTR, DWORD flags) {
    if (const Failure failure{Call::mixerOpen}) return failure;
    const Devices devices = flags == MIXER_OBJECTF_WAVEIN ? CaptureDevices() : Mixers();
    if (number >= devices.size()) return MMSYSERR_BADDEVICEID;
    if (devices[number]->Levels().empty()) return MMSYSERR_NODRIVER;
    *handle = The<Open>().Add<HMIXER>(devices[number]);
    return MMSYSERR_NOERROR;
}

MMRESULT mixerClose(HMIXER handle) {
    if (const Failure failure{Call::mixerClose}) return failure;
    return The<Open>().Take(handle) ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
}

// A destination by its type, or a source of one by its place.
MMRESULT mixerGetLineInfoA(HMIXEROBJ handle, MIXERLINEA* told, DWORD flags) {
    return WithMixer(Call::mixerGetLineInfoA, handle, [=](const LevelList& levels) {
        const bool source = flags == MIXER_GETLINEINFOF_SOURCE;
        ControlPlace line{source ? told->dwDestination : told->dwComponentType, 0, 0};
        const std::vector<DWORD> sources = SourcesOf(levels, line.Destination);
        if (source && told->dwSource >= sources.size()) return MIXERR_INVALLINE;
        if (source) line.Source = sources[told->dwSource];
        const DWORD channels = ChannelsOf(levels, LineOf(line));
        if (channels == 0 && sources.empty()) return MIXERR_INVALLINE;
        *told = {.cbStruct = sizeof *told,
                 .dwDestination = line.Destination,
                 .dwSource = told->dwSource,
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
        MIXERCONTROLA& told = *query->pamxctrl;
        told = {};
        told.dwControlID = static_cast<DWORD>(found - levels.begin() + 1);
        told.dwControlType = level.Place.Control;
        if (level.Values < ChannelsOf(levels, query->dwLineID))
            told.fdwControl = MIXERCONTROL_CONTROLF_UNIFORM;
        told.Bounds.dwMaximum = level.Maximum;
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
