// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The controls of a microphone: its level, and its mute in the speakers.
//
// The level is the volume of our own record streams, not of the source, which other programs share.
// Half of the range leaves the sound unchanged. While the user has muted our stream in another
// program the level reads 0; writing it unmutes the stream.
#pragma once

#include "platform/api/level.h"
#include "platform/backends/pulse/client.h"

#include <atomic>

namespace device {

class PulseMicrophone;
class SourceConnection;

constexpr std::uint32_t MaxLevel = 65535, UnityLevel = MaxLevel / 2;

class StreamLevel : public Level {
public:
    explicit StreamLevel(PulseMicrophone& microphone)
        : Level(machine::MicrophoneVolume, MaxLevel, 1), Microphone(microphone) {}
    bool Read(std::span<std::uint32_t> values) const override;
    bool Write(std::span<const std::uint32_t> values) override;

    pa_volume_t Volume() const;
    // Takes over the volume that the user has given one of our streams in another program, and
    // applies it to the others. With the client's lock held.
    void OnChanged(const SourceConnection& changed, pa_volume_t volume, bool muted);

private:
    PulseMicrophone& Microphone;
    std::atomic<std::uint32_t> Current{UnityLevel}; // written with the client's lock held
};

// 1 while the microphone is not played through the speakers.
class PlaythroughMute : public Level {
public:
    explicit PlaythroughMute(PulseMicrophone& microphone)
        : Level(machine::MicrophoneMute, 1, 1), Microphone(microphone) {}
    bool Read(std::span<std::uint32_t> values) const override;
    bool Write(std::span<const std::uint32_t> values) override;

private:
    PulseMicrophone& Microphone;
};

} // namespace device
