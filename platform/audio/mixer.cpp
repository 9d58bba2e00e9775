// The mixer calls.
#include "platform/audio/capture_devices.h"
#include "platform/audio/mixer_handles.h"
#include "platform/audio/mixer_model.h"
#include "platform/audio/names.h"
#include "platform/machine/fault_point.h"

#include <algorithm>
#include <cstring>

namespace machine {
namespace {

constexpr DWORD ObjectKind = 0xF0000000;
constexpr DWORD Query = 0x0000000F;
constexpr DWORD LineIsActive = 1;        // MIXERLINE_LINEF_ACTIVE
constexpr DWORD LineIsSource = 1u << 31; // MIXERLINE_LINEF_SOURCE

struct HandleList {
    std::mutex Lock;
    std::vector<std::unique_ptr<std::shared_ptr<MixerState>>> Handles; // a handle is its address
};
HandleList& Open() {
    static HandleList& list = *new HandleList;
    return list;
}

std::shared_ptr<MixerState> ByHandle(const void* handle) {
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    for (const auto& open : list.Handles)
        if (open.get() == handle) return *open;
    return nullptr;
}

struct Found {
    MMRESULT Result;
    std::shared_ptr<MixerState> Mixer;
};

// A mixer by its number, by a handle, or by the waveIn device that it belongs to.
Found ByObject(UINT_PTR object, DWORD kind) {
    if (kind == MIXER_OBJECTF_WAVEIN) {
        const auto device = CaptureDeviceByNumber(static_cast<unsigned>(object));
        if (!device) return {MMSYSERR_BADDEVICEID, nullptr};
        auto mixer = MixerOfCaptureDevice(IdOfCaptureDevice(*device));
        return {mixer ? MMSYSERR_NOERROR : MMSYSERR_NODRIVER, mixer};
    }
    if (kind != MIXER_OBJECTF_MIXER && kind != MIXER_OBJECTF_HMIXER)
        return {MMSYSERR_INVALFLAG, nullptr};
    if (auto mixer = ByHandle(reinterpret_cast<const void*>(object))) {
        if (mixer->Removed.load(std::memory_order_acquire)) return {MMSYSERR_NODRIVER, nullptr};
        return {MMSYSERR_NOERROR, std::move(mixer)};
    }
    if (kind == MIXER_OBJECTF_HMIXER) return {MMSYSERR_INVALHANDLE, nullptr};
    const auto present = PresentMixers();
    if (object >= present.size()) return {MMSYSERR_BADDEVICEID, nullptr};
    return {MMSYSERR_NOERROR, present[object]};
}

// Counts the call, meets an ordered failure, finds the mixer, and goes on with it locked.
template <class Operation>
MMRESULT WithMixer(Call call, HMIXEROBJ object, DWORD flags, Operation operation) {
    if (const auto failure = OrderedFailure(call)) return static_cast<MMRESULT>(*failure);
    const Found found = ByObject(reinterpret_cast<UINT_PTR>(object), flags & ObjectKind);
    if (!found.Mixer) return found.Result;
    const std::scoped_lock lock(found.Mixer->Lock);
    return operation(*found.Mixer);
}

void Describe(const MixerState& mixer, const LineState& line, MIXERLINEA& told) {
    told = {};
    told.cbStruct = sizeof told;
    told.dwDestination = line.Destination;
    told.dwSource = line.Source;
    told.dwLineID = line.Id;
    told.fdwLine = LineIsActive | (line.IsDestination() ? 0 : LineIsSource);
    told.dwComponentType = line.Type;
    told.cChannels = line.Channels;
    told.cConnections = line.Sources;
    told.cControls = static_cast<DWORD>(line.Controls.size());
    CopyName(told.szShortName, line.Name);
    CopyName(told.szName, line.Name);
    CopyName(told.Target.szPname, mixer.Name);
}

MIXERCONTROLA Describe(const ControlState& control, const std::string& name) {
    MIXERCONTROLA told = {};
    told.cbStruct = sizeof told;
    told.dwControlID = control.Id;
    told.dwControlType = control.Model.Type;
    told.fdwControl = control.Model.Uniform ? MIXERCONTROL_CONTROLF_UNIFORM : 0;
    CopyName(told.szShortName, name);
    CopyName(told.szName, name);
    told.Bounds.dwMinimum = control.Model.Minimum;
    told.Bounds.dwMaximum = control.Model.Maximum;
    told.Metrics.cSteps = 0;
    return told;
}

LineState* AskedLine(MixerState& mixer, const MIXERLINEA& line, DWORD query) {
    switch (query) {
    case MIXER_GETLINEINFOF_DESTINATION:
        return mixer.FindDestination(line.dwDestination);
    case MIXER_GETLINEINFOF_SOURCE:
        if (line.dwSource == LineState::NoSource) return nullptr;
        return mixer.FindSource(line.dwDestination, line.dwSource);
    case MIXER_GETLINEINFOF_LINEID:
        return mixer.FindLine(line.dwLineID);
    default:
        return mixer.FindType(line.dwComponentType);
    }
}

// The controls of a line that a query means.
std::vector<const ControlState*> AskedControls(const LineState& line,
                                               const MIXERLINECONTROLSA& asked, DWORD query) {
    std::vector<const ControlState*> found;
    for (const ControlState& control : line.Controls) {
        const bool meant =
            query == MIXER_GETLINECONTROLSF_ALL ||
            (query == MIXER_GETLINECONTROLSF_ONEBYID && control.Id == asked.dwControlID) ||
            (query == MIXER_GETLINECONTROLSF_ONEBYTYPE &&
             control.Model.Type == asked.dwControlType);
        if (!meant) continue;
        found.push_back(&control);
        if (query != MIXER_GETLINECONTROLSF_ALL) break;
    }
    return found;
}

// One value for all channels, or one for each.
bool FitDetails(const ControlState& control, const MIXERCONTROLDETAILS& details) {
    const bool channels = details.cChannels == 1 || details.cChannels == control.Values.size();
    return details.cbStruct >= sizeof details && details.cbDetails == sizeof(DWORD) && channels &&
           details.cMultipleItems == 0 && details.paDetails != nullptr;
}

MMRESULT Read(const ControlState& control, const MIXERCONTROLDETAILS& details) {
    if (!FitDetails(control, details)) return MMSYSERR_INVALPARAM;
    if (!control.Model.Readable) return MMSYSERR_NOTSUPPORTED;
    std::copy_n(control.Values.begin(), details.cChannels, static_cast<DWORD*>(details.paDetails));
    return MMSYSERR_NOERROR;
}

MMRESULT Write(ControlState& control, const MIXERCONTROLDETAILS& details) {
    if (!FitDetails(control, details)) return MMSYSERR_INVALPARAM;
    if (!control.Model.Writable) return MMSYSERR_NOTSUPPORTED;
    const auto* values = static_cast<const DWORD*>(details.paDetails);
    const auto within = [&control](DWORD value) {
        return value >= control.Model.Minimum && value <= control.Model.Maximum;
    };
    if (!std::all_of(values, values + details.cChannels, within)) return MMSYSERR_INVALPARAM;
    for (std::size_t i = 0; i < control.Values.size(); ++i)
        control.Values[i] = values[details.cChannels == 1 ? 0 : i];
    return MMSYSERR_NOERROR;
}

} // namespace

int OpenMixerHandles() {
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    return static_cast<int>(list.Handles.size());
}

void DropMixerHandles() {
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    list.Handles.clear();
}

} // namespace machine

