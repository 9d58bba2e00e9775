#include "platform/virtual/mixer.h"

#include "platform/audio/mixer_handles.h"
#include "platform/audio/mixer_model.h"

#include <algorithm>

namespace machine {
namespace {

std::shared_ptr<MixerState> Find(Mixer mixer) { return MixerById(static_cast<int>(mixer)); }

// Finds the control and works on it with the mixer locked. False if there is none.
template <class Operation>
bool WithControl(Mixer mixer, const ControlPlace& place, Operation operation) {
    const auto state = Find(mixer);
    if (!state) return false;
    const std::scoped_lock lock(state->Lock);
    ControlState* control = state->FindControl(place);
    if (control == nullptr) return false;
    operation(*control);
    state->UpdateGain();
    return true;
}

} // namespace

Mixer AddMixer(const MixerModel& model) {
    return Mixer{AddMixerState(std::make_shared<MixerState>(model))};
}

MixerModel MicrophoneMixer(const std::string& name) {
    constexpr std::uint32_t Full = 65535;
    const MixerControl volume{MIXERCONTROL_CONTROLTYPE_VOLUME, 0, Full, Full / 2};
    const MixerControl mute{MIXERCONTROL_CONTROLTYPE_MUTE, 0, 1, 1, true};
    const MixerLine microphone{MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE, "Microphone", 2, {volume}};
    const MixerLine line{MIXERLINE_COMPONENTTYPE_SRC_LINE, "Line In", 2, {volume}};
    const MixerLine heard{MIXERLINE_COMPONENTTYPE_SRC_MICROPHONE, "Microphone", 2, {volume, mute}};
    return {name,
            {{MIXERLINE_COMPONENTTYPE_DST_SPEAKERS, "Speakers", 2, {volume, mute}, {heard}},
             {MIXERLINE_COMPONENTTYPE_DST_WAVEIN, "Recording", 2, {}, {line, microphone}}}};
}

void SetMixerOf(Microphone microphone, Mixer mixer) {
    BindMixer(static_cast<int>(microphone), static_cast<int>(mixer));
}

Mixer MixerOf(Microphone microphone) { return Mixer{BoundMixer(static_cast<int>(microphone))}; }

void RemoveMixer(Mixer mixer) {
    if (const auto state = Find(mixer)) state->Removed.store(true, std::memory_order_release);
}

int MixerNumber(Mixer mixer) {
    const auto present = PresentMixers();
    const auto place = std::ranges::find(present, Find(mixer));
    return place != present.end() ? static_cast<int>(place - present.begin()) : -1;
}

std::vector<std::uint32_t> ControlValues(Mixer mixer, const ControlPlace& place) {
    std::vector<std::uint32_t> values;
    WithControl(mixer, place, [&values](const ControlState& control) { values = control.Values; });
    return values;
}

bool MoveControl(Mixer mixer, const ControlPlace& place, std::uint32_t value) {
    return WithControl(mixer, place, [value](ControlState& control) {
        const auto to = std::clamp(value, control.Model.Minimum, control.Model.Maximum);
        std::ranges::fill(control.Values, to);
    });
}

bool RefuseControl(Mixer mixer, const ControlPlace& place, bool reads, bool writes) {
    return WithControl(mixer, place, [=](ControlState& control) {
        control.Model.Readable = !reads;
        control.Model.Writable = !writes;
    });
}

int OpenMixers() { return OpenMixerHandles(); }

} // namespace machine
