// The mixers of the machine's microphones (capture.h): controls on lines, with values that a user
// (here: who steers) can move at any time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace machine {

// Types of lines and controls. There are more of them: these are what applications look for.
constexpr std::uint32_t SpeakersLine = 4, RecordingLine = 7;          // destinations
constexpr std::uint32_t LineInLine = 0x1002, MicrophoneLine = 0x1003; // their sources
constexpr std::uint32_t VolumeControl = 0x50030001, MuteControl = 0x20010002;

// A control is found by where it lies: the first of its type on the given source line of the given
// destination; source 0 is the destination itself.
struct ControlPlace {
    std::uint32_t Destination;
    std::uint32_t Source;
    std::uint32_t Control;
    friend bool operator==(const ControlPlace&, const ControlPlace&) = default;
};
constexpr ControlPlace MicrophoneVolume = {RecordingLine, MicrophoneLine, VolumeControl};
constexpr ControlPlace MicrophoneMute = {SpeakersLine, MicrophoneLine, MuteControl};

struct MixerControl {
    ControlPlace Place;            // of control 0: a line without any
    std::uint32_t Maximum = 65535; // from 0 on; 1 for a mute, which is on at 1
    std::uint32_t Value = 0;       // of every channel at first
    std::size_t Values = 2;        // one for each channel of the line, or one for all of them
};

// A recording destination with the sources line and microphone (volume at half, two channels), and
// a speakers destination with a mute of its own and the source microphone (mute, on).
std::vector<MixerControl> MicrophoneMixer();

} // namespace machine
