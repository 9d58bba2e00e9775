#include "platform/audio/mixer_model.h"

#include <algorithm>
#include <map>
#include <utility>

namespace machine {
namespace {

struct Registry {
    std::mutex Lock;
    std::vector<std::shared_ptr<MixerState>> Mixers;
    std::map<int, int> OfCaptureDevice;
};
Registry& All() {
    static Registry& registry = *new Registry;
    return registry;
}

LineState MakeLine(const MixerLine& model, std::uint32_t destination, std::uint32_t source,
                   std::uint32_t& controls) {
    LineState line{model.Type, 0, model.Name, model.Channels, destination, source, 0, {}};
    line.Id = destination << 16 | (source & 0xFFFF);
    for (const MixerControl& control : model.Controls) {
        const unsigned values = control.Uniform ? 1 : std::max(1u, model.Channels);
        line.Controls.push_back(
            {control, ++controls, std::vector<std::uint32_t>(values, control.Value)});
    }
    return line;
}

} // namespace

MixerState::MixerState(const MixerModel& model) : Name(model.Name) {
    std::uint32_t controls = 0;
    for (const MixerLine& destination : model.Destinations) {
        LineState line = MakeLine(destination, Destinations, LineState::NoSource, controls);
        line.Sources = static_cast<std::uint32_t>(destination.Sources.size());
        Lines.push_back(std::move(line));
        std::uint32_t place = 0;
        for (const MixerLine& source : destination.Sources)
            Lines.push_back(MakeLine(source, Destinations, place++, controls));
        ++Destinations;
    }
    UpdateGain();
}

LineState* MixerState::FindDestination(std::uint32_t place) {
    return FindSource(place, LineState::NoSource);
}

LineState* MixerState::FindSource(std::uint32_t destination, std::uint32_t place) {
    const auto line = std::ranges::find_if(Lines, [&](const LineState& candidate) {
        return candidate.Destination == destination && candidate.Source == place;
    });
    return line != Lines.end() ? &*line : nullptr;
}

LineState* MixerState::FindLine(std::uint32_t id) {
    const auto line = std::ranges::find(Lines, id, &LineState::Id);
    return line != Lines.end() ? &*line : nullptr;
}

LineState* MixerState::FindType(std::uint32_t type) {
    const auto line = std::ranges::find(Lines, type, &LineState::Type);
    return line != Lines.end() ? &*line : nullptr;
}

ControlState* MixerState::FindControl(std::uint32_t id) {
    for (LineState& line : Lines)
        for (ControlState& control : line.Controls)
            if (control.Id == id) return &control;
    return nullptr;
}

ControlState* MixerState::FindControl(const ControlPlace& place) {
    const LineState* destination = nullptr;
    for (LineState& line : Lines) {
        if (line.IsDestination()) destination = &line;
        const bool here = destination->Type == place.Destination &&
                          (line.IsDestination() ? place.Source == 0 : line.Type == place.Source);
        if (!here) continue;
        for (ControlState& control : line.Controls)
            if (control.Model.Type == place.Control) return &control;
    }
    return nullptr;
}

void MixerState::UpdateGain() {
    const ControlState* volume = FindControl(MicrophoneVolume);
    if (volume == nullptr || volume->Model.Maximum < 2) return;
    Gain->store(static_cast<float>(volume->Values.front()) /
                    static_cast<float>(volume->Model.Maximum / 2),
                std::memory_order_relaxed);
}

int AddMixerState(std::shared_ptr<MixerState> mixer) {
    Registry& all = All();
    const std::scoped_lock lock(all.Lock);
    all.Mixers.push_back(std::move(mixer));
    return static_cast<int>(all.Mixers.size()) - 1;
}

std::vector<std::shared_ptr<MixerState>> PresentMixers() {
    Registry& all = All();
    const std::scoped_lock lock(all.Lock);
    std::vector<std::shared_ptr<MixerState>> present;
    for (const auto& mixer : all.Mixers)
        if (!mixer->Removed.load(std::memory_order_acquire)) present.push_back(mixer);
    return present;
}

std::shared_ptr<MixerState> MixerById(int id) {
    Registry& all = All();
    const std::scoped_lock lock(all.Lock);
    const bool known = id >= 0 && static_cast<std::size_t>(id) < all.Mixers.size();
    return known ? all.Mixers[static_cast<std::size_t>(id)] : nullptr;
}

void BindMixer(int captureDevice, int mixer) {
    Registry& all = All();
    const std::scoped_lock lock(all.Lock);
    all.OfCaptureDevice[captureDevice] = mixer;
}

int BoundMixer(int captureDevice) {
    Registry& all = All();
    const std::scoped_lock lock(all.Lock);
    const auto bound = all.OfCaptureDevice.find(captureDevice);
    return bound != all.OfCaptureDevice.end() ? bound->second : -1;
}

std::shared_ptr<MixerState> MixerOfCaptureDevice(int id) {
    auto mixer = MixerById(BoundMixer(id));
    return mixer && !mixer->Removed.load(std::memory_order_acquire) ? mixer : nullptr;
}

void ForgetMixers() {
    Registry& all = All();
    const std::scoped_lock lock(all.Lock);
    for (const auto& mixer : all.Mixers) mixer->Removed.store(true, std::memory_order_release);
    all.Mixers.clear();
    all.OfCaptureDevice.clear();
}

} // namespace machine
