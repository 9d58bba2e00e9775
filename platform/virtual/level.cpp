// Mixers in memory.
#include "platform/virtual/level.h"

#include "platform/device/roster.h"
#include "platform/machine/power.h"

#include <algorithm>
#include <mutex>

namespace machine {

const ControlPlace MicrophoneVolume = {RecordingLine, MicrophoneLine, VolumeControl};
const ControlPlace MicrophoneMute = {SpeakersLine, MicrophoneLine, MuteControl};

namespace {

class VirtualLevel : public Level {
public:
    VirtualLevel(const MixerControl& model, unsigned channels)
        : Level(model.Type, model.Maximum, model.Uniform ? 1 : channels),
          Held(Values, model.Value) {}

    bool Read(std::span<std::uint32_t> values) const override {
        const std::scoped_lock lock(Lock);
        if (Readable) std::ranges::copy(Held, values.begin());
        return Readable;
    }
    bool Write(std::span<const std::uint32_t> values) override {
        const std::scoped_lock lock(Lock);
        if (Writable) std::ranges::copy(values, Held.begin());
        return Writable;
    }

    // The user's hand, which nothing refuses.
    std::vector<std::uint32_t> Look() const {
        const std::scoped_lock lock(Lock);
        return Held;
    }
    void Move(std::uint32_t value) {
        const std::scoped_lock lock(Lock);
        std::ranges::fill(Held, std::min(value, Maximum));
    }
    void Refuse(bool reads, bool writes) {
        const std::scoped_lock lock(Lock);
        Readable = !reads;
        Writable = !writes;
    }

private:
    mutable std::mutex Lock; // of all below
    std::vector<std::uint32_t> Held;
    bool Readable = true;
    bool Writable = true;
};

std::mutex mixersLock;
std::vector<std::shared_ptr<LevelDevice>> mixers; // of this machine, also those removed

const AtPowerOn atPowerOn([] {
    const std::scoped_lock lock(mixersLock);
    for (const auto& mixer : mixers) mixer->Left(); // for whoever still has it open
    mixers.clear();
    Roster<LevelDevice>::Forget();
});

std::vector<LevelLine> MakeLines(const std::vector<MixerLine>& models) {
    std::vector<LevelLine> lines;
    for (const MixerLine& model : models) {
        LevelLine line{model.Type, model.Channels, {}, MakeLines(model.Sources)};
        for (const MixerControl& control : model.Controls)
            line.Levels.push_back(std::make_shared<VirtualLevel>(control, model.Channels));
        lines.push_back(std::move(line));
    }
    return lines;
}

const LevelLine* FindLine(const std::vector<LevelLine>& lines, std::uint32_t type) {
    const auto line = std::ranges::find(lines, type, &LevelLine::Type);
    return line != lines.end() ? &*line : nullptr;
}

VirtualLevel* Find(Mixer mixer, const ControlPlace& place) {
    const auto device = FindMixer(mixer);
    const LevelLine* line = device ? FindLine(device->Destinations, place.Destination) : nullptr;
    if (line && place.Source != 0) line = FindLine(line->Sources, place.Source);
    if (!line) return nullptr;
    for (const auto& level : line->Levels)
        if (level->Type == place.Control) return static_cast<VirtualLevel*>(level.get());
    return nullptr;
}

} // namespace

std::shared_ptr<LevelDevice> FindMixer(Mixer mixer) {
    const std::scoped_lock lock(mixersLock);
    const auto place = static_cast<std::size_t>(mixer); // None is beyond all
    return place < mixers.size() && !mixers[place]->Gone() ? mixers[place] : nullptr;
}

Mixer AddMixer(const MixerModel& model) {
    const std::scoped_lock lock(mixersLock);
    mixers.push_back(std::make_shared<LevelDevice>(model.Name, MakeLines(model.Destinations)));
    Roster<LevelDevice>::Add(mixers.back());
    return Mixer{static_cast<int>(mixers.size()) - 1};
}

MixerModel MicrophoneMixer(const std::string& name) {
    const MixerControl volume{.Type = VolumeControl, .Value = 65535 / 2};
    const MixerControl mute{MuteControl, 1, 1, true};
    const MixerLine microphone{MicrophoneLine, 2, {volume}};
    const MixerLine line{LineInLine, 2, {volume}};
    const MixerLine heard{MicrophoneLine, 2, {volume, mute}};
    return {
        name,
        {{SpeakersLine, 2, {volume, mute}, {heard}}, {RecordingLine, 2, {}, {line, microphone}}}};
}

void RemoveMixer(Mixer mixer) {
    if (const auto device = FindMixer(mixer)) device->Left();
}

std::vector<std::uint32_t> ControlValues(Mixer mixer, const ControlPlace& place) {
    const VirtualLevel* level = Find(mixer, place);
    return level ? level->Look() : std::vector<std::uint32_t>{};
}

bool MoveControl(Mixer mixer, const ControlPlace& place, std::uint32_t value) {
    VirtualLevel* level = Find(mixer, place);
    if (level) level->Move(value);
    return level != nullptr;
}

bool RefuseControl(Mixer mixer, const ControlPlace& place, bool reads, bool writes) {
    VirtualLevel* level = Find(mixer, place);
    if (level) level->Refuse(reads, writes);
    return level != nullptr;
}

} // namespace machine
