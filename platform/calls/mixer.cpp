// The mixer calls, as far as they are made: a mixer is opened by its number or by its waveIn
// device, and everything else goes by the handle.
#include "platform/system/mixer.h"

#include "platform/calls/handles.h"
#include "platform/calls/names.h"
#include "platform/device/capture.h"
#include "platform/device/level.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/level.h"
#include "platform/machine/power.h"

namespace machine {
namespace {

static_assert(SpeakersLine == MIXERLINE_COMPONENTTYPE_DST_SPEAKERS &&
              RecordingLine == MIXERLINE_COMPONENTTYPE_DST_WAVEIN &&
              LineInLine == MIXERLINE_COMPONENTTYPE_SRC_LINE &&
              MicrophoneLine == MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE &&
              VolumeControl == MIXERCONTROL_CONTROLTYPE_VOLUME &&
              MuteControl == MIXERCONTROL_CONTROLTYPE_MUTE);

Handles<LevelDevice>& Open() {
    static Handles<LevelDevice>& open = *new Handles<LevelDevice>;
    return open;
}
const AtPowerOn atPowerOn([] { Open().TakeAll(); });

// Counts the call and goes on with the mixer of the handle.
template <class Operation>
MMRESULT WithMixer(Call call, HMIXEROBJ handle, Operation operation) {
    if (const Failure failure{call}) return failure;
    const auto mixer = Open().Find(handle);
    if (!mixer) return MMSYSERR_INVALHANDLE;
    return mixer->Gone() ? MMSYSERR_NODRIVER : operation(*mixer);
}

// Where a line stands: its destination, and its place among the sources of that, or NoSource for
// the destination itself. A line's id is made of the two, and a control's of that and its place on
// the line, from 1 on.
constexpr DWORD NoSource = 0xFFFFFFFF;

DWORD LineId(DWORD destination, DWORD source) { return destination << 8 | (source + 1); }

template <class List>
auto At(const List& list, std::size_t place) -> decltype(list.data()) {
    return place < list.size() ? &list[place] : nullptr;
}

const LevelLine* FindLine(const LevelDevice& mixer, DWORD destination, DWORD source) {
    const LevelLine* line = At(mixer.Destinations, destination);
    return line && source != NoSource ? At(line->Sources, source) : line;
}
const LevelLine* FindLine(const LevelDevice& mixer, DWORD id) {
    return FindLine(mixer, id >> 8, (id & 0xFF) - 1);
}

// Goes on with the control of a record and the values in it.
template <class Operation>
MMRESULT WithLevel(Call call, HMIXEROBJ handle, const MIXERCONTROLDETAILS& details,
                   Operation operation) {
    return WithMixer(call, handle, [&](const LevelDevice& mixer) {
        const LevelLine* line = FindLine(mixer, details.dwControlID >> 8);
        const auto* level = line ? At(line->Levels, (details.dwControlID & 0xFF) - 1) : nullptr;
        if (!level) return MIXERR_INVALCONTROL;
        if (details.cChannels != (*level)->Values) return MMSYSERR_INVALPARAM;
        const std::span values(static_cast<DWORD*>(details.paDetails), details.cChannels);
        return operation(**level, values) ? MMSYSERR_NOERROR : MMSYSERR_NOTSUPPORTED;
    });
}

} // namespace

int OpenMixers() { return Open().Count(); }

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT mixerGetNumDevs() { return static_cast<UINT>(LevelDevices().size()); }

MMRESULT mixerGetDevCapsA(UINT_PTR number, MIXERCAPSA* caps, UINT /*size*/) {
    if (const Failure failure{Call::mixerGetDevCapsA}) return failure;
    const auto mixers = LevelDevices();
    if (number >= mixers.size()) return MMSYSERR_BADDEVICEID;
    CopyName(caps->szPname, mixers[number]->Name);
    return MMSYSERR_NOERROR;
}

MMRESULT mixerOpen(HMIXER* handle, UINT number, DWORD_PTR, DWORD_PTR, DWORD flags) {
    if (const Failure failure{Call::mixerOpen}) return failure;
    const bool byCapture = flags == MIXER_OBJECTF_WAVEIN;
    const auto mixers = LevelDevices();
    const auto captures = CaptureDevices();
    if (number >= (byCapture ? captures.size() : mixers.size())) return MMSYSERR_BADDEVICEID;
    auto mixer = byCapture ? captures[number]->Levels() : mixers[number];
    if (!mixer) return MMSYSERR_NODRIVER;
    *handle = Open().Add<HMIXER>(std::move(mixer));
    return MMSYSERR_NOERROR;
}

MMRESULT mixerClose(HMIXER handle) {
    if (const Failure failure{Call::mixerClose}) return failure;
    return Open().Take(handle) ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
}

// A destination by its type, or a source by its place.
MMRESULT mixerGetLineInfoA(HMIXEROBJ handle, MIXERLINEA* told, DWORD flags) {
    return WithMixer(Call::mixerGetLineInfoA, handle, [=](const LevelDevice& mixer) {
        DWORD destination = told->dwDestination;
        DWORD source = told->dwSource;
        if (flags == MIXER_GETLINEINFOF_COMPONENTTYPE) {
            const auto& all = mixer.Destinations;
            const auto found = std::ranges::find(all, told->dwComponentType, &LevelLine::Type);
            destination = static_cast<DWORD>(found - all.begin());
            source = NoSource;
        }
        const LevelLine* line = FindLine(mixer, destination, source);
        if (!line) return MIXERR_INVALLINE;
        *told = {.cbStruct = sizeof *told,
                 .dwDestination = destination,
                 .dwSource = source,
                 .dwLineID = LineId(destination, source),
                 .dwComponentType = line->Type,
                 .cChannels = line->Channels,
                 .cConnections = static_cast<DWORD>(line->Sources.size())};
        return MMSYSERR_NOERROR;
    });
}

// The first control of a type.
MMRESULT mixerGetLineControlsA(HMIXEROBJ handle, MIXERLINECONTROLSA* query, DWORD /*flags*/) {
    return WithMixer(Call::mixerGetLineControlsA, handle, [=](const LevelDevice& mixer) {
        const LevelLine* line = FindLine(mixer, query->dwLineID);
        if (!line) return MIXERR_INVALLINE;
        const auto level = std::ranges::find(line->Levels, query->dwControlType,
                                             [](const auto& each) { return each->Type; });
        if (level == line->Levels.end()) return MIXERR_INVALCONTROL;
        MIXERCONTROLA& told = *query->pamxctrl;
        told = {};
        told.dwControlID =
            query->dwLineID << 8 | static_cast<DWORD>(level - line->Levels.begin() + 1);
        told.dwControlType = (*level)->Type;
        told.fdwControl = (*level)->Values == 1 ? MIXERCONTROL_CONTROLF_UNIFORM : 0;
        told.Bounds.dwMaximum = (*level)->Maximum;
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
