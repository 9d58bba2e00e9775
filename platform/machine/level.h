// The machine's mixers: destination lines, their source lines, and the controls on each, with
// values that a user (here: who steers) can move at any time. Thread: the one that steers; values
// any. Real time: no.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace machine {

struct MixerControl {
    std::uint32_t Type;            // as the system numbers them
    std::uint32_t Maximum = 65535; // from 0 on; 1 for a mute
    std::uint32_t Value = 0;       // of every channel at first
    bool Uniform = false;          // one value for all channels
};
struct MixerLine {
    std::uint32_t Type; // as the system numbers them
    unsigned Channels = 2;
    std::vector<MixerControl> Controls = {};
    std::vector<MixerLine> Sources = {}; // of a destination
};
struct MixerModel {
    std::string Name; // cut to 31 characters
    std::vector<MixerLine> Destinations;
};

// A mixer for as long as the machine is on.
enum class Mixer : int { None = -1 };

Mixer AddMixer(const MixerModel& model);

// What AddMicrophone adds: a recording destination with the sources microphone (volume 0 to 65535
// at half, two channels) and line; a speakers destination with the source microphone (mute, on).
MixerModel MicrophoneMixer(const std::string& name);

// Not listed any more; all but closing fails on an open handle.
void RemoveMixer(Mixer mixer);

// A control is found by where it lies: the first of its type on the given source line of the given
// destination; source 0 is the destination itself.
struct ControlPlace {
    std::uint32_t Destination;
    std::uint32_t Source;
    std::uint32_t Control;
};
extern const ControlPlace MicrophoneVolume;
extern const ControlPlace MicrophoneMute;
// One value for each channel (one in all if uniform); empty if there is no such control.
std::vector<std::uint32_t> ControlValues(Mixer mixer, const ControlPlace& place);
// The user moves a control: every channel, up to its maximum. False if there is none.
bool MoveControl(Mixer mixer, const ControlPlace& place, std::uint32_t value);
// From now on reads, writes or both are refused.
bool RefuseControl(Mixer mixer, const ControlPlace& place, bool reads, bool writes);

int OpenMixers(); // handles

} // namespace machine