using namespace machine;

UINT mixerGetNumDevs() { return static_cast<UINT>(PresentMixers().size()); }

MMRESULT mixerGetDevCapsA(UINT_PTR number, MIXERCAPSA* caps, UINT size) {
    if (const auto failure = OrderedFailure(Call::mixerGetDevCapsA))
        return static_cast<MMRESULT>(*failure);
    const Found found = ByObject(number, MIXER_OBJECTF_MIXER);
    if (!found.Mixer) return found.Result;
    if (caps == nullptr) return MMSYSERR_INVALPARAM;
    MIXERCAPSA told = {};
    told.wMid = 1;
    told.wPid = 2;
    told.vDriverVersion = 0x0100;
    CopyName(told.szPname, found.Mixer->Name);
    told.cDestinations = found.Mixer->Destinations;
    std::memcpy(caps, &told, std::min<std::size_t>(size, sizeof told));
    return MMSYSERR_NOERROR;
}

MMRESULT mixerOpen(HMIXER* handle, UINT object, DWORD_PTR, DWORD_PTR, DWORD flags) {
    if (const auto failure = OrderedFailure(Call::mixerOpen))
        return static_cast<MMRESULT>(*failure);
    if (handle == nullptr) return MMSYSERR_INVALPARAM;
    if ((flags & ~ObjectKind) != 0) return MMSYSERR_INVALFLAG; // nobody is called back
    const Found found = ByObject(object, flags & ObjectKind);
    if (!found.Mixer) return found.Result;
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    list.Handles.push_back(std::make_unique<std::shared_ptr<MixerState>>(found.Mixer));
    *handle = reinterpret_cast<HMIXER>(list.Handles.back().get());
    return MMSYSERR_NOERROR;
}

