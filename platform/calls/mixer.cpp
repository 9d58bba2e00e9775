// The mixer calls, as far as they are made: a mixer is opened by its number or by its waveIn
// device, and everything else goes by the handle.
#include "platform/system/mixer.h"

#include "platform/calls/names.h"
#include "platform/device/capture.h"
#include "platform/device/level.h"
#include "platform/machine/fault_point.h"
#include "platform/machine/level.h"
#include "platform/machine/power.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace machine {
namespace {

// A handle is the address of one.
using OpenMixer = std::shared_ptr<LevelDevice>;

// Never destroyed, as threads may run until the process ends.
struct HandleList {
    std::mutex Lock;
    std::vector<std::unique_ptr<OpenMixer>> Handles;
};
HandleList& All() {
    static HandleList& list = *new HandleList;
    return list;
}

void Reset() {
    const std::scoped_lock lock(All().Lock);
    All().Handles.clear();
}
const AtPowerOn atPowerOn(Reset);

OpenMixer ByHandle(const void* handle) {
    const std::scoped_lock lock(All().Lock);
    for (const auto& open : All().Handles)
        if (open.get() == handle) return *open;
    return nullptr;
}

// Counts the call, meets an ordered failure, and goes on with the mixer of the handle.
template <class Operation>
MMRESULT WithMixer(Call call, HMIXEROBJ handle, const void* record, Operation operation) {
    if (const auto failure = OrderedFailure(call)) return static_cast<MMRESULT>(*failure);
    const OpenMixer mixer = ByHandle(handle);
    if (!mixer) return MMSYSERR_INVALHANDLE;
    if (mixer->Gone()) return MMSYSERR_NODRIVER;
    if (record == nullptr) return MMSYSERR_INVALPARAM;
    return operation(*mixer);
}

// Where a line stands: its destination, and its place among the sources of that, or NoSource for
// the destination itself. A line's id is made of the two, and a control's of that and its place on
// the line, from 1 on.
constexpr DWORD NoSource = 0xFFFFFFFF;

DWORD LineId(DWORD destination, DWORD source) { return destination << 8 | (source + 1); }
DWORD ControlId(DWORD line, std::size_t place) { return line << 8 | static_cast<DWORD>(place + 1); }

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
Level* FindLevel(const LevelDevice& mixer, DWORD id) {
    const LevelLine* line = FindLine(mixer, id >> 8);
    const auto* level = line ? At(line->Levels, (id & 0xFF) - 1) : nullptr;
    return level ? level->get() : nullptr;
}

void Describe(const LevelDevice& mixer, const LevelLine& line, DWORD destination, DWORD source,
              MIXERLINEA& told) {
    constexpr DWORD active = 1;
    constexpr DWORD isSource = 1u << 31;
    told = {};
    told.cbStruct = sizeof told;
    told.dwDestination = destination;
    told.dwSource = source;
    told.dwLineID = LineId(destination, source);
    told.fdwLine = active | (source != NoSource ? isSource : 0);
    told.dwComponentType = line.Type;
    told.cChannels = line.Channels;
    told.cConnections = static_cast<DWORD>(line.Sources.size());
    told.cControls = static_cast<DWORD>(line.Levels.size());
    CopyName(told.szShortName, line.Name);
    CopyName(told.szName, line.Name);
    CopyName(told.Target.szPname, mixer.Name);
}

void Describe(const Level& level, DWORD id, const std::string& name, MIXERCONTROLA& told) {
    told = {};
    told.cbStruct = sizeof told;
    told.dwControlID = id;
    told.dwControlType = level.Type();
    told.fdwControl = level.Values() == 1 ? MIXERCONTROL_CONTROLF_UNIFORM : 0;
    CopyName(told.szShortName, name);
    CopyName(told.szName, name);
    told.Bounds.dwMinimum = level.Minimum();
    told.Bounds.dwMaximum = level.Maximum();
}

// The values that a record carries to or from a control; empty if they do not fit it.
std::span<DWORD> ValuesIn(const MIXERCONTROLDETAILS& details, const Level& level) {
    const bool fits = details.cbStruct >= sizeof details && details.cbDetails == sizeof(DWORD) &&
                      details.cChannels == level.Values() && details.cMultipleItems == 0 &&
                      details.paDetails != nullptr;
    return {static_cast<DWORD*>(details.paDetails), fits ? details.cChannels : 0};
}

} // namespace

int OpenMixers() {
    const std::scoped_lock lock(All().Lock);
    return static_cast<int>(All().Handles.size());
}

} // namespace machine

