// The machine's mixers, as the mixer calls and the steering see them.
#pragma once

#include "platform/virtual/mixer.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>

namespace machine {

// A control with its value of each channel.
struct ControlState {
    MixerControl Model;
    std::uint32_t Id; // never 0, one for each control of a mixer
    std::vector<std::uint32_t> Values;
};

struct LineState {
    std::uint32_t Type;
    std::uint32_t Id;
    std::string Name;
    unsigned Channels;
    std::uint32_t Destination; // its place among the destinations
    std::uint32_t Source;      // and among the sources of that; NoSource for the destination itself
    std::uint32_t Sources;     // how many the destination has
    std::vector<ControlState> Controls;

    static constexpr std::uint32_t NoSource = 0xFFFFFFFF;
    bool IsDestination() const { return Source == NoSource; }
};

// One mixer. Lock is held by whoever looks at the lines.
struct MixerState {
    explicit MixerState(const MixerModel& model);

    LineState* FindDestination(std::uint32_t place);
    LineState* FindSource(std::uint32_t destination, std::uint32_t place);
    LineState* FindLine(std::uint32_t id);
    LineState* FindType(std::uint32_t type); // the first line of it
    ControlState* FindControl(std::uint32_t id);
    ControlState* FindControl(const ControlPlace& place);
    // After a value has changed.
    void UpdateGain();

    const std::string Name;
    std::mutex Lock;
    std::vector<LineState> Lines; // each destination, then its sources
    std::uint32_t Destinations = 0;
    std::atomic<bool> Removed{false};
    // Of the microphone's recording volume: 1 at half of the range. Shared with the microphone.
    std::shared_ptr<std::atomic<float>> Gain = std::make_shared<std::atomic<float>>(1.0f);
};

int AddMixerState(std::shared_ptr<MixerState> mixer); // its identity
std::vector<std::shared_ptr<MixerState>> PresentMixers();
std::shared_ptr<MixerState> MixerById(int id);
// The one that belongs to a microphone, null for none.
std::shared_ptr<MixerState> MixerOfCaptureDevice(int id);
void BindMixer(int captureDevice, int mixer);
int BoundMixer(int captureDevice);
void ForgetMixers();

} // namespace machine
