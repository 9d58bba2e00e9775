// The level of a microphone, and whether it is heard in the speakers, as the mixer calls present
// them.
//
// The level is the volume of our own recordings: that of the source is the user's, and other
// programs share it. Half of the range leaves the sound as the source gives it. Where the user
// mutes our recording in another program the level is 0, and writing it lets the sound in again.
#pragma once

#include "platform/api/level.h"
#include "platform/backends/pulse/client.h"

#include <atomic>

namespace machine {

class NativeMicrophone;
class Recording;

constexpr std::uint32_t FullLevel = 65535, PlainLevel = FullLevel / 2;

class RecordingLevel : public Level {
public:
    explicit RecordingLevel(NativeMicrophone& microphone)
        : Level(MicrophoneVolume, FullLevel, 1), Of(microphone) {}
    bool Read(std::span<std::uint32_t> values) const override;
    bool Write(std::span<const std::uint32_t> values) override;

    pa_volume_t Volume() const;
    // A user has moved one of our recordings in another program: the others follow. With the
    // server's lock held.
    void Moved(const Recording& moved, pa_volume_t volume, bool muted);

private:
    NativeMicrophone& Of;
    std::atomic<std::uint32_t> Held{PlainLevel}; // written with the server's lock held
};

// Mute is on while the microphone is not heard.
class ListeningMute : public Level {
public:
    explicit ListeningMute(NativeMicrophone& microphone)
        : Level(MicrophoneMute, 1, 1), Of(microphone) {}
    bool Read(std::span<std::uint32_t> values) const override;
    bool Write(std::span<const std::uint32_t> values) override;

private:
    NativeMicrophone& Of;
};

} // namespace machine
