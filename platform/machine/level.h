// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The mixers of the machine's microphones (capture.h): controls on lines, with values that the
// user, here MoveControl, can change at any time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace machine {

// The types of lines and controls that applications look for.
constexpr std::uint32_t SpeakersLine = 4, RecordingLine = 7;          // destinations
constexpr std::uint32_t LineInLine = 0x1002, MicrophoneLine = 0x1003; // their sources
constexpr std::uint32_t VolumeControl = 0x50030001, MuteControl = 0x20010002;

// Identifies a control: the first of its type on the given source line of the given destination;
// source 0 is the destination itself.
struct ControlPlace {
    std::uint32_t Destination;
    std::uint32_t Source;
    std::uint32_t Control;
    friend bool operator==(const ControlPlace&, const ControlPlace&) = default;
};
constexpr ControlPlace MicrophoneVolume = {RecordingLine, MicrophoneLine, VolumeControl};
constexpr ControlPlace MicrophoneMute = {SpeakersLine, MicrophoneLine, MuteControl};

struct MixerControl {
    ControlPlace Place;            // with control 0: a line without controls
    std::uint32_t Maximum = 65535; // the minimum is 0; 1 for a mute, which is on at 1
    std::uint32_t Value = 0;       // the initial one, of every channel
    std::size_t Values = 2;        // one for each channel of the line, or one for all channels
};

// The default mixer: a recording destination with the sources line and microphone (volume at half,
// two channels), and a speakers destination with its own mute and the source microphone (mute, on).
std::vector<MixerControl> MicrophoneMixer();

} // namespace machine