MMRESULT mixerClose(HMIXER handle) {
    if (const auto failure = OrderedFailure(Call::mixerClose))
        return static_cast<MMRESULT>(*failure);
    HandleList& list = Open();
    const std::scoped_lock lock(list.Lock);
    const auto closed = std::erase_if(list.Handles, [handle](const auto& open) {
        return reinterpret_cast<HMIXER>(open.get()) == handle;
    });
    return closed != 0 ? MMSYSERR_NOERROR : MMSYSERR_INVALHANDLE;
}

MMRESULT mixerGetLineInfoA(HMIXEROBJ object, MIXERLINEA* line, DWORD flags) {
    return WithMixer(Call::mixerGetLineInfoA, object, flags, [=](MixerState& mixer) {
        if (line == nullptr || line->cbStruct < sizeof *line) return MMSYSERR_INVALPARAM;
        if ((flags & Query) > MIXER_GETLINEINFOF_COMPONENTTYPE) return MMSYSERR_INVALFLAG;
        const LineState* asked = AskedLine(mixer, *line, flags & Query);
        if (asked == nullptr) return MIXERR_INVALLINE;
        Describe(mixer, *asked, *line);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT mixerGetLineControlsA(HMIXEROBJ object, MIXERLINECONTROLSA* controls, DWORD flags) {
    return WithMixer(Call::mixerGetLineControlsA, object, flags, [=](MixerState& mixer) {
        const DWORD query = flags & Query;
        if (controls == nullptr || controls->cbStruct < sizeof *controls ||
            controls->cbmxctrl < sizeof(MIXERCONTROLA) || controls->pamxctrl == nullptr)
            return MMSYSERR_INVALPARAM;
        if (query > MIXER_GETLINECONTROLSF_ONEBYTYPE) return MMSYSERR_INVALFLAG;
        const LineState* line = mixer.FindLine(controls->dwLineID);
        if (line == nullptr) return MIXERR_INVALLINE;
        const auto found = AskedControls(*line, *controls, query);
        if (found.empty()) return MIXERR_INVALCONTROL;
        if (query == MIXER_GETLINECONTROLSF_ALL && controls->cControls < found.size())
            return MMSYSERR_INVALPARAM;
        MIXERCONTROLA* told = controls->pamxctrl;
        for (const ControlState* control : found) *told++ = Describe(*control, line->Name);
        return MMSYSERR_NOERROR;
    });
}

MMRESULT mixerGetControlDetailsA(HMIXEROBJ object, MIXERCONTROLDETAILS* details, DWORD flags) {
    return WithMixer(Call::mixerGetControlDetailsA, object, flags, [=](MixerState& mixer) {
        if (details == nullptr) return MMSYSERR_INVALPARAM;
        const ControlState* control = mixer.FindControl(details->dwControlID);
        return control != nullptr ? Read(*control, *details) : MIXERR_INVALCONTROL;
    });
}

MMRESULT mixerSetControlDetails(HMIXEROBJ object, MIXERCONTROLDETAILS* details, DWORD flags) {
    return WithMixer(Call::mixerSetControlDetails, object, flags, [=](MixerState& mixer) {
        if (details == nullptr) return MMSYSERR_INVALPARAM;
        ControlState* control = mixer.FindControl(details->dwControlID);
        if (control == nullptr) return MIXERR_INVALCONTROL;
        const MMRESULT result = Write(*control, *details);
        mixer.UpdateGain();
        return result;
    });
}
