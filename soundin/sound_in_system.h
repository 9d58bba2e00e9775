// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// The common part of both capture classes: format, mixer and change of the device.
#pragma once

#include "platform/platform.h"
#include "soundin/sound_in.h"

namespace Sonorel {

class SoundInSystem : public SoundIn {
public:
    double GetLevel() override;
    bool SetLevel(double level) override;
    // Returns 7 or 0.
    std::uint32_t GetMicThru() override;
    bool SetMicThru(std::uint32_t on) override;
    bool SetDevice(std::int32_t device) override;

    // Blocks in the ring: 0.74 s of sound at 23.2 ms per block.
    static constexpr std::int32_t BlockCount = 32;

    // Null when closed, and for a device without a mixer. The records below belong to the mixer of
    // the current device and stay after Close.
    HMIXER Mixer = nullptr;
    MIXERLINEA MicLine{};      // from the microphone to the recording
    MIXERLINEA SpeakerLine{};  // from the microphone to the speakers
    MIXERCONTROLA MicVolume{}; // of MicLine
    MIXERCONTROLA MicMute{};   // of SpeakerLine
    WAVEFORMATEX Format{};     // set by Open

protected:
    SoundInSystem() = default;

    virtual bool IsOpen() const = 0;
    // Resets what depends on the device; called before another one is opened.
    virtual void ResetDevice() {}

    // Format, BytesPerFrame, FramesPerBlock and BytesPerBlock from Channels, BitsPerSample and
    // rate.
    void SetFormat(std::uint32_t rate);
    // Closes the mixer and clears the records, before the search for a device's mixer: the ids of
    // one mixer denote other controls on another mixer.
    void ResetMixer();
    // Fills the records above, after Mixer was opened.
    void OpenMicLines();
    void CloseMixer();
    // Leaves Mixer null on failure.
    bool OpenMixer(UINT id, DWORD flags);
};

} // namespace Sonorel