namespace zorsystem {

using namespace machine;

UINT mixerGetNumDevs() { return static_cast<UINT>(LevelDevices().size()); }

MMRESULT mixerGetDevCapsA(UINT_PTR number, MIXERCAPSA* caps, UINT size) {
    if (const auto failure = OrderedFailure(Call::mixerGetDevCapsA))
        return static_cast<MMRESULT>(*failure);
    const auto mixers = LevelDevices();
    if (number >= mixers.size()) return MMSYSERR_BADDEVICEID;
    if (caps == nullptr) return MMSYSERR_INVALPARAM;
    MIXERCAPSA told = {};
    CopyName(told.szPname, mixers[number]->Name);
    told.cDestinations = static_cast<DWORD>(mixers[number]->Destinations.size());
    std::memcpy(caps, &told, std::min<std::size_t>(size, sizeof told));
    return MMSYSERR_NOERROR;
}

MMRESULT mixerOpen(HMIXER* handle, UINT object, DWORD_PTR, DWORD_PTR, DWORD flags) {
    if (const auto failure = OrderedFailure(Call::mixerOpen))
        return static_cast<MMRESULT>(*failure);
    if (handle == nullptr) return MMSYSERR_INVALPARAM;
    if (flags != MIXER_OBJECTF_MIXER && flags != MIXER_OBJECTF_WAVEIN) return MMSYSERR_INVALFLAG;
    const bool byCapture = flags == MIXER_OBJECTF_WAVEIN;
    const auto mixers = LevelDevices();
    const auto captures = CaptureDevices();
    if (object >= (byCapture ? captures.size() : mixers.size())) return MMSYSERR_BADDEVICEID;
    OpenMixer mixer = byCapture ? captures[object]->Levels() : mixers[object];
    if (!mixer) return MMSYSERR_NODRIVER;
    const std::scoped_lock lock(All().Lock);
    All().Handles.push_back(std::make_unique<OpenMixer>(std::move(mixer)));
    *handle = reinterpret_cast<HMIXER>(All().Handles.back().get());
    return MMSYSERR_NOERROR;
}

MMRESULT mixerClose(HMIXER handle) {
    if (const auto failure = OrderedFailure(Call::mixerClose))
        return static_cast<MMRESULT>(*failure);
    const std::scoped_lock lock(All().Lock);
    const auto closed = std::erase_if(All().Handles, [handle](const auto& open) {
        return reinterpret_cast<HMIXER>(open.get()) == handle;
    });
    return closed != 0 ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
}

// A destination by its type, or a source by its place.
MMRESULT mixerGetLineInfoA(HMIXEROBJ handle, MIXERLINEA* told, DWORD flags) {
    return WithMixer(Call::mixerGetLineInfoA, handle, told, [=](const LevelDevice& mixer) {
        DWORD destination = told->dwDestination;
        DWORD source = told->dwSource;
        if (flags == MIXER_GETLINEINFOF_COMPONENTTYPE) {
            const auto& all = mixer.Destinations;
            const auto found = std::ranges::find(all, told->dwComponentType, &LevelLine::Type);
            destination = static_cast<DWORD>(found - all.begin());
            source = NoSource;
        } else if (flags != MIXER_GETLINEINFOF_SOURCE) {
            return MMSYSERR_INVALFLAG;
        }
        const LevelLine* line = FindLine(mixer, destination, source);
        if (!line) return MIXERR_INVALLINE;
        Describe(mixer, *line, destination, source, *told);
        return MMSYSERR_NOERROR;
    });
}

// The first of a type.
MMRESULT mixerGetLineControlsA(HMIXEROBJ handle, MIXERLINECONTROLSA* query, DWORD flags) {
    return WithMixer(Call::mixerGetLineControlsA, handle, query, [=](const LevelDevice& mixer) {
        if (flags != MIXER_GETLINECONTROLSF_ONEBYTYPE) return MMSYSERR_INVALFLAG;
        if (query->cbmxctrl < sizeof(MIXERCONTROLA) || query->pamxctrl == nullptr)
            return MMSYSERR_INVALPARAM;
        const LevelLine* line = FindLine(mixer, query->dwLineID);
        if (!line) return MIXERR_INVALLINE;
        for (std::size_t place = 0; place < line->Levels.size(); ++place) {
            const Level& level = *line->Levels[place];
            if (level.Type() != query->dwControlType) continue;
            Describe(level, ControlId(query->dwLineID, place), line->Name, *query->pamxctrl);
            return MMSYSERR_NOERROR;
        }
        return MIXERR_INVALCONTROL;
    });
}

MMRESULT mixerGetControlDetailsA(HMIXEROBJ handle, MIXERCONTROLDETAILS* details, DWORD) {
    return WithMixer(Call::mixerGetControlDetailsA, handle, details, [=](const LevelDevice& mixer) {
        const Level* level = FindLevel(mixer, details->dwControlID);
        if (!level) return MIXERR_INVALCONTROL;
        const auto values = ValuesIn(*details, *level);
        if (values.empty()) return MMSYSERR_INVALPARAM;
        return level->Read(values) ? MMSYSERR_NOERROR : MMSYSERR_NOTSUPPORTED;
    });
}

MMRESULT mixerSetControlDetails(HMIXEROBJ handle, MIXERCONTROLDETAILS* details, DWORD) {
    return WithMixer(Call::mixerSetControlDetails, handle, details, [=](const LevelDevice& mixer) {
        Level* level = FindLevel(mixer, details->dwControlID);
        if (!level) return MIXERR_INVALCONTROL;
        const auto values = ValuesIn(*details, *level);
        const auto beyond = [level](DWORD value) {
            return value < level->Minimum() || value > level->Maximum();
        };
        if (values.empty() || std::ranges::any_of(values, beyond)) return MMSYSERR_INVALPARAM;
        return level->Write(values) ? MMSYSERR_NOERROR : MMSYSERR_NOTSUPPORTED;
    });
}

} // namespace zorsystem
